#pragma once

#include <string>
#include <string_view>

// The text without the white space at its two ends: every character with the Unicode property White_Space.
[[nodiscard]] std::wstring Trim(std::wstring_view text);
// The same as a view into the text.
[[nodiscard]] std::wstring_view TrimView(std::wstring_view text);

// Compares with the case of a to z ignored, whatever the locale: the prefixes are ASCII, and with Turkish
// casing rules the "i" of "iso" would match none.
[[nodiscard]] bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right);

// Replaces every occurrence of `what` in the text by `by`, case-sensitively, left to right and without
// overlap; what was put in is not looked at again. Returns the number of replacements. An empty `what`
// replaces nothing. Takes time linear in the lengths of the old and the new text.
int ReplaceAll(std::wstring& text, std::wstring_view what, std::wstring_view by);
