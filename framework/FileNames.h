#pragma once

#include <string>
#include <string_view>

// Whether two names, or two paths, are the same to the file system: compares case-insensitively by the
// system's uppercase table ("CompareStringOrdinal function").
[[nodiscard]] bool EqualFileNames(std::wstring_view left, std::wstring_view right);

// The name in capitals, by the same table: equal for names that EqualFileNames finds equal.
[[nodiscard]] std::wstring FoldFileName(std::wstring_view name);
