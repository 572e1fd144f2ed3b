#pragma once

#include <windows.h>

#include <cstddef>

// The resources of a process, measured from outside.
struct ResourceUse
{
    std::size_t privateBytes = 0;
    std::size_t workingSet = 0;
    DWORD handles = 0;
    DWORD gdiObjects = 0;
    DWORD userObjects = 0;
    DWORD windows = 0;
};

// The handle must have the rights to query the process and to read its memory. userObjects is 0 if not
// available, as under Wine; windows are counted by enumerating them.
ResourceUse UseOf(HANDLE process);
