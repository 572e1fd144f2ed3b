#include "tests/support/CadServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "tests/cadserver/Settings.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/StartProgram.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"

namespace {

constexpr DWORD kEndTime = 10'000;  // milliseconds

void RequireSuccess(const std::wstring& arguments)
{
    if (RunServerProgram(arguments) != 0) {
        throw std::runtime_error("failed: cadserver.exe " + ToUtf8(arguments));
    }
}

std::string Join(const std::vector<std::wstring>& fields)
{
    std::wstring line;
    for (const std::wstring& field : fields) {
        if (!field.starts_with(L"process=")) {
            line += (line.empty() ? L"" : L" ") + field;
        }
    }
    return ToUtf8(line);
}

}  // namespace

DWORD RunServerProgram(const std::wstring& arguments)
{
    return WaitForExit(StartProgram(L"\"" + OwnFolder() + L"\\cadserver.exe\" " + arguments));
}

UniqueHandle OpenServer(DWORD id)
{
    UniqueHandle process(
        OpenProcess(PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, id));
    std::wstring image(MAX_PATH, L'\0');
    auto length = static_cast<DWORD>(image.size());
    if (process == nullptr || QueryFullProcessImageNameW(process.get(), 0, image.data(), &length) == FALSE) {
        return nullptr;
    }
    image.resize(length);
    return FileNameOf(image) == L"cadserver.exe" ? std::move(process) : nullptr;
}

CCadServer::CCadServer(const std::wstring& folder)
    : m_script(folder + L"\\script.txt"), m_log(folder + L"\\calls.txt")
{
    StartOver("");
}

CCadServer::~CCadServer()
{
    EndByForce();
}

void CCadServer::EndByForce() const
{
    for (const DWORD id : ProcessIds()) {
        if (const UniqueHandle process = OpenServer(id)) {
            TerminateProcess(process.get(), 1);
            WaitForSingleObject(process.get(), kEndTime);
        }
    }
}

void CCadServer::SetScript(const std::string& rules) const
{
    std::ofstream(std::filesystem::path(m_script), std::ios::binary) << rules;
}

void CCadServer::StartOver(const std::string& rules) const
{
    SetScript(rules);
    std::ofstream(std::filesystem::path(m_log)).flush();
    ConfigureServer(m_script, m_log);
}

std::vector<std::string> CCadServer::Log() const
{
    std::vector<std::string> lines;
    for (const std::wstring& line : ReadLines(m_log)) {
        lines.push_back(Join(Split(line, L'\t')));
    }
    return lines;
}

std::vector<std::string> CCadServer::Life() const
{
    std::vector<std::string> lines = Log();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("- "); });
    // Not std::ranges::stable_partition: Debian 12's clang-tidy cannot read its result type.
    std::stable_partition(lines.begin(), lines.end(),
                          [](const std::string& line) { return line.starts_with("- start"); });
    return lines;
}

bool CCadServer::WasAsked(const std::string& text) const
{
    return std::ranges::any_of(Log(),
                               [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

bool CCadServer::WaitForEnd(DWORD patience) const
{
    const ULONGLONG end = GetTickCount64() + patience;
    return std::ranges::all_of(ProcessIds(), [end](DWORD id) {
        const ULONGLONG now = GetTickCount64();
        const DWORD left = now < end ? static_cast<DWORD>(end - now) : 0;
        const UniqueHandle process = OpenServer(id);
        return process == nullptr || WaitForSingleObject(process.get(), left) == WAIT_OBJECT_0;
    });
}

std::vector<DWORD> CCadServer::ProcessIds() const
{
    constexpr std::wstring_view kLead = L"process=";
    std::vector<DWORD> ids;
    for (const std::wstring& line : ReadLines(m_log)) {
        for (const std::wstring& field : Split(line, L'\t')) {
            if (field.starts_with(kLead)) {
                ids.push_back(static_cast<DWORD>(std::stoul(field.substr(kLead.size()))));
            }
        }
    }
    return ids;
}

void RegisterCadServer()
{
    RequireSuccess(L"--register 25 30 --current 30");
}

void UnregisterCadServer()
{
    RequireSuccess(L"--unregister");
}

CNoCadServer::~CNoCadServer()
{
    try {
        RegisterCadServer();
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
}
