#pragma once

#include <windows.h>

#include <string>

// The module of the resources: the executable until another one is set.
[[nodiscard]] HINSTANCE GetResourceHandle();
void SetResourceHandle(HINSTANCE module);

// Empty when there is no such string.
[[nodiscard]] std::wstring LoadResourceString(UINT id);
