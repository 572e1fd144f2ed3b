#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

// Fills the places %1 to %9 of a message with the values, in one pass: a "%" inside a value is text. A place
// without a value, and a "%" before anything else, stay.
[[nodiscard]] std::wstring FillPlaces(std::wstring_view pattern,
                                      std::initializer_list<std::wstring_view> values);
