#include "files/MapLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <optional>
#include <sstream>
#include <vector>

namespace {

char QuestionMark(wchar_t)
{
    return '?';
}

void DecodeLatin1(std::string_view bytes, std::wstring& text)
{
    text.clear();
    for (const char byte : bytes) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
}

using Entries = std::vector<UTtab_entry>;

struct Reading
{
    std::optional<int> badLine;
    Entries entries;
};

Reading Read(const std::string& file)
{
    std::istringstream in(file);
    CList<UTtab_entry, UTtab_entry&> entries;
    const std::optional<int> badLine = ReadMapLines(in, DecodeLatin1, entries);
    return {badLine, Entries(entries.begin(), entries.end())};
}

void ExpectEntries(const Reading& reading, const Entries& expected)
{
    EXPECT_EQ(reading.badLine, std::nullopt);
    EXPECT_EQ(reading.entries, expected);
}

UTtab_entry Parsed(std::wstring_view line)
{
    UTtab_entry entry;
    EXPECT_TRUE(ParseMapLine(line, entry));
    return entry;
}

std::string RecordOfSize(std::size_t size)
{
    const std::string start = "a ; b ; ";
    return start + std::string(size - start.size(), 'x');
}

std::string Record(std::wstring original, std::wstring renamed, std::wstring bomName)
{
    const UTtab_entry entry{std::move(original), std::move(renamed), std::move(bomName)};
    std::string record = FormatMapRecord(entry, QuestionMark);
    EXPECT_EQ(MapRecordLength(entry), record.size());
    return record;
}

}  // namespace

TEST(ParseMapLine, TrimsTheFields)
{
    EXPECT_EQ(Parsed(L"a ; b ; c"), (UTtab_entry{L"a", L"b", L"c"}));
    EXPECT_EQ(Parsed(L"a\t ;\t b  ; \tc"), (UTtab_entry{L"a", L"b", L"c"}));
    EXPECT_EQ(Parsed(L"a;b;c"), (UTtab_entry{L"a", L"b", L"c"}));
}

TEST(ParseMapLine, KeepsBlanksInsideAField)
{
    EXPECT_EQ(Parsed(L"a a ; b b ; Norm 4017 - M8"), (UTtab_entry{L"a a", L"b b", L"Norm 4017 - M8"}));
}

TEST(ParseMapLine, AcceptsAnEmptyBomName)
{
    EXPECT_EQ(Parsed(L"a;b;"), (UTtab_entry{L"a", L"b", L""}));
    EXPECT_EQ(Parsed(L"a ; b ;"), (UTtab_entry{L"a", L"b", L""}));
}

TEST(ParseMapLine, KeepsATrailingNoBreakSpace)
{
    EXPECT_EQ(Parsed(L"a ; b ; c\u00A0"), (UTtab_entry{L"a", L"b", L"c\u00A0"}));
}

TEST(ParseMapLine, SplitsAtTheFirstTwoSeparatorsOnly)
{
    EXPECT_EQ(Parsed(L"a ; b ; c ; d"), (UTtab_entry{L"a", L"b", L"c ; d"}));
    EXPECT_EQ(Parsed(L"a;b;;"), (UTtab_entry{L"a", L"b", L";"}));
}

TEST(ParseMapLine, AcceptsASecondFieldOfBlanks)
{
    EXPECT_EQ(Parsed(L"a; ;c"), (UTtab_entry{L"a", L"", L"c"}));
}

TEST(ParseMapLine, RefusesAMissingOrEmptyFieldAndKeepsTheEntry)
{
    for (const wchar_t* const line : {L"", L"a", L"a;", L"a;b", L"a ; b", L"a;;c", L"a;;", L";b;c", L";"}) {
        UTtab_entry entry{L"1", L"2", L"3"};
        EXPECT_FALSE(ParseMapLine(line, entry)) << std::string(line, line + std::wcslen(line));
        EXPECT_EQ(entry, (UTtab_entry{L"1", L"2", L"3"}));
    }
}

