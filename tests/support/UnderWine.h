#pragma once

#include <windows.h>

// Whether the tests run under Wine, where some things work differently than on Windows or not at all.
inline bool UnderWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
