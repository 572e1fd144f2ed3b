#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "tests/cadserver/AutomationClient.h"
#include "tests/cadserver/ComPointers.h"
#include "tests/cadserver/PartFile.h"
#include "tests/support/CadServer.h"
#include "tests/support/Files.h"
#include "tests/support/TextFile.h"

constexpr HRESULT kServerDied = HRESULT_FROM_WIN32(RPC_S_CALL_FAILED);  // 0x800706BE
constexpr HRESULT kServerGone = HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);

inline std::wstring Quoted(const std::wstring& path)
{
    return L"\"" + path + L"\"";
}

// Base class of the tests of the stand-in CAD server: starts servers with the test's own script, log and
// part.
class CServerFixture : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        RegisterCadServer();
    }

    static void TearDownTestSuite()
    {
        UnregisterCadServer();
        CoUninitialize();
    }

    void SetUp() override
    {
        ASSERT_EQ(S_OK, CreatePartFile(m_part, {L"M8x10", L"M8/x 12", L"Größe"}));
        Script("");
    }

    void TearDown() override
    {
        m_application = nullptr;
        WaitForEnds();
    }

    // Sets the script of all servers that start from now on.
    void Script(const std::string& rules)
    {
        WriteBytes(m_script, rules);
        ASSERT_EQ(0U,
                  RunServerProgram(L"--configure --script " + Quoted(m_script) + L" --log " + Quoted(m_log)));
    }

    // Expects that configuring the server with this rule fails.
    void ExpectWrong(const std::string& rule) const
    {
        SCOPED_TRACE(rule);
        const std::wstring script = m_folder / L"wrong";
        WriteBytes(script, rule + "\n");
        EXPECT_EQ(1U, RunServerProgram(L"--configure --script " + Quoted(script)));
    }

    HRESULT Start(const wchar_t* progId = L"SldWorks.Application.30")
    {
        m_application = nullptr;
        return m_application.CreateInstance(progId, nullptr, CLSCTX_LOCAL_SERVER);
    }

    [[nodiscard]] IDispatch* Application() const { return m_application; }

    void Release() { m_application = nullptr; }

    // The lines of the log, with N for process numbers.
    [[nodiscard]] std::vector<std::wstring> LogLines() const
    {
        std::vector<std::wstring> lines = RawLogLines();
        for (std::wstring& line : lines) {
            if (const size_t at = line.find(L"process="); at != std::wstring::npos) {
                const size_t tab = std::min(line.find(L'\t', at), line.size());
                line.replace(at + 8, tab - at - 8, L"N");
            }
        }
        return lines;
    }

    // The processes of the servers that logged their start and are still running.
    [[nodiscard]] std::vector<UniqueHandle> RunningServers() const
    {
        std::set<DWORD> ids;
        for (const std::wstring& line : RawLogLines()) {
            if (line.starts_with(L"-\tstart\tprocess=")) {
                ids.insert(std::wcstoul(line.c_str() + 16, nullptr, 10));
            }
        }
        std::vector<UniqueHandle> servers;
        for (const DWORD id : ids) {
            UniqueHandle process = OpenServer(id);
            if (process != nullptr && WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT) {
                servers.push_back(std::move(process));
            }
        }
        return servers;
    }

    // Waits until every server that logged its start has ended. A server that does not end in time fails the
    // test and is ended by force.
    void WaitForEnds() const
    {
        constexpr DWORD kTimeout = 10'000;  // milliseconds
        for (const UniqueHandle& process : RunningServers()) {
            if (WaitForSingleObject(process.get(), kTimeout) != WAIT_OBJECT_0) {
                ADD_FAILURE() << "a server did not end";
                TerminateProcess(process.get(), 1);
            }
        }
    }

    const CTempFolder m_folder;
    const std::wstring m_part = m_folder / L"N_ISO_4017_M8.sldprt";
    const std::wstring m_script = m_folder / L"script";

    [[nodiscard]] std::vector<std::wstring> RawLogLines() const
    {
        return FileExists(m_log) ? ReadLines(m_log) : std::vector<std::wstring>();
    }

private:
    const std::wstring m_log = m_folder / L"log";
    IDispatchPtr m_application;
};
