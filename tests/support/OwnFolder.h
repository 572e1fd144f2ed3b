#pragma once

#include <windows.h>

#include <string>

// The folder of the tests' own executable, where the program and the stand-in server lie too; no backslash at
// its end.
inline std::wstring OwnFolder()
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path.substr(0, path.rfind(L'\\'));
}
