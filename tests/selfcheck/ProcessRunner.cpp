#include "tests/selfcheck/ProcessRunner.h"

#include <atomic>
#include <stdexcept>

#include "framework/FileNames.h"
#include "framework/Handles.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/RunningPrograms.h"
#include "tests/support/TextFile.h"

namespace {

std::atomic<bool> g_isEnding = false;

UniqueHandle OutputFile(const std::wstring& path)
{
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    UniqueHandle file(ValidHandle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)));
    if (file == nullptr) {
        throw std::runtime_error("cannot write " + ToUtf8(path));
    }
    return file;
}

UniqueHandle Start(std::wstring commandLine, HANDLE output)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = output;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, OwnFolder().c_str(),
                       &startup, &process) == FALSE) {
        throw std::runtime_error("cannot start " + ToUtf8(commandLine) + ": error " +
                                 std::to_string(GetLastError()));
    }
    CloseHandle(process.hThread);
    return UniqueHandle(process.hProcess);
}

}  // namespace

void BeginEnding()
{
    g_isEnding = true;
}

void StopIfEnding()
{
    if (g_isEnding) {
        Sleep(INFINITE);
    }
}

std::optional<DWORD> RunProgram(const std::wstring& commandLine, const std::wstring& outputPath,
                                DWORD minutes)
{
    StopIfEnding();
    const UniqueHandle output = OutputFile(outputPath);
    const UniqueHandle process = Start(commandLine, output.get());
    const DWORD waited = WaitForSingleObject(process.get(), minutes * 60'000);
    StopIfEnding();
    if (waited != WAIT_OBJECT_0) {
        TerminateProcess(process.get(), 1);
        EndProgramsOfThisFolder();
        return std::nullopt;
    }
    DWORD status = 1;
    GetExitCodeProcess(process.get(), &status);
    return status;
}

void EndProgramsOfThisFolder()
{
    constexpr DWORD kEndTime = 5'000;  // milliseconds
    const std::wstring folder = FinalPath(OwnFolder());
    for (const RunningProgram& program : RunningPrograms(PROCESS_TERMINATE | SYNCHRONIZE)) {
        const std::wstring image = FinalPath(program.image);
        if (program.id != GetCurrentProcessId() &&
            EqualFileNames(image.substr(0, image.rfind(L'\\')), folder)) {
            TerminateProcess(program.process.get(), 1);
            WaitForSingleObject(program.process.get(), kEndTime);
        }
    }
}
