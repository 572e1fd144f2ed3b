#pragma once

#include <string_view>

// Whether two names, or two paths, are the same to the file system: compares case-insensitively by the
// system's uppercase table ("CompareStringOrdinal function").
[[nodiscard]] bool EqualFileNames(std::wstring_view left, std::wstring_view right);
