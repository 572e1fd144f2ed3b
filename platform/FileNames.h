#pragma once

#include <string_view>

// Whether the file system takes two names, or two paths, for the same: by their characters' codes, with the
// letter case of every script ignored as the system's own table of capitals has it ("CompareStringOrdinal
// function").
[[nodiscard]] bool EqualFileNames(std::wstring_view left, std::wstring_view right);
