#pragma once

#include <string>

// Tests of paths. All but SameFolder query the file system.

// Whether a file or folder is at the path.
[[nodiscard]] bool PathExists(const std::wstring& path);

[[nodiscard]] bool IsFolder(const std::wstring& path);

// Whether the path exists or is the root of a volume.
[[nodiscard]] bool PathOrVolumeExists(const std::wstring& path);

// Whether both texts are the same path; case-insensitive.
[[nodiscard]] bool SameFolder(const std::wstring& left, const std::wstring& right);
