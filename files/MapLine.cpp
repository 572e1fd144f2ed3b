#include "files/MapLine.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <utility>

#include "core/TextTools.h"

namespace {

constexpr wchar_t kSeparator = L';';
constexpr std::size_t kNone = std::wstring_view::npos;

// Cuts the text before the first separator off the front of `rest`, separator included, into `field`,
// trimmed. False when there is no separator or nothing, not even a blank, before it.
bool TakeField(std::wstring_view& rest, std::wstring& field)
{
    const std::size_t separator = rest.find(kSeparator);
    if (separator == kNone || separator == 0) {
        return false;
    }
    field = Trim(rest.substr(0, separator));
    rest.remove_prefix(separator + 1);
    return true;
}

std::string EncodeField(std::wstring_view field, char (*byteFor)(wchar_t))
{
    return EncodeMapText(field.substr(0, kMapFieldMaxBytes), byteFor);
}

bool HoldsRecord(std::wstring_view strippedLine)
{
    return !strippedLine.empty() && strippedLine.front() != kSeparator;
}

// One conversion of a printf format; a length of 0 says that there is none.
struct Conversion
{
    std::size_t length = 0;
    bool takesLong = false;
};

std::size_t EndOf(std::wstring_view text, std::size_t begin, std::wstring_view characters)
{
    return std::min(text.find_first_not_of(characters, begin), text.size());
}

// A width or precision of more than three digits is no conversion, so that no path makes a message of
// megabytes.
std::size_t EndOfNumber(std::wstring_view text, std::size_t begin)
{
    constexpr std::size_t kMostDigits = 3;
    return EndOf(text.substr(0, std::min(text.size(), begin + kMostDigits)), begin, L"0123456789");
}

// The conversion that the text begins with.
Conversion IntConversion(std::wstring_view text)
{
    if (!text.starts_with(L'%')) {
        return {};
    }
    std::size_t at = EndOfNumber(text, EndOf(text, 1, L"-+ #0"));
    if (text.substr(at).starts_with(L'.')) {
        at = EndOfNumber(text, at + 1);
    }
    Conversion conversion;
    for (const std::wstring_view modifier : {L"hh", L"h", L"l"}) {
        if (text.substr(at).starts_with(modifier)) {
            conversion.takesLong = modifier == L"l";
            at += modifier.size();
            break;
        }
    }
    if (at == text.size() || std::wstring_view(L"diuxXoc").find(text[at]) == kNone) {
        return {};
    }
    conversion.takesLong = conversion.takesLong && text[at] != L'c';
    conversion.length = at + 1;
    return conversion;
}

// The line number printed by a format that is one conversion. A format that fails stands as it is.
std::wstring Printed(const std::wstring& format, bool takesLong, int line)
{
    std::array<wchar_t, 1024> buffer{};  // more than a width and a precision of three digits can fill
    const int length =
        takesLong ? std::swprintf(buffer.data(), buffer.size(), format.c_str(), static_cast<long>(line))
                  : std::swprintf(buffer.data(), buffer.size(), format.c_str(), line);
    return length < 0 ? format : std::wstring(buffer.data(), static_cast<std::size_t>(length));
}

}  // namespace

bool ParseMapLine(std::wstring_view strippedLine, UTtab_entry& entry)
{
    UTtab_entry parsed;
    if (!TakeField(strippedLine, parsed.strOriginal) || !TakeField(strippedLine, parsed.strRenamed)) {
        return false;
    }
    parsed.strBomName = Trim(strippedLine);
    entry = std::move(parsed);
    return true;
}

std::string EncodeMapText(std::wstring_view text, char (*byteFor)(wchar_t))
{
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t character : text) {
        bytes += character <= L'\u00FF' ? static_cast<char>(character) : byteFor(character);
    }
    return bytes;
}

std::string FormatMapRecord(const UTtab_entry& entry, char (*byteFor)(wchar_t))
{
    return EncodeField(entry.strOriginal, byteFor) + " ; " + EncodeField(entry.strRenamed, byteFor) + " ; " +
           EncodeField(entry.strBomName, byteFor);
}

std::string FormatMapHeader(std::wstring_view mapPath, char (*byteFor)(wchar_t))
{
    // The second line is German in either language, which is meant.
    std::wstring header = L"; Datei: ";
    header += mapPath;
    header +=
        L"\n; Automatisch generierte Datei, manuelle Änderungen können verloren gehen.\n"
        L"; (c) Talvenor\n"
        L"\n";
    return EncodeMapText(header, byteFor);
}

MapReadResult ReadMapLines(std::istream& in, std::wstring (*decode)(std::string_view),
                           CList<UTtab_entry, UTtab_entry&>& entries)
{
    std::array<char, kMapLineMaxBytes + 1> buffer{};
    // A line that does not fit the buffer fails the stream and so ends the reading, which is meant.
    for (int line = 1; in.getline(buffer.data(), buffer.size()); ++line) {
        // The line end is counted but not stored; only a last line can be without one.
        const std::size_t length = static_cast<std::size_t>(in.gcount()) - (in.eof() ? 0 : 1);
        const std::wstring text = Trim(decode(std::string_view(buffer.data(), length)));
        if (!HoldsRecord(text)) {
            continue;
        }
        UTtab_entry entry;
        if (!ParseMapLine(text, entry)) {
            return {true, line};
        }
        entries.AddTail(entry);
    }
    return {false, 0};
}

std::wstring FormatSyntaxError(std::wstring_view joinedFormat, int line)
{
    std::wstring message;
    bool numberPrinted = false;
    while (!joinedFormat.empty()) {
        const Conversion number = numberPrinted ? Conversion() : IntConversion(joinedFormat);
        std::size_t length = number.length;
        if (number.length > 0) {
            message += Printed(std::wstring(joinedFormat.substr(0, length)), number.takesLong, line);
            numberPrinted = true;
        } else {
            length = joinedFormat.starts_with(L"%%") ? 2 : 1;
            message += joinedFormat.front();
        }
        joinedFormat.remove_prefix(length);
    }
    return message;
}
