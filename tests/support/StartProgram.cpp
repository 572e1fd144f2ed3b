#include "tests/support/StartProgram.h"

#include <stdexcept>

#include "tests/support/Repeat.h"
#include "tests/support/TextFile.h"

namespace {

// Returns the system's error code.
DWORD Start(std::wstring commandLine, const std::wstring& folder, StartedProgram& program)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                       folder.empty() ? nullptr : folder.c_str(), &startup, &process) == FALSE) {
        return GetLastError();
    }
    const UniqueHandle thread(process.hThread);
    program = {UniqueHandle(process.hProcess), process.dwProcessId};
    return ERROR_SUCCESS;
}

}  // namespace

StartedProgram StartProgram(const std::wstring& commandLine, const std::wstring& folder)
{
    StartedProgram program;
    DWORD error = Start(commandLine, folder, program);
    if (error == ERROR_INTERNAL_ERROR && MayRepeat("the start of " + ToUtf8(commandLine))) {
        error = Start(commandLine, folder, program);
    }
    if (error != ERROR_SUCCESS) {
        throw std::runtime_error("cannot start " + ToUtf8(commandLine) + ": error " + std::to_string(error));
    }
    return program;
}
