#include "core/TableText.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using Row = std::vector<std::wstring>;
using Rows = std::vector<Row>;

Rows Read(std::wstring_view text, std::size_t limit = 3)
{
    CTableReader reader(text);
    Rows rows;
    for (Row row; reader.ReadRow(row, limit);) {
        rows.push_back(row);
    }
    return rows;
}

std::wstring Written(const Rows& rows, wchar_t separator)
{
    std::wstring text;
    for (const Row& row : rows) {
        AppendTableRow(text, row, separator);
    }
    return text;
}

}  // namespace

TEST(AppendTableRow, SeparatesCellsAndEndsTheRow)
{
    EXPECT_EQ(Written({{L"a", L"b", L"c"}, {L"", L"", L"d"}}, L'\t'), L"a\tb\tc\r\n\t\td\r\n");
    EXPECT_EQ(Written({{L"a", L"b", L"c"}}, L';'), L"a;b;c\r\n");
}

TEST(AppendTableRow, QuotesCellsWithSeparatorsQuotesOrLineBreaks)
{
    EXPECT_EQ(Written({{L"a;b", L"c,d", L"e\tf"}}, L';'), L"\"a;b\";\"c,d\";\"e\tf\"\r\n");
    EXPECT_EQ(Written({{L"1/4\" pipe", L"a\rb", L"a\nb"}}, L','), L"\"1/4\"\" pipe\",\"a\rb\",\"a\nb\"\r\n");
    EXPECT_EQ(Written({{L"a;b", L"c,d", L"e\tf"}}, L'\t'), L"a;b\tc,d\t\"e\tf\"\r\n")
        << "between tabs, a semicolon or comma needs no quotes";
}

TEST(TableReader, FindsTheSeparator)
{
    const Rows expected{{L"a", L"b", L"c"}, {L"d", L"e", L"f"}};
    for (const wchar_t separator : {L'\t', L';', L','}) {
        EXPECT_EQ(Read(Written(expected, separator)), expected);
    }
}

TEST(TableReader, TakesTheSeparatorThatGivesMostColumns)
{
    EXPECT_EQ(Read(L"a;b;Nut, hex\nc;d;Bolt, hex"),
              (Rows{{L"a", L"b", L"Nut, hex"}, {L"c", L"d", L"Bolt, hex"}}));
    EXPECT_EQ(Read(L"a,b,Nut; hex\nc,d,Bolt; hex"),
              (Rows{{L"a", L"b", L"Nut; hex"}, {L"c", L"d", L"Bolt; hex"}}));
    EXPECT_EQ(Read(L"a\tb, c, d\te; f; g"), (Rows{{L"a", L"b, c, d", L"e; f; g"}})) << "a tab wins a tie";
    EXPECT_EQ(Read(L"a, b;c\nd;e"), (Rows{{L"a, b", L"c"}, {L"d", L"e"}})) << "two columns";
    EXPECT_EQ(Read(L"\"a,b,c\";d"), (Rows{{L"a,b,c", L"d"}})) << "separators in quotes do not count";
    EXPECT_EQ(Read(L"a\nb"), (Rows{{L"a"}, {L"b"}})) << "one column";
    EXPECT_EQ(Read(L"\"a;b;c\"\nd"), (Rows{{L"a;b;c"}, {L"d"}})) << "one column in quotes";
    EXPECT_EQ(Read(L"a,b,\"c;d;e\"\nf,g,h"), (Rows{{L"a", L"b", L"c;d;e"}, {L"f", L"g", L"h"}}));
    EXPECT_EQ(Read(L"List, as of today\na;b;c\nd;e;f"),
              (Rows{{L"List, as of today"}, {L"a", L"b", L"c"}, {L"d", L"e", L"f"}}));
    EXPECT_EQ(Read(L"a,b,1/4\" pipe"), (Rows{{L"a", L"b", L"1/4\" pipe"}}));
    EXPECT_EQ(Read(L"a,\"b\n1;2;3\n1;2;3\n1;2;3\",c"), (Rows{{L"a", L"b\n1;2;3\n1;2;3\n1;2;3", L"c"}}))
        << "rows in a quoted cell";
}

