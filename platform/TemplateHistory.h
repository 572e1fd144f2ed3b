#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The name templates used before, kept in the current user's settings, separately for each column (1: file
// name, 2: BOM name).

inline constexpr std::size_t kTemplateHistorySize = 10;

// Returns the column's templates, the newest first: at most kTemplateHistorySize, all different. Leaves out
// values that are missing, empty, not a text, longer than a template field allows, or contain a control
// character.
[[nodiscard]] std::vector<std::wstring> ReadTemplateHistory(int column);

// Makes the template the column's newest. A text that ReadTemplateHistory would leave out is not kept. A
// value that the registry refuses is lost without a message.
void AddToTemplateHistory(int column, const std::wstring& text);
