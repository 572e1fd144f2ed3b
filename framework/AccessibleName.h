#pragma once

#include <windows.h>

#include <string>

// The name by which screen readers know a window that no label stands before. To be cleared before the window
// goes. Both do nothing where the system has no such service; COM must be initialised.
void SetAccessibleName(HWND window, const std::wstring& name);
void ClearAccessibleName(HWND window);
