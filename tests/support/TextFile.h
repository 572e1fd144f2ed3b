#pragma once

#include <string>
#include <string_view>
#include <vector>

// Encodes as UTF-8.
std::string ToUtf8(std::wstring_view text);

// Decodes UTF-8. Invalid bytes become replacement characters.
std::wstring FromUtf8(std::string_view bytes);

// The text in lower case, independent of the user's language. Two results are equal exactly if Windows treats
// the two texts as the same file name.
std::wstring LowerCase(std::wstring_view text);

// The part of a path after its last backslash or slash.
std::wstring FileNameOf(std::wstring_view path);

// The absolute path, relative to the working folder.
std::wstring FullPath(const std::wstring& path);

// The lines of a UTF-8 file without line ends. Throws std::runtime_error if the file cannot be read.
std::vector<std::wstring> ReadLines(const std::wstring& path);
