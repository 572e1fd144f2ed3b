#pragma once

#include <string>
#include <string_view>

// Whether two names, or two paths, are the same to the file system: compares case-insensitively by the
// system's uppercase table ("CompareStringOrdinal function").
[[nodiscard]] bool EqualFileNames(std::wstring_view left, std::wstring_view right);

// Returns the name in upper case, by the same table. The results are equal for names that EqualFileNames
// finds equal.
[[nodiscard]] std::wstring FoldFileName(std::wstring_view name);

// Returns the path of an existing file or folder, with mapped drives, junctions and short names resolved.
// Returns the path unchanged when nothing is there or the system cannot resolve the path.
[[nodiscard]] std::wstring FinalPath(const std::wstring& path);

// Returns a text that is the same for all paths of an existing file or folder, also for a local path and one
// through a share: the serial number of its volume and its number on that volume. Empty when nothing is there
// or the file system does not number its files.
[[nodiscard]] std::wstring FileNumber(const std::wstring& path);
