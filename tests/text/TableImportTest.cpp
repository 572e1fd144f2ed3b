#include "core/TableImport.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "core/TableText.h"
#include "core/TextTools.h"
#include "tests/text/SmallLetters.h"

void PrintTo(const TableImport& result, std::ostream* out)
{
    for (const RowNames& names : result.changes) {
        *out << names.row << ": " << testing::PrintToString(names.renamed) << ", "
             << testing::PrintToString(names.bomName) << "; ";
    }
    *out << "unknown " << result.unknown << ", not unique " << result.notUnique << ", ambiguous "
         << result.ambiguous << ", cleaned " << result.cleaned;
}

namespace {

using Rows = std::vector<UTtab_entry>;
using Changes = std::vector<RowNames>;

const Rows kRows{{L"a.sldprt", L"A.sldprt", L"1"},
                 {L"b.sldprt", L"B.sldprt", L"2"},
                 {L"c.sldprt", L"C.sldprt", L"3"},
                 {L"d.sldprt", L"D.sldprt", L"4"}};

TableImport Import(std::wstring_view text, const Rows& rows = kRows)
{
    return ImportTable(rows, text, {&EqualIgnoringCase, &SmallLetters});
}

}  // namespace

TEST(TableImport, ChangesTheNamesOfTheRowsInTheText)
{
    EXPECT_EQ(Import(L"c.sldprt;X.sldprt;30\na.sldprt;A.sldprt;10\n"),
              (TableImport{Changes{{0, L"A.sldprt", L"10"}, {2, L"X.sldprt", L"30"}}}));
}

TEST(TableImport, ChangesNothingForTheTableItself)
{
    EXPECT_EQ(Import(L"a.sldprt;A.sldprt;1\nb.sldprt;B.sldprt;2\nc.sldprt;C.sldprt;3\nd.sldprt;D.sldprt;4\n"),
              TableImport{});
}

TEST(TableImport, LeavesAnUnchangedCellThatAnEditWouldClean)
{
    const Rows rows{{L"a.sldasm", L" x=y..z", L"1/2"}};
    EXPECT_EQ(Import(L"a.sldasm\t x=y..z\t1/2", rows), TableImport{});
    EXPECT_EQ(Import(L"a.sldasm\t x=y..z\t2", rows), (TableImport{Changes{{0, L" x=y..z", L"2"}}}));
    EXPECT_EQ(Import(L"a.sldasm\tx\t1/2", rows), (TableImport{Changes{{0, L"x.sldprt", L"1/2"}}}));
}

TEST(TableImport, AppliesTheRulesOfAnEdit)
{
    EXPECT_EQ(
        Import(L"a.sldprt\t M8 \tx\n"
               L"b.sldprt\tp|q..r.SLDPRT\tx/y@z;u=v\n"
               L"c.sldprt\t  \ta:b\n"),
        (TableImport{
            Changes{{0, L"M8.sldprt", L"x"}, {1, L"p_q.r.SLDPRT", L"x_y_z_u_v"}, {2, L"C.sldprt", L"a:b"}}, 0,
            0, 0, 2}));
}

TEST(TableImport, CountsCleanedCellsThatEndAsTheyWere)
{
    const Rows rows{{L"a.sldprt", L"x_y.sldprt", L"p_q"}};
    EXPECT_EQ(Import(L"a.sldprt\tx/y\tp/q", rows), (TableImport{{}, 0, 0, 0, 2}));
}

TEST(TableImport, AcceptsAnEmptyBomNameButNoEmptyFileName)
{
    EXPECT_EQ(Import(L"a.sldprt;;\n"), (TableImport{Changes{{0, L"A.sldprt", L""}}}));
}

TEST(TableImport, ChangesNothingForAMissingCell)
{
    EXPECT_EQ(Import(L"a.sldprt;X.sldprt\nb.sldprt\n"), (TableImport{Changes{{0, L"X.sldprt", L"1"}}}));
}

TEST(TableImport, IgnoresFurtherColumns)
{
    EXPECT_EQ(Import(L"a.sldprt;A.sldprt;10;note;more\n"), (TableImport{Changes{{0, L"A.sldprt", L"10"}}}));
}

