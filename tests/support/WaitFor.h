#pragma once

#include <windows.h>

// How long a test waits before it fails, in milliseconds.
inline constexpr DWORD kPatience = 30'000;

// Calls a function until its result converts to true, for at most `patience` milliseconds, with pauses of
// `pause` milliseconds. Returns the last result.
template <class Ask>
auto WaitFor(Ask ask, DWORD patience = kPatience, DWORD pause = 10) -> decltype(ask())
{
    const ULONGLONG end = GetTickCount64() + patience;
    auto answer = ask();
    while (!answer && GetTickCount64() < end) {
        Sleep(pause);
        answer = ask();
    }
    return answer;
}
