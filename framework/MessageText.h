#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

// Replaces the placeholders %1 to %9 of a message with the values, in one pass: a "%" in a value is taken
// literally. A placeholder without a value, and any other "%", remains as it is.
[[nodiscard]] std::wstring FillPlaceholders(std::wstring_view message,
                                            std::initializer_list<std::wstring_view> values);
