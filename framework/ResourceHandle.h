#pragma once

#include <windows.h>

#include <string>

// The module that dialog templates, strings, icons and bitmaps are taken from: the executable until another
// module is set.
[[nodiscard]] HINSTANCE GetResourceHandle();
void SetResourceHandle(HINSTANCE module);

// The string resource of that number; empty when there is none.
[[nodiscard]] std::wstring LoadResourceString(UINT id);
