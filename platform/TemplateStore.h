#pragma once

#include <optional>
#include <string>

// The two name templates in the current user's settings. column: 1 for the file-name template, 2 for the
// BOM-name template. Not cached: every call accesses the registry.

// The stored template, which may be empty; nullopt when the value is missing or not a text.
[[nodiscard]] std::optional<std::wstring> ReadTemplate(int column);

// Whether a template is stored, even if there is no memory to read it.
[[nodiscard]] bool HasTemplate(int column);

// Stores the template. Returns false when the registry refuses it.
bool WriteTemplate(int column, const std::wstring& text);
