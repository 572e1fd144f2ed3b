#pragma once

#include <windows.h>

#include <tlhelp32.h>

#include <string>
#include <vector>

#include "framework/Handles.h"

struct RunningProgram
{
    DWORD id = 0;
    UniqueHandle process;
    std::wstring image;  // the path of its program file
};

// The running processes that this one may open with these rights.
[[nodiscard]] inline std::vector<RunningProgram> RunningPrograms(DWORD rights)
{
    std::vector<RunningProgram> programs;
    const UniqueHandle all(ValidHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(all.get(), &entry); more != FALSE;
         more = Process32NextW(all.get(), &entry)) {
        UniqueHandle process(
            OpenProcess(rights | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID));
        std::wstring image(32'768, L'\0');
        auto length = static_cast<DWORD>(image.size());
        if (process != nullptr &&
            QueryFullProcessImageNameW(process.get(), 0, image.data(), &length) != FALSE) {
            image.resize(length);
            programs.push_back({entry.th32ProcessID, std::move(process), std::move(image)});
        }
    }
    return programs;
}
