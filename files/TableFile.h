#pragma once

#include <string>
#include <string_view>

// Files that hold a table as text, such as a spreadsheet's CSV files. Both functions throw CFileException.

// Reads the text: UTF-8 or UTF-16 (see DecodeUnicode), or else text in the map file's code page.
[[nodiscard]] std::wstring ReadTableFile(const std::wstring& path);

// Writes the text in UTF-8, with a byte order mark, to a temporary file in the same folder. Then renames the
// temporary file to `path`, replacing an existing file. After a failure the existing file is unchanged, and
// no temporary file is left.
void WriteTableFile(const std::wstring& path, std::wstring_view text);