TEST(EncodeMapText, EncodesCodesUpToFFAsTheSameByte)
{
    for (int code = 0; code <= 0xFF; ++code) {
        EXPECT_EQ(EncodeMapText(std::wstring(1, static_cast<wchar_t>(code)), QuestionMark),
                  std::string(1, static_cast<char>(code)));
    }
}

TEST(EncodeMapText, EncodesHigherCodesWithTheEncoder)
{
    const auto lowByte = [](wchar_t character) { return static_cast<char>(character & 0x7F); };
    EXPECT_EQ(EncodeMapText(L"\u0141\u0142x", lowByte), "ABx");
    EXPECT_EQ(EncodeMapText(L"\u0100\u20AC\uFFFF", QuestionMark), "???");
}

TEST(HasMapBytes, IsTrueIfTheEncoderHasAByteForEachHigherCode)
{
    const auto onlyEuro = [](wchar_t character) { return character == L'\u20AC' ? '\x80' : '?'; };
    EXPECT_TRUE(HasMapBytes(L"", onlyEuro));
    EXPECT_TRUE(HasMapBytes(L"\\\\?\\D:\\\u0080\u00FF \u20AC", onlyEuro))
        << "the text itself contains a question mark";
    EXPECT_FALSE(HasMapBytes(L"\u20AC\u0100", onlyEuro));
    EXPECT_FALSE(HasMapBytes(L"\u0100\u20AC", onlyEuro));
}

TEST(FormatMapRecord, SeparatesTheFieldsBySemicolons)
{
    EXPECT_EQ(Record(L"N_ISO_4017_M8.sldprt", L"N_ISO_4017_M8.changed.sldprt", L"Norm 4017 - %2"),
              "N_ISO_4017_M8.sldprt ; N_ISO_4017_M8.changed.sldprt ; Norm 4017 - %2");
}

TEST(FormatMapRecord, EndsWithABlankIfThereIsNoBomName)
{
    EXPECT_EQ(Record(L"a", L"b", L""), "a ; b ; ");
}

TEST(FormatMapRecord, WritesAnUmlautAsOneByte)
{
    EXPECT_EQ(Record(L"ä", L"Ö", L"\u03A9"), "\xE4 ; \xD6 ; ?");
}

TEST(FormatMapRecord, TruncatesEachFieldTo259Bytes)
{
    const std::string cut(259, 'x');
    for (const std::size_t length : {std::size_t{259}, std::size_t{260}, std::size_t{1000}}) {
        const std::wstring field(length, L'x');
        EXPECT_EQ(Record(field, field, field), cut + " ; " + cut + " ; " + cut);
    }
    EXPECT_EQ(Record(std::wstring(258, L'x'), L"b", L"c"), std::string(258, 'x') + " ; b ; c");
}

TEST(FormatMapRecord, WritesALineBreakAsBlanks)
{
    EXPECT_EQ(FormatMapRecord({L"a", L"b", L"one\r\ntwo"}, QuestionMark), "a ; b ; one  two");
}

TEST(FormatMapHeader, IsThreeCommentLinesAndAnEmptyOne)
{
    EXPECT_EQ(FormatMapHeader("D:\\Parts\\Mapped\\PartsMap.txt"),
              "; Datei: D:\\Parts\\Mapped\\PartsMap.txt\n"
              "; Automatisch generierte Datei, manuelle \xC4"
              "nderungen k\xF6nnen verloren gehen.\n"
              "; (c) Talvenor\n"
              "\n");
}

TEST(FormatMapHeader, KeepsTheBytesOfThePath)
{
    EXPECT_TRUE(FormatMapHeader("D:\\\x96\xE4?").starts_with("; Datei: D:\\\x96\xE4?\n"));
}

TEST(ReadMapLines, AnEmptyFileHasNoEntries)
{
    ExpectEntries(Read(""), {});
}

TEST(ReadMapLines, TheHeaderHasNoEntries)
{
    ExpectEntries(Read(FormatMapHeader("D:\\Parts\\Mapped\\PartsMap.txt")), {});
}

