#pragma once

#include <string>
#include <string_view>
#include <vector>

// The text as UTF-8.
std::string ToUtf8(std::wstring_view text);

// The UTF-8 bytes as text; bytes that are no UTF-8 become replacement characters.
std::wstring FromUtf8(std::string_view bytes);

// The text in lower case, independent of the user's language: equal exactly when Windows takes the two for
// the same file name.
std::wstring LowerCase(std::wstring_view text);

// The part of a path behind its last backslash or slash.
std::wstring FileNameOf(std::wstring_view path);

// The full form of a path, seen from the working folder.
std::wstring FullPath(const std::wstring& path);

// The lines of a UTF-8 file without their line ends. Throws std::runtime_error when it cannot be read.
std::vector<std::wstring> ReadLines(const std::wstring& path);
