#pragma once

#include <windows.h>

#include <functional>

// Shows the menu of the button IDC_MORE. Returns the id of the chosen command; 0 when the menu was dismissed.
// isPossible: returns whether a command would do something now; otherwise the command is grey.
[[nodiscard]] UINT ShowFurtherCommands(HWND button, const std::function<bool(UINT)>& isPossible);
