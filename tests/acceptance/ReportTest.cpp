// The report of the last run, and what follows from it.
#include <algorithm>
#include <string>
#include <vector>

#include "tests/acceptance/RunFailureTest.h"
#include "tests/support/DocumentViewer.h"
#include "tests/support/TestScopes.h"

namespace {

constexpr int kParts = 8;
const std::vector<int> kNotSaved{2, 3, 5, 7, 8};
const Selection kTheirRows{1, 2, 4, 6, 7};

// A run in which the save call fails for five of eight parts.
class ReportInBothLanguages : public RunFailureTest
{
protected:
    void SetUp() override
    {
        if (CDocumentViewer::IsOverruled(L".html")) {
            GTEST_SKIP() << "the user has chosen a program for documents of this kind";
        }
        AddParts(kParts);
        std::string script;
        for (const int number : kNotSaved) {
            script += "fault file=" + std::to_string(number) + ".sldprt call=Save fail 0x80004005\n";
        }
        m_server.SetScript(script);
    }

    // Presses the button and returns the page that opens.
    std::string ReadReport(const CProgramUnderTest& program) const
    {
        const CDocumentViewer viewer(L".html", m_temp / L"opened.txt");
        program.WaitForKeyboard();
        program.PressByKey(IDC_REPORT);
        WaitFor([&] { return viewer.Opened().size() == 1; });
        const std::vector<std::wstring> opened = viewer.Opened();
        EXPECT_EQ(opened.size(), 1U);
        return opened.empty() ? std::string() : ReadBytes(opened.front());
    }

    void ExpectBomNames(const std::vector<int>& missing) const
    {
        for (int number = 1; number <= kParts; ++number) {
            const bool isMissing = std::ranges::find(missing, number) != missing.end();
            EXPECT_EQ(isMissing ? L"" : L"Norm " + std::to_wstring(number), BomNameOf(number));
        }
    }

    const CTemporaryFolderScope m_temporaryFolder{m_temp.Path()};
};

std::vector<int> RowNumbers(const std::string& page)
{
    const std::string begin = "<tr id=\"row";
    std::vector<int> numbers;
    for (std::size_t at = page.find(begin); at != std::string::npos; at = page.find(begin, at + 1)) {
        numbers.push_back(std::stoi(page.substr(at + begin.size())));
    }
    return numbers;
}

// The five are found, marked and converted with three commands.
TEST_F(ReportInBothLanguages, LeadsToThePartsThatWereNotSaved)
{
    const CProgramUnderTest program;
    EXPECT_EQ(FALSE, IsWindowEnabled(program.Control(IDC_REPORT)));
    ConvertToTheEnd(program);
    ExpectBomNames(kNotSaved);
    EXPECT_TRUE(IsWindowEnabled(program.Control(IDC_REPORT)));

    const std::string page = ReadReport(program);
    EXPECT_EQ(kNotSaved, RowNumbers(page));
    const Text saving{L"<li>Das Speichern schlug fehl: ", L"<li>Saving failed: "};
    const std::size_t firstRow = page.find("<bdi>N_ISO_2_M8.sldprt</bdi>");
    EXPECT_LT(firstRow, page.find(ToUtf8(saving.Current())));
    EXPECT_LT(firstRow, page.find("<bdi>N_ISO_1_M8.sldprt</bdi>")) << "the five come first";
    EXPECT_NE(std::string::npos, page.find("0x80004005"));
    EXPECT_NE(std::string::npos, page.find("<bdi>2022</bdi>")) << "version 30 is that of 2022";

    PostMessageW(program.MainWindow(), WM_COMMAND, IDM_SELECT_ATTENTION, 0);
    WaitForSelection(program, kTheirRows);
    program.Click(IDC_MARK);
    m_server.SetScript("");
    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    ExpectBomNames({});
    EXPECT_EQ(MapUpTo(kParts), m_library.MapFileBytes());
}

}  // namespace