TEST(ReadMapLines, SkipsCommentsAndEmptyLines)
{
    ExpectEntries(Read("; x ; y ; z\n"
                       "\n"
                       " \t \n"
                       ";b;c\n"
                       "  ; indented\n"
                       "a;b;c\n"),
                  {{L"a", L"b", L"c"}});
}

TEST(ReadMapLines, KeepsTheOrderOfTheFile)
{
    ExpectEntries(Read("b ; 2 ; y\na ; 1 ; x\nb ; 2 ; y\n"),
                  {{L"b", L"2", L"y"}, {L"a", L"1", L"x"}, {L"b", L"2", L"y"}});
}

TEST(ReadMapLines, AppendsToTheEntries)
{
    CList<UTtab_entry, UTtab_entry&> entries;
    UTtab_entry before{L"old", L"entry", L""};
    entries.AddTail(before);
    std::istringstream in("a;b;c\n");
    EXPECT_EQ(ReadMapLines(in, DecodeLatin1, entries), std::nullopt);
    EXPECT_EQ(Entries(entries.begin(), entries.end()), (Entries{before, {L"a", L"b", L"c"}}));
}

TEST(ReadMapLines, TrimsBlanksTabsAndCarriageReturns)
{
    ExpectEntries(Read(" \ta ; b ; c \t\r\n"), {{L"a", L"b", L"c"}});
    ExpectEntries(Read("a ; b ; \r\n"), {{L"a", L"b", L""}});
}

TEST(ReadMapLines, ReadsALastLineWithoutALineFeed)
{
    ExpectEntries(Read("a;b;c\nd;e;f"), {{L"a", L"b", L"c"}, {L"d", L"e", L"f"}});
}

TEST(ReadMapLines, DecodesEachLine)
{
    ExpectEntries(Read("Gr\xF6\xDF"
                       "e;b;c\n"),
                  {{L"Größe", L"b", L"c"}});
}

TEST(ReadMapLines, ReadsALineOf255Bytes)
{
    const UTtab_entry longest{L"a", L"b", std::wstring(247, L'x')};
    ExpectEntries(Read(RecordOfSize(255) + "\nd;e;f\n"), {longest, {L"d", L"e", L"f"}});
    ExpectEntries(Read(RecordOfSize(255)), {longest});
}

TEST(ReadMapLines, StopsSilentlyAtALineOf256Bytes)
{
    ExpectEntries(Read("a;b;c\n" + RecordOfSize(256) + "\nd;e;f\n"), {{L"a", L"b", L"c"}});
    ExpectEntries(Read("a;b;c\n" + RecordOfSize(256)), {{L"a", L"b", L"c"}});
}

TEST(ReadMapLines, CountsTheBytesOfALineBeforeTrimming)
{
    ExpectEntries(Read("a;b;c" + std::string(250, ' ') + "\n"), {{L"a", L"b", L"c"}});
    ExpectEntries(Read("a;b;c" + std::string(251, ' ') + "\n"), {});
}

TEST(ReadMapLines, StopsSilentlyAtALongComment)
{
    ExpectEntries(Read(";" + std::string(255, 'x') + "\na;b;c\n"), {});
}

TEST(ReadMapLines, StopsAtABadLineAndKeepsEarlierEntries)
{
    const Reading reading = Read("a;b;c\nbad\nd;e;f\n");
    EXPECT_EQ(reading.badLine, 2);
    EXPECT_EQ(reading.entries, (Entries{{L"a", L"b", L"c"}}));
}

TEST(ReadMapLines, LineNumbersIncludeCommentsAndEmptyLines)
{
    const Reading reading = Read(FormatMapHeader("D:\\PartsMap.txt") + "a;;c\n");
    EXPECT_EQ(reading.badLine, 5);
    EXPECT_EQ(reading.entries, Entries());
}

