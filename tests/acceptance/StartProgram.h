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
// code. Under Wine the system now and then loses a process while it starts it; the start is then repeated, as
// a person would, and the test's output tells that.
[[nodiscard]] StartedProgram StartProgram(std::wstring commandLine, const std::wstring& folder = {});
