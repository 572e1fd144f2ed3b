#pragma once

#include <windows.h>

#include <cstddef>

// What a process holds at a moment, counted from outside.
struct ResourceUse
{
    std::size_t privateBytes = 0;
    std::size_t workingSet = 0;
    DWORD handles = 0;
    DWORD gdiObjects = 0;
    DWORD userObjects = 0;
    DWORD windows = 0;
};

// The handle must allow to query the process and to read its memory. `userObjects` is 0 where the system does
// not tell, as under Wine; the windows are counted one by one everywhere.
ResourceUse UseOf(HANDLE process);
