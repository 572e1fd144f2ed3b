#pragma once

#include <windows.h>

#include <string>

// The name that screen readers announce for a window without a label ("Dynamic Annotation API"). Clear it
// before the window is destroyed. COM must be initialised. Without the service, both do nothing.
void SetAccessibleName(HWND window, const std::wstring& name);
void ClearAccessibleName(HWND window);
