#pragma once

#include <windows.h>

#include <string>

// The module of the resources: the executable until SetResourceHandle sets another module.
[[nodiscard]] HINSTANCE GetResourceHandle();
void SetResourceHandle(HINSTANCE module);

// Empty when there is no such string.
[[nodiscard]] std::wstring LoadResourceString(UINT id);
