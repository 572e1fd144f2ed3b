#include "core/TextTools.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

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

TEST(Trim, KeepsCharactersThatAreNoWhiteSpace)
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

TEST(EqualIgnoringCase, IgnoresTheCaseOfAsciiLettersOnly)
{
    EXPECT_FALSE(EqualIgnoringCase(L"ä", L"Ä"));
    EXPECT_FALSE(EqualIgnoringCase(L"I", L"ı"));
    EXPECT_FALSE(EqualIgnoringCase(L"s", L"\u017F"));
    EXPECT_FALSE(EqualIgnoringCase(L"@", L"`"));
    EXPECT_FALSE(EqualIgnoringCase(L"[", L"{"));
}

struct Replacement
{
    const char* title;
    std::wstring text;
    const wchar_t* search;
    const wchar_t* replacement;
    int count;
    const wchar_t* result;
};

// For failure messages.
static void PrintTo(const Replacement& replacement, std::ostream* out)
{
    *out << replacement.title;
}

const Replacement kReplacements[] = {
    {"ReplacesEveryOccurrenceAndCounts", L"a%1b%1%1", L"%1", L"4017", 3, L"a4017b40174017"},
    {"SearchesLeftToRightWithoutOverlap", L"aaaaa", L"aa", L"b", 2, L"bba"},
    {"DoesNotSearchReplacements", L"a.a", L"a", L"aa", 2, L"aa.aa"},
    {"DoesNotMatchAcrossTheEndOfAReplacement", L"abb", L"ab", L"a", 1, L"ab"},
    {"DeletesWithAnEmptyReplacement", L"x%7y%7", L"%7", L"", 2, L"xy"},
    {"IsCaseSensitive", L"Aa", L"a", L"b", 1, L"Ab"},
    {"DoesNothingForAnEmptySearchText", L"abc", L"", L"x", 0, L"abc"},
    {"LeavesATextWithoutOccurrence", L"abc", L"abcd", L"x", 0, L"abc"},
};

class ReplaceAllTest : public testing::TestWithParam<Replacement>
{
};

TEST_P(ReplaceAllTest, ChangesTheTextAndReturnsTheCount)
{
    std::wstring text = GetParam().text;
    EXPECT_EQ(ReplaceAll(text, GetParam().search, GetParam().replacement), GetParam().count);
    EXPECT_EQ(text, GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Texts, ReplaceAllTest, testing::ValuesIn(kReplacements),
                         [](const auto& replacement) { return replacement.param.title; });

TEST(ReplaceAll, HandlesAMillionOccurrences)
{
    // If each replacement shifted the rest of the text, the test would take minutes.
    constexpr std::size_t kCount = 1'000'000;
    std::wstring text(2 * kCount, L'\\');
    EXPECT_EQ(ReplaceAll(text, L"\\\\", L"\\"), static_cast<int>(kCount));
    EXPECT_EQ(text, std::wstring(kCount, L'\\'));
}