TEST(TableImport, ReplacesAControlCharacterWithABlank)
{
    EXPECT_EQ(Import(std::wstring(L"a.sldprt;\"x\ny\";\"Nut\r\nM8\0\"", 25)),
              (TableImport{Changes{{0, L"x y.sldprt", L"Nut  M8 "}}, 0, 0, 0, 2}));
}

TEST(TableImport, PutsABlankForEveryKindOfControlCharacter)
{
    EXPECT_EQ(Import(L"a.sldprt;x\x0By\x7Fz;1\u00802\u00853\u009F4\u00A0"),
              (TableImport{Changes{{0, L"x y z.sldprt", L"1 2 3 4\u00A0"}}, 0, 0, 0, 2}));
}

TEST(TableImport, KeepsSurrogatesWithAndWithoutAPartner)
{
    const std::wstring pair{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDD29)};
    const std::wstring halves{static_cast<wchar_t>(0xDD29), L'x', static_cast<wchar_t>(0xD83D)};
    EXPECT_EQ(Import(L"a.sldprt;" + pair + L";" + halves + L"\nb.sldprt;" + halves + L".sldprt;" + pair),
              (TableImport{Changes{{0, pair + L".sldprt", halves}, {1, halves + L".sldprt", pair}}}));
}

TEST(TableImport, KeepsMarksOfTheWritingDirection)
{
    EXPECT_EQ(Import(L"a.sldprt;\u200Fx\u202E.sldprt;\u200E1\u200F"),
              (TableImport{Changes{{0, L"\u200Fx\u202E.sldprt", L"\u200E1\u200F"}}}));
}

TEST(TableImport, CountsUnknownRows)
{
    EXPECT_EQ(Import(L"x.sldprt;X;1\n;Y;2\nb.sldprt;B.sldprt;20\n"),
              (TableImport{Changes{{1, L"B.sldprt", L"20"}}, 2}));
}

TEST(TableImport, SkipsTheHeaderInBothLanguages)
{
    EXPECT_EQ(Import(L"Original Normteil-Dateien;Umbenannt nach...;Benennung\na.sldprt;A.sldprt;10"),
              (TableImport{Changes{{0, L"A.sldprt", L"10"}}}));
    EXPECT_EQ(Import(L"Original Standard-Part-Files,Renamed to...,BOM names\na.sldprt,A.sldprt,10"),
              (TableImport{Changes{{0, L"A.sldprt", L"10"}}}));
    EXPECT_EQ(Import(L"a.sldprt;A.sldprt;1\nOriginal Normteil-Dateien;x;y"), (TableImport{{}, 1}))
        << "a header must be the first row";
}

TEST(TableImport, FindsARowByItsExactNameOrElseWithoutRegardToCase)
{
    EXPECT_EQ(Import(L" A.SLDPRT ;A.sldprt;10"), (TableImport{Changes{{0, L"A.sldprt", L"10"}}}));
    const Rows rows{{L"a.sldprt", L"A.sldprt", L"1"}, {L"A.sldprt", L"B.sldprt", L"2"}};
    EXPECT_EQ(Import(L"A.sldprt;B.sldprt;20", rows), (TableImport{Changes{{1, L"B.sldprt", L"20"}}}));
    EXPECT_EQ(Import(L"A.SLDPRT;B.sldprt;20", rows), (TableImport{{}, 0, 0, 1}));
}

TEST(TableImport, LooksUpANameWithItsBlanksFirst)
{
    const Rows rows{{L"a.sldprt", L"A.sldprt", L"1"}, {L" a.sldprt", L"B.sldprt", L"2"}};
    EXPECT_EQ(Import(L" a.sldprt;B.sldprt;20\n", rows), (TableImport{Changes{{1, L"B.sldprt", L"20"}}}));
    EXPECT_EQ(Import(L" A.sldprt;B.sldprt;20\n", rows), (TableImport{Changes{{1, L"B.sldprt", L"20"}}}));
    EXPECT_EQ(Import(L"a.sldprt ;A.sldprt;10\n", rows), (TableImport{Changes{{0, L"A.sldprt", L"10"}}}));
}

