#pragma once

#include <windows.h>

#include <functional>
#include <string>

// The name that screen readers announce for a window without a label ("Dynamic Annotation API"). Clear it
// before the window is destroyed. COM must be initialised. Without the service, both do nothing.
void SetAccessibleName(HWND window, const std::wstring& name);
void ClearAccessibleName(HWND window);

// The names of a list view's rows (from 0), asked for whenever a screen reader reads a row: a name stored for
// a row's number would be wrong once rows are inserted or deleted. For an empty name, and when the function
// throws, the list view's own name is used. Clear them before the window is
// destroyed. COM must be initialised. Without the service, both do nothing.
using RowName = std::function<std::wstring(int row)>;
void SetAccessibleRowNames(HWND list, RowName nameOf);
void ClearAccessibleRowNames(HWND list);
