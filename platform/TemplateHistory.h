#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The templates that were used before, in the current user's settings, separately for each column (1: file
// name, 2: BOM name).

inline constexpr std::size_t kTemplateHistorySize = 10;

// Returns these templates, the newest first: at most kTemplateHistorySize, all different. Values that are
// missing, not a text, empty, or hold a control character or more characters than a template field takes are
// left out.
[[nodiscard]] std::vector<std::wstring> ReadTemplateHistory(int column);

// Puts a template in front of the others, or moves it there. A text that ReadTemplateHistory would leave out
// is not kept. What the registry refuses is lost without a message.
void AddToTemplateHistory(int column, const std::wstring& text);
