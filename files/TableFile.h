#pragma once

#include <string>
#include <string_view>

// Files that hold a table as text, such as a spreadsheet's CSV files. Both functions throw CFileException.

// Reads the text: UTF-8 or UTF-16 (see DecodeUnicode), or else the ANSI code page of the map file.
[[nodiscard]] std::wstring ReadTableFile(const std::wstring& path);

// Writes the text in UTF-8, with a byte order mark, to a temporary file in the same folder, which then takes
// the name and replaces an existing file. After a failure the existing file is unchanged, and no other is
// left.
void WriteTableFile(const std::wstring& path, std::wstring_view text);
