#pragma once

#include <windows.h>

// A function of user32.dll that Windows 10 before version 1607 lacks: null there.
template <class Function>
Function UserFunction(const char* name)
{
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), name)));
}

// The scaling of a window, 96 for 100 %; 0 if the system does not tell.
inline UINT DpiOf(HWND window)
{
    const auto dpiOf = UserFunction<decltype(&GetDpiForWindow)>("GetDpiForWindow");
    return dpiOf == nullptr ? 0 : dpiOf(window);
}