TEST(TableReader, TakesTheSeparatorAfterTheNamesOfPartFiles)
{
    EXPECT_EQ(Read(L"N_1_M2,5.sldprt;N_1_M2,5.x.sldprt\nN_1_M3,5.SLDASM;N_1_M3,5.x.sldprt"),
              (Rows{{L"N_1_M2,5.sldprt", L"N_1_M2,5.x.sldprt"}, {L"N_1_M3,5.SLDASM", L"N_1_M3,5.x.sldprt"}}))
        << "the comma cuts each row into three cells";
    EXPECT_EQ(Read(L"a;b.sldprt,c;d.sldprt\n"), (Rows{{L"a;b.sldprt", L"c;d.sldprt"}}));
    EXPECT_EQ(Read(L" a,b.sldprt ;c,d"), (Rows{{L" a,b.sldprt ", L"c,d"}})) << "blanks around the name";
    EXPECT_EQ(Read(L"x,y,z\na,b.sldprt;c,d\ne,f.sldprt;g,h"),
              (Rows{{L"x,y,z"}, {L"a,b.sldprt", L"c,d"}, {L"e,f.sldprt", L"g,h"}}))
        << "two rows of three are a majority";
    EXPECT_EQ(Read(L"a,b;c;d\ne,f;g;h\ni,j.sldprt,k"),
              (Rows{{L"a,b", L"c", L"d"}, {L"e,f", L"g", L"h"}, {L"i,j.sldprt,k"}}))
        << "one row of three is no majority";
    EXPECT_EQ(Read(L"a.sldprt,b\tc\td"), (Rows{{L"a.sldprt,b", L"c", L"d"}})) << "names contain no tabs";
    EXPECT_EQ(Read(L"\"a.sldprt,b\";c;d"), (Rows{{L"a.sldprt,b", L"c", L"d"}}))
        << "separators in quotes do not count";
    EXPECT_EQ(Read(L"a;\"b\nc.sldprt,d\ne.sldprt,f\ng.sldprt,h\n\";i"),
              (Rows{{L"a", L"b\nc.sldprt,d\ne.sldprt,f\ng.sldprt,h\n", L"i"}}))
        << "rows in a quoted cell";
}

TEST(TableReader, TakesTheSeparatorAfterTheTablesHeader)
{
    for (const wchar_t* const header : {L"Original Normteil-Dateien", L"Original Standard-Part-Files"}) {
        const std::wstring names = L";x\na.sldprt,b;c,d\ne.sldprt,f;g,h\n";
        EXPECT_EQ(Read(header + names),
                  (Rows{{header, L"x"}, {L"a.sldprt,b", L"c,d"}, {L"e.sldprt,f", L"g,h"}}));
    }
    EXPECT_EQ(Read(L"a,b,c\nOriginal Normteil-Dateien;d"),
              (Rows{{L"a", L"b", L"c"}, {L"Original Normteil-Dateien;d"}}))
        << "a header must be the first row";
}

TEST(TableReader, EndsRowsAtEveryKindOfLineEnd)
{
    EXPECT_EQ(Read(L"a;1\r\nb;2\rc;3\nd;4"), (Rows{{L"a", L"1"}, {L"b", L"2"}, {L"c", L"3"}, {L"d", L"4"}}));
    EXPECT_EQ(Read(L"a;1\r\n"), (Rows{{L"a", L"1"}}));
}

TEST(TableReader, SkipsRowsWithoutText)
{
    EXPECT_EQ(Read(L"\r\n\r\na;1\n\n;;\n\"\";\"\"\nb;2\n\n"), (Rows{{L"a", L"1"}, {L"b", L"2"}}));
    EXPECT_EQ(Read(L""), Rows());
    EXPECT_EQ(Read(L"\r\n"), Rows());
}

TEST(TableReader, ReadsQuotedCells)
{
    EXPECT_EQ(Read(L"\"a;b\";\"c\"\"d\";\"e\r\nf\"\r\n\"g\";h"),
              (Rows{{L"a;b", L"c\"d", L"e\r\nf"}, {L"g", L"h"}}));
    EXPECT_EQ(Read(L"a;\"\";\"\"\"\""), (Rows{{L"a", L"", L"\""}}));
}

