#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "tests/selfcheck/Report.h"

// The machine on which the self-check runs.

[[nodiscard]] DWORD WindowsBuild();
[[nodiscard]] bool LongPathsEnabled();
[[nodiscard]] bool IsElevated();

// Version, languages, monitors and what else explains a result.
void DescribeMachine(CReport& report);

// What the stages must leave as it was: the keys of the library, of the program and of CAD systems with their
// values, and the files in this folder and in the temporary folder that belong to the project.
using MachineState = std::map<std::wstring, std::wstring>;
[[nodiscard]] MachineState TakeMachineState();

// Reports every difference as a failure.
void CompareMachine(const MachineState& before, const std::string& stage, CReport& report);
