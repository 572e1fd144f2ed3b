#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/MapText.h"

namespace {

// The field as the writer puts it into the file: truncated to its maximum length, with "?" for characters
// that do not fit into a byte and blanks for line breaks.
std::wstring AsWritten(std::wstring field)
{
    field.resize(std::min(field.size(), kMapFieldMaxBytes));
    for (wchar_t& character : field) {
        if (character > L'\u00FF') {
            character = L'?';
        } else if (character == L'\n' || character == L'\r') {
            character = L' ';
        }
    }
    return field;
}

std::string PlainBytes(const std::wstring& text)
{
    std::string bytes;
    for (const wchar_t character : text) {
        bytes += static_cast<char>(static_cast<unsigned char>(character));
    }
    return bytes;
}

void CheckWriter(const UTtab_entry& entry)
{
    const std::string plain = PlainBytes(AsWritten(entry.strOriginal) + L" ; " + AsWritten(entry.strRenamed) +
                                         L" ; " + AsWritten(entry.strBomName));
    Require(FormatMapRecord(entry, QuestionMark) == plain,
            "a record is written as the plain implementation writes it");
}

// Whether the reader must return the record that was written.
bool MustRoundTrip(const UTtab_entry& entry, const std::string& line)
{
    const bool separatorInName = (entry.strOriginal + entry.strRenamed).find(L';') != std::wstring::npos;
    return !separatorInName && line.size() <= kMapLineMaxBytes &&
           !PlainStrip(AsWritten(entry.strOriginal)).empty();
}

void CheckRoundTrip(const UTtab_entry& entry, const std::wstring& mapPath)
{
    const std::string line = FormatMapRecord(entry, QuestionMark);
    const std::string header = FormatMapHeader(EncodeMapText(mapPath, QuestionMark));
    const bool headerFits =
        header.find('\n') <= kMapLineMaxBytes && mapPath.find(L'\n') == std::wstring::npos;
    if (!MustRoundTrip(entry, line) || !headerFits) {
        return;
    }
    const UTtab_entry neighbour{L"a", L"b", L""};
    const UTtab_entry read{PlainStrip(AsWritten(entry.strOriginal)), PlainStrip(AsWritten(entry.strRenamed)),
                           PlainStrip(AsWritten(entry.strBomName))};
    const std::string before = FormatMapRecord(neighbour, QuestionMark) + "\n";
    Require(ReadMap(header + before + line + "\n" + before) ==
                MapReading{std::nullopt, {neighbour, read, neighbour}},
            "the reader returns what the writer wrote");
    Require(ReadMap(header + line) == MapReading{std::nullopt, {read}},
            "the reader returns a last record without a line end");
}

// A made-up code page, with a byte for every second character above U+00FF.
char ByteOfOdd(wchar_t character)
{
    return character % 2 != 0 ? static_cast<char>(0x80U | (static_cast<unsigned>(character) & 0x7FU)) : '?';
}

void CheckBytes(const std::wstring& text)
{
    std::string plain;
    bool lost = false;
    for (const wchar_t character : text) {
        const bool byItsCode = character <= L'\u00FF';
        plain += byItsCode ? PlainBytes({character}) : std::string(1, ByteOfOdd(character));
        lost = lost || (!byItsCode && character % 2 == 0);
    }
    Require(EncodeMapText(text, ByteOfOdd) == plain,
            "a text is encoded as the plain implementation encodes it");
    Require(HasMapBytes(text, ByteOfOdd) == !lost, "a character without a byte is detected");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzInput input(data, size);
    UTtab_entry entry;
    entry.strOriginal = input.Field();
    entry.strRenamed = input.Field();
    entry.strBomName = input.Field();
    const std::wstring mapPath = input.Rest();
    CheckWriter(entry);
    CheckRoundTrip(entry, mapPath);
    CheckBytes(mapPath);
    return 0;
}
