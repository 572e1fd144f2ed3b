// Writes the counts of executed lines while the program runs, because a program that is ended from outside
// writes none at its end, and the tests end most of the programs that they start. Part of the coverage build
// only.
#include <windows.h>

extern "C" void __gcov_dump(void);
extern "C" void __gcov_reset(void);

namespace {

// What a killed program did after its last write is lost.
constexpr DWORD kInterval = 200;  // milliseconds

DWORD WINAPI WriteCounts(LPVOID /*unused*/)
{
    for (;;) {
        Sleep(kInterval);
        __gcov_dump();   // adds the counts to those in the files ...
        __gcov_reset();  // ... and begins anew, as a further call would write nothing
    }
}

const bool g_started = [] {
    CloseHandle(CreateThread(nullptr, 0, &WriteCounts, nullptr, 0, nullptr));
    return true;
}();

}  // namespace
