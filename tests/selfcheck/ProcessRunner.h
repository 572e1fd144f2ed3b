#pragma once

#include <windows.h>

#include <optional>
#include <string>

// Runs a program of this folder, with this folder as its working folder and its output in a file. Returns its
// exit status, or none if it did not end within the time limit: it is ended then, with every program that was
// started from this folder. Throws std::runtime_error if it cannot be started.
[[nodiscard]] std::optional<DWORD> RunProgram(const std::wstring& commandLine, const std::wstring& outputPath,
                                              DWORD minutes);

// Ends every process whose program is a file of this folder, except this one, and waits for their ends.
void EndProgramsOfThisFolder();

// After BeginEnding, no thread gets past StopIfEnding, and RunProgram neither starts a program nor returns.
// The thread that called BeginEnding undoes what the tests have changed before the process ends.
void BeginEnding();
void StopIfEnding();
