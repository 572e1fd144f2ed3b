#include "files/MapLine.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr wchar_t kSeparator = L';';
constexpr std::string_view kFieldSeparator = " ; ";
constexpr wchar_t kLastByItsCode = L'\u00FF';
constexpr std::size_t kNone = std::wstring_view::npos;

// Strips only blanks, tabs and line ends: a name may end in another white-space character, such as a no-break
// space.
std::wstring_view StripBlanks(std::wstring_view text)
{
    constexpr std::wstring_view kBlanks = L" \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == kNone) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Moves the stripped text before the first separator from `rest` to `field` and drops the separator. Returns
// false when there is no separator, or when it is the first character.
bool TakeField(std::wstring_view& rest, std::wstring_view& field)
{
    const std::size_t separator = rest.find(kSeparator);
    if (separator == kNone || separator == 0) {
        return false;
    }
    field = StripBlanks(rest.substr(0, separator));
    rest.remove_prefix(separator + 1);
    return true;
}

// A line break would split the record, so it becomes a blank. A template edited in the registry may contain
// one.
std::string EncodeField(std::wstring_view field, const MapEncoder& encoder)
{
    std::string bytes = EncodeMapText(field.substr(0, kMapFieldMaxBytes), encoder);
    const auto breaksLine = [](char byte) { return byte == '\n' || byte == '\r'; };
    std::ranges::replace_if(bytes, breaksLine, ' ');
    return bytes;
}

bool HoldsRecord(std::wstring_view strippedLine)
{
    return !strippedLine.empty() && strippedLine.front() != kSeparator;
}

}  // namespace

bool ParseMapLine(std::wstring_view strippedLine, UTtab_entry& entry)
{
    std::wstring_view original;
    std::wstring_view renamed;
    if (!TakeField(strippedLine, original) || !TakeField(strippedLine, renamed)) {
        return false;
    }
    entry.strOriginal = original;
    entry.strRenamed = renamed;
    entry.strBomName = StripBlanks(strippedLine);
    return true;
}

std::string EncodeMapText(std::wstring_view text, const MapEncoder& encoder)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t character : text) {
        bytes += character <= kLastByItsCode ? static_cast<char>(character) : encoder(character);
    }
    return bytes;
}

bool HasMapBytes(std::wstring_view text, const MapEncoder& encoder)
{
    return std::ranges::all_of(text, [&encoder](wchar_t character) {
        return character <= kLastByItsCode || encoder(character) != '?';
    });
}

std::string FormatMapRecord(const UTtab_entry& entry, const MapEncoder& encoder)
{
    std::string record = EncodeField(entry.strOriginal, encoder);
    record += kFieldSeparator;
    record += EncodeField(entry.strRenamed, encoder);
    record += kFieldSeparator;
    record += EncodeField(entry.strBomName, encoder);
    return record;
}

std::size_t MapRecordLength(const UTtab_entry& entry)
{
    const auto length = [](const std::wstring& field) { return std::min(field.size(), kMapFieldMaxBytes); };
    return length(entry.strOriginal) + kFieldSeparator.size() + length(entry.strRenamed) +
           kFieldSeparator.size() + length(entry.strBomName);
}

std::optional<UTtab_entry> ReadMapRecord(std::string_view line, const MapDecoder& decode)
{
    std::wstring decoded;
    decode(line, decoded);
    // ParseMapLine also refuses the empty lines and comments that the reader skips.
    UTtab_entry entry;
    return ParseMapLine(StripBlanks(decoded), entry) ? std::optional(entry) : std::nullopt;
}

std::string FormatMapHeader(std::string_view mapPath8)
{
    // The header is German in both editions, so that the file does not depend on the edition. The umlauts are
    // single bytes with the values of their codes.
    return "; Datei: " + std::string(mapPath8) +
           "\n; Automatisch generierte Datei, manuelle \xC4nderungen k\xF6nnen verloren gehen.\n"
           "; (c) Talvenor\n"
           "\n";
}

std::optional<int> ReadMapLines(std::istream& in, const MapDecoder& decode,
                                CList<UTtab_entry, UTtab_entry&>& entries)
{
    std::array<char, kMapLineMaxBytes + 1> buffer{};
    // Reused for all lines, so that the strings keep their capacity.
    UTtab_entry entry;
    std::wstring decoded;
    // A line that does not fit the buffer sets the stream's failbit, which ends reading. The manuals warn of
    // this.
    for (int line = 1; in.getline(buffer.data(), buffer.size()); ++line) {
        // gcount includes the line end, which only the last line can lack.
        const std::size_t length = static_cast<std::size_t>(in.gcount()) - (in.eof() ? 0 : 1);
        decode(std::string_view(buffer.data(), length), decoded);
        const std::wstring_view text = StripBlanks(decoded);
        if (!HoldsRecord(text)) {
            continue;
        }
        if (!ParseMapLine(text, entry)) {
            return line;
        }
        entries.AddTail(entry);
    }
    return std::nullopt;
}

std::wstring FormatSyntaxError(std::wstring_view joinedFormat, int line)
{
    constexpr std::wstring_view kLineNumber = L"%d";
    std::wstring message;
    bool numberPrinted = false;
    while (!joinedFormat.empty()) {
        std::size_t length = 0;
        if (!numberPrinted && joinedFormat.starts_with(kLineNumber)) {
            message += std::to_wstring(line);
            numberPrinted = true;
            length = kLineNumber.size();
        } else {
            length = joinedFormat.starts_with(L"%%") ? 2 : 1;
            message += joinedFormat.front();
        }
        joinedFormat.remove_prefix(length);
    }
    return message;
}
