#pragma once

#include <windows.h>

#include <string>

// The path of the tests' own executable.
inline std::wstring OwnProgram()
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path;
}

// Its folder, which also holds the program and the stand-in server; no backslash at its end.
inline std::wstring OwnFolder()
{
    return OwnProgram().substr(0, OwnProgram().rfind(L'\\'));
}
