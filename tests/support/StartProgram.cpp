#include "tests/support/StartProgram.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/Repeat.h"
#include "tests/support/TextFile.h"

StartedProgram StartProgram(const std::wstring& commandLine, const std::wstring& folder, bool inheritsHandles)
{
    StartedProgram program;
    DWORD error = CreateProgram(commandLine, program, folder, inheritsHandles);
    if (error == ERROR_INTERNAL_ERROR && MayRepeat("the start of " + ToUtf8(commandLine))) {
        error = CreateProgram(commandLine, program, folder, inheritsHandles);
    }
    if (error != ERROR_SUCCESS) {
        throw std::runtime_error("cannot start " + ToUtf8(commandLine) + ": error " + std::to_string(error));
    }
    return program;
}

DWORD WaitForExit(const StartedProgram& program, DWORD patience)
{
    if (WaitForSingleObject(program.process.get(), patience) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "a program did not end";
        TerminateProcess(program.process.get(), 1);
        WaitForSingleObject(program.process.get(), patience);
    }
    DWORD status = 1;
    GetExitCodeProcess(program.process.get(), &status);
    return status;
}