TEST(TableImport, ChangesNoRowThatTheTextNamesTwiceWithDifferentTexts)
{
    EXPECT_EQ(
        Import(L"a.sldprt;A.sldprt;10\na.sldprt;A.sldprt;11\na.sldprt;A.sldprt;10\nb.sldprt;B.sldprt;20"),
        (TableImport{Changes{{1, L"B.sldprt", L"20"}}, 0, 0, 1}));
    EXPECT_EQ(Import(L"a.sldprt;A.sldprt;10\nA.sldprt;A.sldprt;10"),
              (TableImport{Changes{{0, L"A.sldprt", L"10"}}}))
        << "the same text twice";
}

TEST(TableImport, ChangesNoneOfSeveralRowsWithTheSameOriginal)
{
    const Rows rows{{L"a.sldprt", L"A.sldprt", L"1"}, {L"a.sldprt", L"B.sldprt", L"2"}};
    EXPECT_EQ(Import(L"a.sldprt;A.sldprt;1\na.sldprt;B.sldprt;2", rows), TableImport{});
    EXPECT_EQ(Import(L"a.sldprt;A.sldprt;1\na.sldprt;B.sldprt;20", rows), (TableImport{{}, 0, 0, 1}));
}

// ---- Unique file names

TEST(TableImport, LetsRowsExchangeTheirNames)
{
    EXPECT_EQ(Import(L"a.sldprt;B.sldprt;1\nb.sldprt;C.sldprt;2\nc.sldprt;A.sldprt;3"),
              (TableImport{Changes{{0, L"B.sldprt", L"1"}, {1, L"C.sldprt", L"2"}, {2, L"A.sldprt", L"3"}}}));
}

TEST(TableImport, KeepsBothNamesOfARowWhoseFileNameIsTaken)
{
    EXPECT_EQ(Import(L"a.sldprt;B.sldprt;10\nc.sldprt;C.sldprt;30"),
              (TableImport{Changes{{2, L"C.sldprt", L"30"}}, 0, 1}));
    EXPECT_EQ(Import(L"a.sldprt;B/;10"), (TableImport{Changes{{0, L"B_.sldprt", L"10"}}, 0, 0, 0, 1}));
    EXPECT_EQ(Import(L"a.sldprt;b.sldprt;1"), (TableImport{Changes{{0, L"b.sldprt", L"1"}}}))
        << "names that differ in case only are different";
}

TEST(TableImport, KeepsTheNamesOfAllRowsThatWouldShareOne)
{
    EXPECT_EQ(Import(L"a.sldprt;X;10\nb.sldprt;X.sldprt;20\nc.sldprt;Y;30"),
              (TableImport{Changes{{2, L"Y.sldprt", L"30"}}, 0, 2}));
}

TEST(TableImport, KeepsTheNamesOfRowsThatWouldTakeAKeptName)
{
    // a wants B, b wants C, c keeps C: b has to keep B, so a has to keep A.
    EXPECT_EQ(Import(L"a.sldprt;B.sldprt;10\nb.sldprt;C.sldprt;20\nd.sldprt;X.sldprt;4"),
              (TableImport{Changes{{3, L"X.sldprt", L"4"}}, 0, 2}));
    // a and b exchange their names, but d wants A, too.
    EXPECT_EQ(Import(L"a.sldprt;B.sldprt;1\nb.sldprt;A.sldprt;2\nd.sldprt;A.sldprt;4"),
              (TableImport{{}, 0, 3}));
    // a and b both want X and keep A and B. So c must keep C, and d must keep D.
    EXPECT_EQ(Import(L"a.sldprt;X;1\nb.sldprt;X;2\nc.sldprt;B.sldprt;3\nd.sldprt;C.sldprt;4"),
              (TableImport{{}, 0, 4}));
}

TEST(TableImport, CountsNoCleanedCellOfAKeptRow)
{
    EXPECT_EQ(Import(L"a.sldprt\tB.sldprt\tx/y"), (TableImport{{}, 0, 1, 0, 0}));
}

