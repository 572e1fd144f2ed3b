#pragma once

#include <windows.h>

#include <string>

#include "framework/Handles.h"

struct StartedProgram
{
    UniqueHandle process;
    DWORD id = 0;
};

// Starts a program in a folder (empty: this program's own). Throws std::runtime_error with the system's error
// code. Wine sometimes loses a starting process; the start may then be repeated once (MayRepeat).
[[nodiscard]] StartedProgram StartProgram(const std::wstring& commandLine, const std::wstring& folder = {});
