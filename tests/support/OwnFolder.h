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

// The folder of that executable, without a backslash at its end. It also holds the program and the stand-in
// server.
inline std::wstring OwnFolder()
{
    return OwnProgram().substr(0, OwnProgram().rfind(L'\\'));
}
