// Times the start of a program that has the main dialog's list: from the creation of the process until the
// program waits for input and everything is painted. Then reads the program's peak memory and ends the
// program.
//
//   startbench ROWS PROGRAM [ARG ...]
//
// Prints: seconds, tab, peak working set in kilobytes, tab, peak committed memory in kilobytes. Fails unless
// the list holds ROWS rows.
#include <windows.h>

#include <commctrl.h>
#include <psapi.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "bench/Stopwatch.h"
#include "resources/resource.h"
#include "tests/support/CreateProgram.h"

namespace {

constexpr DWORD kTimeout = 120'000;  // milliseconds

// Just after the creation of the process, WaitForInputIdle may fail because the process has no message queue
// yet.
bool WaitUntilIdle(HANDLE process)
{
    const CStopwatch watch;
    DWORD waited = WAIT_FAILED;
    while (waited == WAIT_FAILED && watch.Seconds() * 1000 < kTimeout) {
        waited = WaitForInputIdle(process, kTimeout);
        Sleep(waited == WAIT_FAILED ? 1 : 0);
    }
    return waited == 0;
}

HWND FindWindowWithList(DWORD threadId)
{
    HWND found = nullptr;
    EnumThreadWindows(
        threadId,
        [](HWND window, LPARAM result) -> BOOL {
            if (GetDlgItem(window, IDC_LIST) == nullptr) {
                return TRUE;
            }
            *reinterpret_cast<HWND*>(result) = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
}

void RequireFinished(DWORD threadId, int rows)
{
    const HWND window = FindWindowWithList(threadId);
    const HWND list = GetDlgItem(window, IDC_LIST);
    if (window == nullptr || IsWindowVisible(window) == FALSE ||
        SendMessageW(list, LVM_GETITEMCOUNT, 0, 0) != rows || GetUpdateRect(list, nullptr, FALSE) != FALSE) {
        throw std::runtime_error("the window is not complete after the start");
    }
}

void Measure(int rows, const std::wstring& command)
{
    // Under Wine, the first use of the desktop starts the desktop's process. Without this call, the measured
    // program would start that process, and WaitForInputIdle would return while the program waits for it.
    GetDesktopWindow();
    const CStopwatch watch;
    StartedProgram program;
    if (CreateProgram(command, program) != ERROR_SUCCESS) {
        throw std::runtime_error("cannot start the program");
    }
    const bool idle = WaitUntilIdle(program.process.get());
    const double seconds = watch.Seconds();
    try {
        if (!idle) {
            throw std::runtime_error("the program never waits for input");
        }
        RequireFinished(program.threadId, rows);
        PROCESS_MEMORY_COUNTERS memory{};
        GetProcessMemoryInfo(program.process.get(), &memory, sizeof memory);
        std::printf("%.6f\t%llu\t%llu\n", seconds, memory.PeakWorkingSetSize / 1024ULL,
                    memory.PeakPagefileUsage / 1024ULL);
    } catch (...) {
        TerminateProcess(program.process.get(), 1);
        throw;
    }
    TerminateProcess(program.process.get(), 0);
    WaitForSingleObject(program.process.get(), kTimeout);
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count < 3) {
        std::fprintf(stderr, "usage: startbench ROWS PROGRAM [ARG ...]\n");
        return 2;
    }
    std::wstring command;
    for (int i = 2; i < count; ++i) {
        command += (i > 2 ? L" \"" : L"\"") + std::wstring(arguments[i]) + L"\"";
    }
    try {
        Measure(std::stoi(arguments[1]), command);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "startbench: %s\n", error.what());
        return 1;
    }
    return 0;
}
