#pragma once

#include <windows.h>

// Whether the tests run under Wine: some of them know ways of its that are no part of Windows, or miss what
// it lacks.
inline bool UnderWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
