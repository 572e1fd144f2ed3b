#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

#include "core/UTtabEntry.h"
#include "framework/List.h"

// The parts map file is 8-bit text: comment lines that begin with ";", empty lines, and one record per line.
// A record has three fields in the order of UTtab_entry, separated by ";".

// The reader accepts lines of at most this many bytes.
inline constexpr std::size_t kMapLineMaxBytes = 255;

// The writer truncates each field of a record to this many bytes.
inline constexpr std::size_t kMapFieldMaxBytes = 259;

// Splits one record at its first two semicolons and strips the blanks around the three fields. The third
// field may be empty and may contain further semicolons. The line must be stripped. Returns false, with the
// entry unchanged, when one of the two semicolons is missing or is the first character of its field. This
// includes empty lines and comments.
bool ParseMapLine(std::wstring_view strippedLine, UTtab_entry& entry);

// Returns the byte of a character above U+00FF (EncodeMapCharacter).
using MapEncoder = std::function<char(wchar_t)>;

// Decodes the bytes of a line into a text.
using MapDecoder = std::function<void(std::string_view bytes, std::wstring& text)>;

// Returns the text as bytes: characters up to U+00FF by their codes, whatever the code page, others as
// `encoder` (not empty) returns them.
[[nodiscard]] std::string EncodeMapText(std::wstring_view text, const MapEncoder& encoder);

// Whether each character of the text has a byte, so that none becomes '?'.
[[nodiscard]] bool HasMapBytes(std::wstring_view text, const MapEncoder& encoder);

// Returns one record line without its line end. Each field is truncated to kMapFieldMaxBytes, and line breaks
// in it become blanks. With an empty BOM name the line ends in "; ", as in existing map files. The line may
// be longer than the reader accepts.
[[nodiscard]] std::string FormatMapRecord(const UTtab_entry& entry, const MapEncoder& encoder);

// Returns the length of FormatMapRecord's result in bytes: every character becomes one byte.
[[nodiscard]] std::size_t MapRecordLength(const UTtab_entry& entry);

// Returns what the reader gets back from a record line (without its line end); nullopt for a line that the
// reader rejects or skips. The line must have at most kMapLineMaxBytes.
[[nodiscard]] std::optional<UTtab_entry> ReadMapRecord(std::string_view line, const MapDecoder& decode);

// Returns the four lines at the top of the file, each ending in "\n". mapPath8: the file's full path as
// bytes.
[[nodiscard]] std::string FormatMapHeader(std::string_view mapPath8);

// Appends the records of a stream in text mode to the entries, decoding each line with `decode` (not empty).
// Stops at the first bad line and returns its 1-based number. Also stops at a line of more than
// kMapLineMaxBytes, but then returns nullopt, as at the end of the file. The entries from earlier lines stay.
std::optional<int> ReadMapLines(std::istream& in, const MapDecoder& decode,
                                CList<UTtab_entry, UTtab_entry&>& entries);

// Returns the message about a bad line: the joined text, path included, formatted like printf with the line
// number as its only argument. The first "%d" becomes the number and "%%" becomes "%", in the path, too; any
// other "%" stays. Kept: users know the message in this form.
[[nodiscard]] std::wstring FormatSyntaxError(std::wstring_view joinedFormat, int line);
