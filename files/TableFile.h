#pragma once

#include <string>
#include <string_view>

// Files that hold a table as text, such as a spreadsheet's CSV files. Both functions throw CFileException; an
// incomplete file may be left after a failed write.

// Reads the text: UTF-8 or UTF-16 (see DecodeUnicode), or else the ANSI code page of the map file.
[[nodiscard]] std::wstring ReadTableFile(const std::wstring& path);

// Writes the text in UTF-8, with a byte order mark. Creates the file or replaces its contents.
void WriteTableFile(const std::wstring& path, std::wstring_view text);
