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
// code. Wine now and then loses a process while it starts it; such a start may be repeated once (MayRepeat).
[[nodiscard]] StartedProgram StartProgram(const std::wstring& commandLine, const std::wstring& folder = {});
