#pragma once

#include <windows.h>

#include <string>

#include "framework/Handles.h"

struct StartedProgram
{
    UniqueHandle process;
    DWORD id = 0;
    DWORD threadId = 0;  // of its first thread
};

// Starts a program with a working folder (empty: this process's own). Returns the system's error code.
[[nodiscard]] DWORD CreateProgram(std::wstring commandLine, StartedProgram& program,
                                  const std::wstring& folder = {}, bool inheritsHandles = false);
