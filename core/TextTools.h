#pragma once

#include <string>
#include <string_view>

// The text without white space (Unicode property White_Space) at both ends.
[[nodiscard]] std::wstring Trim(std::wstring_view text);
// The same, as a view into the text.
[[nodiscard]] std::wstring_view TrimView(std::wstring_view text);

// Compares without regard to the case of a to z, whatever the locale. The prefixes and extensions of part
// names are ASCII. By Turkish casing rules, the "i" of "iso" would not match the "I" of "ISO".
[[nodiscard]] bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right);

// Replaces every occurrence of `what` with `by` in one pass from the left, case-sensitively. An empty `what`
// replaces nothing. Returns the number of replacements. The time is linear in the lengths of the old and the
// new text.
int ReplaceAll(std::wstring& text, std::wstring_view what, std::wstring_view by);