TEST(TableReader, TakesOtherQuotesAsText)
{
    EXPECT_EQ(Read(L"a\t1/4\" pipe\tb\"c\""), (Rows{{L"a", L"1/4\" pipe", L"b\"c\""}}));
    EXPECT_EQ(Read(L"a\t\"M8\" steel\tc\nd\te\tf"),
              (Rows{{L"a", L"\"M8\" steel", L"c"}, {L"d", L"e", L"f"}}));
    EXPECT_EQ(Read(L"a;\"b;c\nd;e;f"), (Rows{{L"a", L"\"b", L"c"}, {L"d", L"e", L"f"}}))
        << "no closing quote";
    EXPECT_EQ(Read(L"a\t\"M8\" or \"M10\"\tc"), (Rows{{L"a", L"\"M8\" or \"M10\"", L"c"}}));
    EXPECT_EQ(Read(L"a; \"b\";c"), (Rows{{L"a", L" \"b\"", L"c"}})) << "a blank before the quote";
}

TEST(TableReader, KeepsBlanksAndInvisibleCharacters)
{
    EXPECT_EQ(Read(L" a ;\u200Fb\u200E;\u00A0c\uFEFF"), (Rows{{L" a ", L"\u200Fb\u200E", L"\u00A0c\uFEFF"}}));
    EXPECT_EQ(Read(std::wstring(L"a;b\0c;d", 7)), (Rows{{L"a", std::wstring(L"b\0c", 3), L"d"}}));
}

TEST(TableReader, DropsCellsBeyondTheLimit)
{
    EXPECT_EQ(Read(L"a;b;c;d;e\nf;g"), (Rows{{L"a", L"b", L"c"}, {L"f", L"g"}}));
    EXPECT_EQ(Read(L"a;b;c\nd", 1), (Rows{{L"a"}, {L"d"}}));
}

TEST(TableReader, ReadsWhatWasWritten)
{
    const Rows rows{{L"a\"b", L"c;d", L"e,f"}, {L"\"", L"\"\"", L" \t "}, {L"x\r\ny", L"", L"\n"}};
    for (const wchar_t separator : {L'\t', L';', L','}) {
        EXPECT_EQ(Read(Written(rows, separator)), rows);
    }
}

TEST(DecodeUnicode, DecodesUtf8WithAndWithoutAMark)
{
    EXPECT_EQ(DecodeUnicode("\xEF\xBB\xBFM\xC3\xBC"), L"M\u00FC");
    EXPECT_EQ(DecodeUnicode("M\xC3\xBC\xE2\x82\xAC"), L"M\u00FC\u20AC");
    EXPECT_EQ(DecodeUnicode(""), L"");
    const std::wstring pair{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
    EXPECT_EQ(DecodeUnicode("\xF0\x9F\x98\x80"), pair) << "two code units of UTF-16";
}

TEST(DecodeUnicode, DecodesUtf16InBothByteOrders)
{
    EXPECT_EQ(DecodeUnicode(std::string_view("\xFF\xFEM\0\xFC\0", 6)), L"M\u00FC");
    EXPECT_EQ(DecodeUnicode(std::string_view("\xFE\xFF\0M\0\xFC", 6)), L"M\u00FC");
    EXPECT_EQ(DecodeUnicode(std::string_view("\xFF\xFEM\0x", 5)), L"M\uFFFD") << "half a character";
}

TEST(DecodeUnicode, RefusesOtherBytes)
{
    for (const char* const bytes :
         {"M\xFC", "\xC3", "\xC3(", "\x80", "\xC0\xAF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
          "\xF8\x88\x80\x80\x80", "\xFF", "\xE2\x82"}) {
        EXPECT_EQ(DecodeUnicode(bytes), std::nullopt) << testing::PrintToString(bytes);
    }
}

TEST(DecodeUnicode, ReplacesInvalidBytesAfterAMark)
{
    EXPECT_EQ(DecodeUnicode("\xEF\xBB\xBFM\xFC;"), L"M\uFFFD;");
}

TEST(EncodeUtf8WithMark, EncodesEveryLength)
{
    const std::wstring pair{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
    EXPECT_EQ(EncodeUtf8WithMark(L"a\u00FC\u20AC" + pair),
              "\xEF\xBB\xBF"
              "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(EncodeUtf8WithMark(L""), "\xEF\xBB\xBF");
    const std::wstring halves{static_cast<wchar_t>(0xDE00), L'x', static_cast<wchar_t>(0xD83D)};
    EXPECT_EQ(EncodeUtf8WithMark(halves), "\xEF\xBB\xBF\xEF\xBF\xBDx\xEF\xBF\xBD");
}
