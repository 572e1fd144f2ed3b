#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/MapText.h"

namespace {

constexpr std::size_t kMaxLineBytes = 255;

bool PlainParse(const std::wstring& line, UTtab_entry& entry)
{
    std::vector<std::size_t> separators;
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (line[at] == L';') {
            separators.push_back(at);
        }
    }
    if (separators.size() < 2 || separators[0] == 0 || separators[1] == separators[0] + 1) {
        return false;
    }
    entry.strOriginal = PlainStrip(line.substr(0, separators[0]));
    entry.strRenamed = PlainStrip(line.substr(separators[0] + 1, separators[1] - separators[0] - 1));
    entry.strBomName = PlainStrip(line.substr(separators[1] + 1));
    return true;
}

std::vector<std::string> Lines(const std::string& file)
{
    std::vector<std::string> lines;
    std::string line;
    for (const char byte : file) {
        if (byte == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += byte;
        }
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

MapReading PlainRead(const std::string& file)
{
    MapReading reading;
    int number = 0;
    for (const std::string& line : Lines(file)) {
        ++number;
        if (line.size() > kMaxLineBytes) {
            break;
        }
        const std::wstring text = PlainStrip(FromLatin1(line));
        if (text.empty() || text[0] == L';') {
            continue;
        }
        UTtab_entry entry;
        if (!PlainParse(text, entry)) {
            reading.badLine = number;
            break;
        }
        reading.entries.push_back(entry);
    }
    return reading;
}

// Writes the records that were read, and reads them again. Leaves out a record whose line gets too long. Also
// leaves out a record with a carriage return, which would be written as a blank.
void CheckWriteAndReadAgain(const MapReading& reading)
{
    std::string file;
    MapReading expected;
    for (const UTtab_entry& entry : reading.entries) {
        const std::string line = FormatMapRecord(entry, QuestionMark);
        Require(MapRecordLength(entry) == line.size(), "the computed length of a record is that of its line");
        const std::wstring texts = entry.strOriginal + entry.strRenamed + entry.strBomName;
        if (line.size() <= kMaxLineBytes && texts.find(L'\r') == std::wstring::npos) {
            file += line + "\n";
            expected.entries.push_back(entry);
        }
    }
    Require(ReadMap(file) == expected, "records that are written again are read again");
}

void CheckParse(const std::wstring& line)
{
    const UTtab_entry untouched{L"1", L"2", L"3"};
    UTtab_entry entry = untouched;
    UTtab_entry plain = untouched;
    const bool valid = ParseMapLine(line, entry);
    Require(valid == PlainParse(line, plain), "the plain implementation accepts the same lines");
    Require(entry == plain, "a line is parsed as the plain implementation parses it");
}

std::wstring PlainSyntaxError(const std::wstring& format, int line)
{
    std::wstring text;
    bool printed = false;
    for (std::size_t at = 0; at < format.size(); ++at) {
        const wchar_t next = at + 1 < format.size() ? format[at + 1] : L'\0';
        if (format[at] == L'%' && next == L'%') {
            text += L'%';
            ++at;
        } else if (format[at] == L'%' && next == L'd' && !printed) {
            text += std::to_wstring(line);
            printed = true;
            ++at;
        } else {
            text += format[at];
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string file(reinterpret_cast<const char*>(data), size);
    const MapReading reading = ReadMap(file);
    Require(reading == PlainRead(file), "a file is read as the plain implementation reads it");
    CheckWriteAndReadAgain(reading);
    const std::wstring text = CFuzzInput(data, size).Rest();
    CheckParse(text);
    Require(FormatSyntaxError(text, 4711) == PlainSyntaxError(text, 4711),
            "the message contains the line number at most once, and no other argument");
    return 0;
}
