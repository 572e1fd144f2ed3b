#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "framework/ComPointers.h"
#include "tests/acceptance/AcceptanceTest.h"

using Lines = std::vector<std::string>;

// Base class of the tests of runs in which something goes wrong: numbered parts and what becomes of them.
class RunFailureTest : public AcceptanceTest
{
protected:
    // Adds the parts 'N_ISO_1_M8' to 'N_ISO_<last>_M8', each with one configuration 'x'. The templates name
    // the copies '1.sldprt', '2.sldprt' and so on.
    void AddParts(int last) { AddParts(1, last); }

    void AddParts(int first, int last)
    {
        for (int number = first; number <= last; ++number) {
            m_library.AddPart(L"N_ISO_" + std::to_wstring(number) + L"_M8.sldprt", {L"x"});
        }
        m_registry.SetTemplate(1, L"%3");
        m_registry.SetTemplate(2, L"Norm %3");
    }

    static RowOnScreen RowOf(int number, Mark mark)
    {
        const std::wstring text = std::to_wstring(number);
        return {L"N_ISO_" + text + L"_M8.sldprt", text + L".sldprt", L"Norm " + text, mark};
    }

    // The map file with records for parts 1 to `last`.
    [[nodiscard]] std::string MapUpTo(int last) const
    {
        std::string map = m_library.MapHeader();
        for (int number = 1; number <= last; ++number) {
            map += RecordOf(number);
        }
        return map;
    }

    static std::string RecordOf(int number)
    {
        const std::string text = std::to_string(number);
        return "N_ISO_" + text + "_M8.sldprt ; " + text + ".sldprt ; Norm " + text + "\r\n";
    }

    // Starts a server before the program connects. The program then first connects to this server.
    static IDispatchPtr StartServer()
    {
        IDispatchPtr application;
        EXPECT_EQ(S_OK, application.CreateInstance(L"SldWorks.Application.30", nullptr, CLSCTX_LOCAL_SERVER));
        return application;
    }

    // The BOM name in the copy of a part; empty if none was written.
    [[nodiscard]] std::wstring BomNameOf(int number) const
    {
        const PartContents copy = ReadPart(m_library.Copy(std::to_wstring(number) + L".sldprt"));
        return copy.bomEntries.at(0).useAlternative ? copy.bomEntries.at(0).alternative : L"";
    }

    // Expects that the run ends before it has copied, recorded or converted anything.
    void ExpectNothingDone(const CProgramUnderTest& program) const
    {
        WaitForEndOfRun(program);
        EXPECT_TRUE(std::filesystem::is_directory(m_library.MappedPath()));
        EXPECT_TRUE(std::filesystem::is_empty(m_library.MappedPath()));
        EXPECT_EQ((Rows{RowOf(1, Mark::pending)}), program.List().Rows());
        EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    }
};