TEST(ReadMapLines, ReportsABadLastLineWithoutALineFeed)
{
    const Reading reading = Read("a;b");
    EXPECT_EQ(reading.badLine, 1);
}

TEST(ReadMapLines, ReadsWhatFormatMapRecordWrites)
{
    const Entries written = {{L"N_ISO_4017_M8.sldprt", L"N_ISO_4017_M8.changed.sldprt", L"Norm 4017 - %2"},
                             {L"Größe 5.sldprt", L"x y.sldprt", L"a ; b;c"},
                             {L"a", L"b", L""},
                             {std::wstring(100, L'p'), std::wstring(100, L'q'), std::wstring(49, L'r')}};
    std::string file = FormatMapHeader("\\\\server\\Parts\\Mapped\\PartsMap.txt");
    for (const UTtab_entry& entry : written) {
        file += FormatMapRecord(entry, QuestionMark) + "\n";
    }
    ExpectEntries(Read(file), written);
}

TEST(ReadMapLines, ReadsEveryCharacterThatANameCanHave)
{
    // The loop leaves out the separator, the white space that Trim removes (blank, U+0085, U+00A0) and the
    // characters up to U+001F. Windows allows none of the characters up to U+001F in a file name.
    for (int code = 0x21; code <= 0xFF; ++code) {
        if (code == L';' || code == 0x85 || code == 0xA0) {
            continue;
        }
        const std::wstring name(1, static_cast<wchar_t>(code));
        ExpectEntries(Read(Record(name, name, name) + "\n"), {{name, name, name}});
    }
}

TEST(ReadMapLines, ReadsTheRecordsOfACopyOnlyRun)
{
    ExpectEntries(Read(Record(L"a", L"b", L"") + "\n" + Record(L"c", L"d", L"") + "\n"),
                  {{L"a", L"b", L""}, {L"c", L"d", L""}});
}

TEST(ReadMapRecord, ReturnsWhatTheReaderGetsBack)
{
    const MapDecoder upperA = [](std::string_view bytes, std::wstring& text) {
        text.assign(bytes.begin(), bytes.end());
        std::ranges::replace(text, L'a', L'A');
    };
    EXPECT_EQ(ReadMapRecord("a ; b ; c;d ", upperA), (UTtab_entry{L"A", L"b", L"c;d"}));
    for (const char* unreadable : {"", " ", "a ; b", ";a ; b ; c"}) {
        EXPECT_EQ(ReadMapRecord(unreadable, upperA), std::nullopt) << unreadable;
    }
}

TEST(FormatSyntaxError, InsertsTheLineNumber)
{
    EXPECT_EQ(
        FormatSyntaxError(L"Syntax-Error in line %d in\nD:\\PartsMap.txt\n\nThe file could not be evaluated "
                          L"completely.",
                          5),
        L"Syntax-Error in line 5 in\nD:\\PartsMap.txt\n\nThe file could not be evaluated completely.");
    EXPECT_EQ(FormatSyntaxError(L"%d", 2147483647), L"2147483647");
}

TEST(FormatSyntaxError, LeavesASecondSpecifier)
{
    EXPECT_EQ(FormatSyntaxError(L"line %d in\nD:\\%s%d%n%5x%p%f", 7), L"line 7 in\nD:\\%s%d%n%5x%p%f");
}

TEST(FormatSyntaxError, ReducesADoubledPercentSignInThePath)
{
    EXPECT_EQ(FormatSyntaxError(L"line %d in\nD:\\100%%d\\%%%%", 7), L"line 7 in\nD:\\100%d\\%%");
    EXPECT_EQ(FormatSyntaxError(L"%%d %d", 7), L"%d 7");
}

TEST(FormatSyntaxError, KeepsALonePercentSign)
{
    EXPECT_EQ(FormatSyntaxError(L"line %d in\nD:\\50%\\%", 7), L"line 7 in\nD:\\50%\\%");
    EXPECT_EQ(FormatSyntaxError(L"%", 7), L"%");
    EXPECT_EQ(FormatSyntaxError(L"", 7), L"");
}
