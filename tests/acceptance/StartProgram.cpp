#include "tests/acceptance/StartProgram.h"

#include <iostream>
#include <stdexcept>

#include "tests/cadserver/TextFile.h"

namespace {

constexpr int kStarts = 3;  // in all

}  // namespace

StartedProgram StartProgram(std::wstring commandLine, const std::wstring& folder)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    DWORD error = ERROR_SUCCESS;
    for (int start = 1; start <= kStarts; ++start) {
        PROCESS_INFORMATION process{};
        if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                           folder.empty() ? nullptr : folder.c_str(), &startup, &process) != FALSE) {
            const UniqueHandle thread(process.hThread);
            return {UniqueHandle(process.hProcess), process.dwProcessId};
        }
        error = GetLastError();
        if (error != ERROR_INTERNAL_ERROR) {
            break;
        }
        std::cout << "start " << start << " of " << ToUtf8(commandLine) << " was lost by the system\n";
    }
    throw std::runtime_error("cannot start " + ToUtf8(commandLine) + ": error " + std::to_string(error));
}