TEST(TableImport, LeavesNamesThatWereEqualBefore)
{
    const Rows rows{{L"a.sldprt", L"X", L"1"}, {L"b.sldprt", L"X", L"2"}, {L"c.sldprt", L"C", L"3"}};
    EXPECT_EQ(Import(L"a.sldprt;X;10\nb.sldprt;Y.sldprt;2", rows),
              (TableImport{Changes{{0, L"X", L"10"}, {1, L"Y.sldprt", L"2"}}}));
    EXPECT_EQ(Import(L"c.sldprt;X;3\nb.sldprt;X;20", rows),
              (TableImport{Changes{{1, L"X", L"20"}, {2, L"X.sldprt", L"3"}}}));
}

// These tests decode, parse and import tables of 10 MB. If the time grew with the square of the length, they
// would take hours and exceed their time limit.

namespace {

constexpr std::size_t kLarge = 10'000'000;  // bytes

std::string Repeated(std::string_view part)
{
    std::string text;
    text.reserve(kLarge + part.size());
    while (text.size() < kLarge) {
        text += part;
    }
    return text;
}

TableImport ImportBytes(const std::string& bytes)
{
    const std::optional<std::wstring> text = DecodeUnicode(bytes);
    EXPECT_TRUE(text);
    return Import(text.value_or(L""));
}

// The last row of the text, and the result if only that row changes the table.
const std::string kLastRow = "\nb.sldprt;B.sldprt;new\n";
TableImport ChangedByLastRow(int unknown)
{
    return {Changes{{1, L"B.sldprt", L"new"}}, unknown};
}

}  // namespace

TEST(LargeTableImport, OfPlainTextQuotes)
{
    EXPECT_EQ(ImportBytes(Repeated("\"x;") + kLastRow), ChangedByLastRow(1));
}

TEST(LargeTableImport, OfDoubledQuotesWithoutAnEnd)
{
    EXPECT_EQ(ImportBytes("\"" + Repeated("\"\"") + kLastRow), ChangedByLastRow(1));
}

TEST(LargeTableImport, OfOneQuotedCell)
{
    EXPECT_EQ(ImportBytes("\"" + Repeated("\"\";,\n") + "\"" + kLastRow), ChangedByLastRow(1));
}

TEST(LargeTableImport, WithOneUnclosedQuoteAtTheStart)
{
    EXPECT_EQ(ImportBytes("\"x" + Repeated(kLastRow)), ChangedByLastRow(1));
}

TEST(LargeTableImport, OfSeparators)
{
    EXPECT_EQ(ImportBytes(Repeated(";") + kLastRow), ChangedByLastRow(0));
}

TEST(LargeTableImport, OfLineEnds)
{
    EXPECT_EQ(ImportBytes(Repeated("\r\n") + kLastRow), ChangedByLastRow(0));
}

TEST(LargeTableImport, OfNuls)
{
    EXPECT_EQ(ImportBytes(Repeated(std::string_view("\0", 1)) + kLastRow), ChangedByLastRow(1));
}

TEST(LargeTableImport, OfRightToLeftMarks)
{
    const std::string mark = "\xE2\x80\x8F";
    EXPECT_EQ(ImportBytes(Repeated(mark) + kLastRow), ChangedByLastRow(1));
    EXPECT_EQ(ImportBytes(Repeated(mark + "b.sldprt;x\n") + kLastRow).changes, ChangedByLastRow(0).changes)
        << "a mark is part of a file name";
}

TEST(LargeTableImport, OfNamesThatAreCleaned)
{
    const TableImport taken =
        ImportBytes("a.sldprt;" + Repeated("|..") + ";" + Repeated("/") + "\nb.sldprt;B.sldprt;2\n");
    ASSERT_EQ(taken.changes.size(), 1U);
    EXPECT_EQ(taken.changes[0].renamed.substr(0, 6), L"_._._.");
    EXPECT_TRUE(taken.changes[0].bomName == std::wstring(kLarge, L'_'));
    EXPECT_EQ(taken.cleaned, 2);
}
