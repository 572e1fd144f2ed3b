#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <string>
#include <string_view>

#include "core/UTtabEntry.h"
#include "framework/List.h"

// The parts map file is 8-bit text: comment lines that begin with ";", empty lines, and one record a line,
// whose three fields stand in the order of UTtab_entry with ";" between them.

// The reader takes lines of at most this many bytes.
inline constexpr std::size_t kMapLineMaxBytes = 255;

// The writer cuts each field of a record after this many bytes.
inline constexpr std::size_t kMapFieldMaxBytes = 259;

// Takes one record apart at its first two semicolons and strips the blanks around the three fields; the third
// may be empty and may hold further semicolons. The line is expected stripped and neither empty nor a
// comment. Returns false, and leaves the entry untouched, when a semicolon is missing or nothing stands
// before one of the two.
bool ParseMapLine(std::wstring_view strippedLine, UTtab_entry& entry);

// The byte of a character above U+00FF, '?' for one that has none.
using MapByteRule = std::function<char(wchar_t)>;

// Sets a text to what the bytes of a line stand for.
using MapDecoder = std::function<void(std::string_view bytes, std::wstring& text)>;

// The text as bytes: a character up to U+00FF becomes the byte of its code, whatever the code page, any other
// one what byteFor (not empty) gives for it.
[[nodiscard]] std::string EncodeMapText(std::wstring_view text, const MapByteRule& byteFor);

// Whether each character of the text has a byte, so that none of its own becomes '?'.
[[nodiscard]] bool HasMapBytes(std::wstring_view text, const MapByteRule& byteFor);

// One record line without its line end. Each field is cut to kMapFieldMaxBytes, line breaks in it become
// blanks. With an empty BOM name the line ends in "; ": map files in use end so. The line may be longer than
// the reader takes.
[[nodiscard]] std::string FormatMapRecord(const UTtab_entry& entry, const MapByteRule& byteFor);

// The four lines at the top of the file, each with "\n" at its end. mapPath8: the full path of the file
// itself, as bytes.
[[nodiscard]] std::string FormatMapHeader(std::string_view mapPath8);

struct MapReadResult
{
    bool syntaxError;
    int badLine;  // 1-based number of the bad line, 0 when there is none
};

// Appends the records of a stream (in text mode, so that every line ends in "\n") to the entries, decoding
// each line by `decode` (not empty). Stops at the end, at the first bad line, which the result names, or,
// without a notice, at a line of more than kMapLineMaxBytes; the entries before it stay.
MapReadResult ReadMapLines(std::istream& in, const MapDecoder& decode,
                           CList<UTtab_entry, UTtab_entry&>& entries);

// The message about a bad line: the joined text, file path included, taken as a printf format with the line
// number as its one argument. The first "%d" takes the number, "%%" becomes "%". There is no second argument,
// so every other "%", such as one in the path, stands as it is.
[[nodiscard]] std::wstring FormatSyntaxError(std::wstring_view joinedFormat, int line);
