#include "core/TextTools.h"

#include <gtest/gtest.h>

TEST(Trim, RemovesTheSixAsciiWhiteSpaceCharactersAtBothEnds)
{
    EXPECT_EQ(Trim(L" \t\n\v\f\rM8\r\f\v\n\t "), L"M8");
}

TEST(Trim, KeepsWhiteSpaceInside)
{
    EXPECT_EQ(Trim(L"  a \t b  "), L"a \t b");
}

TEST(Trim, ReturnsNothingForWhiteSpaceAlone)
{
    EXPECT_EQ(Trim(L" \t \r\n"), L"");
    EXPECT_EQ(Trim(L""), L"");
}

TEST(Trim, KnowsEveryWhiteSpaceCharacterBeyondAscii)
{
    constexpr wchar_t kSpaces[] = {0x0085, 0x00A0, 0x1680, 0x2000, 0x2001, 0x2002, 0x2003,
                                   0x2004, 0x2005, 0x2006, 0x2007, 0x2008, 0x2009, 0x200A,
                                   0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
    for (const wchar_t space : kSpaces) {
        EXPECT_EQ(Trim(std::wstring{space, L'x', space}), L"x") << std::hex << static_cast<int>(space);
    }
}

TEST(Trim, KeepsLookalikesOfWhiteSpace)
{
    constexpr wchar_t kOthers[] = {0x0000, 0x0008, 0x000E, 0x001F, 0x0084, 0x0086,
                                   0x00A1, 0x180E, 0x200B, 0x2060, 0xFEFF};
    for (const wchar_t other : kOthers) {
        EXPECT_EQ(Trim(std::wstring(1, other)), std::wstring(1, other))
            << std::hex << static_cast<int>(other);
    }
}

TEST(EqualIgnoringCase, ComparesAsciiLettersWithoutCase)
{
    EXPECT_TRUE(EqualIgnoringCase(L"SldPrt", L"sLDpRT"));
    EXPECT_TRUE(EqualIgnoringCase(L"abcdefghijklmnopqrstuvwxyz", L"ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
    EXPECT_TRUE(EqualIgnoringCase(L"", L""));
    EXPECT_FALSE(EqualIgnoringCase(L"sldprt", L"sldasm"));
}

TEST(EqualIgnoringCase, DistinguishesTextsOfDifferentLengths)
{
    EXPECT_FALSE(EqualIgnoringCase(L"sldprt", L"sldprt "));
    EXPECT_FALSE(EqualIgnoringCase(L"sldprt", L"sldpr"));
    EXPECT_FALSE(EqualIgnoringCase(L"", L"a"));
}

TEST(EqualIgnoringCase, DistinguishesCaseBeyondAscii)
{
    EXPECT_FALSE(EqualIgnoringCase(L"ä", L"Ä"));
    EXPECT_FALSE(EqualIgnoringCase(L"I", L"ı"));
    EXPECT_FALSE(EqualIgnoringCase(L"s", L"\u017F"));
    EXPECT_FALSE(EqualIgnoringCase(L"@", L"`"));
    EXPECT_FALSE(EqualIgnoringCase(L"[", L"{"));
}

TEST(ReplaceAll, ReplacesEveryOccurrenceAndCounts)
{
    std::wstring text = L"a%1b%1%1";
    EXPECT_EQ(ReplaceAll(text, L"%1", L"4017"), 3);
    EXPECT_EQ(text, L"a4017b40174017");
}

TEST(ReplaceAll, SearchesLeftToRightWithoutOverlap)
{
    std::wstring text = L"aaaaa";
    EXPECT_EQ(ReplaceAll(text, L"aa", L"b"), 2);
    EXPECT_EQ(text, L"bba");
}

TEST(ReplaceAll, DoesNotSearchReplacements)
{
    std::wstring text = L"a.a";
    EXPECT_EQ(ReplaceAll(text, L"a", L"aa"), 2);
    EXPECT_EQ(text, L"aa.aa");
}

TEST(ReplaceAll, FindsNoTextAcrossAReplacement)
{
    std::wstring text = L"abb";
    EXPECT_EQ(ReplaceAll(text, L"ab", L"a"), 1);
    EXPECT_EQ(text, L"ab");
}

TEST(ReplaceAll, DeletesWithAnEmptyReplacement)
{
    std::wstring text = L"x%7y%7";
    EXPECT_EQ(ReplaceAll(text, L"%7", L""), 2);
    EXPECT_EQ(text, L"xy");
}

TEST(ReplaceAll, IsCaseSensitive)
{
    std::wstring text = L"Aa";
    EXPECT_EQ(ReplaceAll(text, L"a", L"b"), 1);
    EXPECT_EQ(text, L"Ab");
}

TEST(ReplaceAll, DoesNothingForAnEmptySearchText)
{
    std::wstring text = L"abc";
    EXPECT_EQ(ReplaceAll(text, L"", L"x"), 0);
    EXPECT_EQ(text, L"abc");
}

TEST(ReplaceAll, LeavesATextWithoutOccurrence)
{
    std::wstring text = L"abc";
    EXPECT_EQ(ReplaceAll(text, L"abcd", L"x"), 0);
    EXPECT_EQ(text, L"abc");
}

TEST(ReplaceAll, HandlesAMillionOccurrences)
{
    // A replacement that shifted the rest of the text each time would take minutes here.
    constexpr std::size_t kCount = 1'000'000;
    std::wstring text(2 * kCount, L'\\');
    EXPECT_EQ(ReplaceAll(text, L"\\\\", L"\\"), static_cast<int>(kCount));
    EXPECT_EQ(text, std::wstring(kCount, L'\\'));
}
