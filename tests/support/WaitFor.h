#pragma once

#include <windows.h>

// How long the tests wait for what must come, in milliseconds. Plenty: it only passes in full when a test
// fails.
inline constexpr DWORD kPatience = 30'000;

// Asks until the answer is not false, null or empty (whatever `if` takes for no), at most for `patience`
// milliseconds, with so many of them in between, and returns the last answer.
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
