#pragma once

#include <optional>
#include <string>

// The two name templates in the current user's settings. column: 1 for the file-name template, 2 for the
// BOM-name template. Nothing is kept in memory; each call goes to the registry.

// The stored template; none when the value is missing or is no text. An empty template is a template.
[[nodiscard]] std::optional<std::wstring> ReadTemplate(int column);

// Stores the template; false when the registry refuses it.
bool WriteTemplate(int column, const std::wstring& text);
