// Writes the counts of executed lines while the program runs, because a program that is ended from outside
// writes none at its end, and the tests end most of the programs that they start. Part of the coverage build
// only.
#include <windows.h>

#include <cstdlib>
#include <string>

extern "C" void __gcov_dump(void);
extern "C" void __gcov_reset(void);

namespace {

// What a killed program did after its last write is lost.
constexpr DWORD kInterval = 200;  // milliseconds

// GCOV_PREFIX is the folder of the counts. Each process has a folder of its own there: a process that is
// killed while it writes leaves a damaged file, to which nothing could be added.
void UseOwnFolder()
{
    const char* const all = std::getenv("GCOV_PREFIX");
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    const std::string own = std::string(all == nullptr ? "." : all) + "/process-" +
                            std::to_string(GetCurrentProcessId()) + "-" + std::to_string(now.QuadPart);
    _putenv_s("GCOV_PREFIX", own.c_str());
}

SRWLOCK g_writing = SRWLOCK_INIT;

// Never releases the lock, so that only the thread that ends the program writes the last counts.
void StopWriting()
{
    AcquireSRWLockExclusive(&g_writing);
}

DWORD WINAPI WriteCounts(LPVOID /*unused*/)
{
    Sleep(kInterval);
    // By now the run-time library has registered its own last write. What is registered later runs earlier,
    // so StopWriting runs before that write.
    std::atexit(&StopWriting);
    for (;; Sleep(kInterval)) {
        AcquireSRWLockExclusive(&g_writing);
        __gcov_dump();   // adds the counts to those in the files
        __gcov_reset();  // sets them to 0; without this, the next dump would write nothing
        ReleaseSRWLockExclusive(&g_writing);
    }
}

const bool g_started = [] {
    UseOwnFolder();
    CloseHandle(CreateThread(nullptr, 0, &WriteCounts, nullptr, 0, nullptr));
    return true;
}();

}  // namespace
