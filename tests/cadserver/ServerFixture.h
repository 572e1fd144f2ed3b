#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "tests/cadserver/ComPointers.h"
#include "tests/cadserver/PartFile.h"
#include "tests/support/CadServer.h"
#include "tests/support/TextFile.h"

// A minimal automation client, and what the tests of the stand-in CAD server share.

inline std::wstring Quoted(const std::filesystem::path& path)
{
    return L"\"" + path.wstring() + L"\"";
}

struct CallResult
{
    HRESULT status = S_OK;
    _variant_t value;
    EXCEPINFO exception{};
    UINT wrongArgument = ~0U;

    [[nodiscard]] IDispatchPtr Object() const
    {
        return {value.vt == VT_DISPATCH ? value.pdispVal : nullptr, true};
    }
};

inline CallResult Invoke(IDispatch* object, DISPID dispid, std::vector<_variant_t> arguments = {},
                         WORD kind = DISPATCH_METHOD)
{
    std::reverse(arguments.begin(), arguments.end());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    if (kind == DISPATCH_PROPERTYPUT) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    CallResult result;
    result.status = object->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters, &result.value,
                                   &result.exception, &result.wrongArgument);
    return result;
}

// Starts servers with a script, a log and a part of the test's own.
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
        static int number = 0;
        m_folder = std::filesystem::temp_directory_path() /
                   (L"cadserver" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number));
        std::filesystem::remove_all(m_folder);  // left by an aborted run with the same process number
        std::filesystem::create_directories(m_folder);
        m_part = m_folder / L"N_ISO_4017_M8.sldprt";
        ASSERT_EQ(S_OK, CreatePartFile(m_part.wstring(), {L"M8x10", L"M8/x 12", L"Größe"}));
        Script("");
    }

    void TearDown() override
    {
        m_application = nullptr;
        WaitForEnds();
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    // Sets the script of all servers that start from now on.
    void Script(const std::string& rules)
    {
        std::ofstream(m_folder / L"script", std::ios::binary) << rules;
        ASSERT_EQ(0U, RunServerProgram(L"--configure --script " + Quoted(m_folder / L"script") + L" --log " +
                                       Quoted(m_folder / L"log")));
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

    // Waits until every server that logged its start has ended, and ends those by force that do not.
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

    std::filesystem::path m_folder;
    std::filesystem::path m_part;

private:
    [[nodiscard]] std::vector<std::wstring> RawLogLines() const
    {
        const std::filesystem::path log = m_folder / L"log";
        return std::filesystem::exists(log) ? ReadLines(log.wstring()) : std::vector<std::wstring>();
    }

    IDispatchPtr m_application;
};
