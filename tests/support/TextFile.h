#pragma once

#include <string>
#include <string_view>
#include <vector>

// Encodes as UTF-8.
std::string ToUtf8(std::wstring_view text);

// Decodes UTF-8. Invalid bytes become replacement characters.
std::wstring FromUtf8(std::string_view bytes);

// The text in the map file's encoding: each character as the byte of its code, which must be below 256.
std::string ByCode(std::wstring_view text);

// The text in lower case, independent of the user's language. The tests compare file names by it, although
// Windows uses a table of upper case: the two differ for a few rare letters.
std::wstring LowerCase(std::wstring_view text);

// The part of a path after its last backslash or slash.
std::wstring FileNameOf(std::wstring_view path);

// The absolute path; a relative path starts at the working folder.
std::wstring FullPath(const std::wstring& path);

// The pieces of a text between separators: one piece more than there are separators.
std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator);

// The bytes of a file; none if it cannot be opened.
std::string BytesOf(const std::wstring& path);

// The lines of a UTF-8 file, each without its line end. Throws std::runtime_error if the file cannot be
// read.
std::vector<std::wstring> ReadLines(const std::wstring& path);

// The same, each line split at its tabs. Skips empty lines and lines that begin with "#".
std::vector<std::vector<std::wstring>> ReadTable(const std::wstring& path);
