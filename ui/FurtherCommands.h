#pragma once

#include <windows.h>

#include <functional>

// Shows the menu of IDC_MORE, the button, and returns the id of the chosen command; 0 when it was dismissed.
// isPossible: whether a command would do something now; the others are grey.
[[nodiscard]] UINT ShowFurtherCommands(HWND button, const std::function<bool(UINT)>& isPossible);
