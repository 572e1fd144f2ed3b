#pragma once

#include <windows.h>

#include <functional>
#include <string>

// Set and clear the name that screen readers announce for a window without a label ("Dynamic Annotation
// API"). Clear the name before the window is destroyed. COM must be initialised. Where the system lacks the
// annotation service, both functions do nothing.
void SetAccessibleName(HWND window, const std::wstring& name);
void ClearAccessibleName(HWND window);

// Set and clear the function `nameOf`, which names a list view's rows (numbered from 0). `nameOf` is called
// whenever a screen reader reads a row: names stored by row number would be wrong once rows are inserted or
// deleted. When `nameOf` returns an empty name or throws, the list view's own name is used. Clear the
// function before the window is destroyed. COM must be initialised. Where the system lacks the annotation
// service, both functions do nothing.
using RowName = std::function<std::wstring(int row)>;
void SetAccessibleRowNames(HWND list, RowName nameOf);
void ClearAccessibleRowNames(HWND list);

// Announce makes screen readers interrupt their speech and announce the window's current text
// ("AutomationLiveSetting enumeration"). Call ClearAnnouncement before the window is destroyed. COM must be
// initialised.
void Announce(HWND window);
void ClearAnnouncement(HWND window);
