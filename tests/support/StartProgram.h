#pragma once

#include "tests/support/CreateProgram.h"
#include "tests/support/WaitFor.h"

// Like CreateProgram, but returns the program. On failure, throws std::runtime_error with the system's error
// code. Wine sometimes loses a starting process; the start may then be repeated once (MayRepeat).
[[nodiscard]] StartedProgram StartProgram(const std::wstring& commandLine, const std::wstring& folder = {},
                                          bool inheritsHandles = false);

// Waits until a program has ended and returns its exit status. Fails the test if the program takes longer
// than `patience` milliseconds, and ends it.
[[nodiscard]] DWORD WaitForExit(const StartedProgram& program, DWORD patience = kPatience);
