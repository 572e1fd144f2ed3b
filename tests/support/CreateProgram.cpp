#include "tests/support/CreateProgram.h"

DWORD CreateProgram(std::wstring commandLine, StartedProgram& program, const std::wstring& folder,
                    bool inheritsHandles)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, inheritsHandles ? TRUE : FALSE, 0,
                       nullptr, folder.empty() ? nullptr : folder.c_str(), &startup, &process) == FALSE) {
        return GetLastError();
    }
    const UniqueHandle thread(process.hThread);
    program = {UniqueHandle(process.hProcess), process.dwProcessId, process.dwThreadId};
    return ERROR_SUCCESS;
}
