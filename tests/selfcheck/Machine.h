#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "tests/selfcheck/Report.h"

// The machine on which the self-check runs.

[[nodiscard]] DWORD WindowsBuild();
[[nodiscard]] bool LongPathsEnabled();
// Whether this process may write for all users. Always true under Wine, which lets every process write but
// never reports a process as elevated.
[[nodiscard]] bool MayChangeMachine();
// Whether programs that follow the theme are dark.
[[nodiscard]] bool IsDarkTheme();

// Adds the version of Windows, the languages, the monitors, and other facts that may explain a result.
void DescribeMachine(CReport& report);

// What the stages must leave as it was: the keys of the library, of the program, of CAD systems and of the
// file dialogs with their values, the registered classes and installed programs, the drives, and the
// project's files in this folder, the temporary folder, the program folder and the Start menu.
using MachineState = std::map<std::wstring, std::wstring>;
[[nodiscard]] MachineState TakeMachineState();

// Undoes what killed tests have left. Returns what could not be undone, a line of UTF-8 each. No test may be
// running.
[[nodiscard]] std::vector<std::string> UndoTests();
// The same; what could not be undone counts as failures.
void RestoreMachine(CReport& report);

// What differs now, one line of UTF-8 each.
[[nodiscard]] std::vector<std::string> ChangesSince(const MachineState& before);
