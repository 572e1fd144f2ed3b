#include "core/NameRules.h"

#include <gtest/gtest.h>

#include "core/TextTools.h"

namespace {

struct Named
{
    bool usable;
    std::wstring name;

    bool operator==(const Named&) const = default;
};

Named WithExtension(std::wstring name, std::wstring_view extension)
{
    const bool usable = EnsureExtension(name, extension, EqualIgnoringCase);
    return {usable, name};
}

struct Sanitized
{
    int count;
    std::wstring name;

    bool operator==(const Sanitized&) const = default;
};

Sanitized FileName(std::wstring name)
{
    const int count = SanitizeFileName(name);
    return {count, name};
}

Sanitized FeatureName(std::wstring name)
{
    const int count = SanitizeFeatureName(name);
    return {count, name};
}

}  // namespace

TEST(EnsureExtension, AppendsAMissingExtension)
{
    EXPECT_EQ(WithExtension(L"Frame", L"sldprt"), (Named{true, L"Frame.sldprt"}));
}

TEST(EnsureExtension, TrimsTheName)
{
    EXPECT_EQ(WithExtension(L"  M8\t ", L"sldprt"), (Named{true, L"M8.sldprt"}));
    EXPECT_EQ(WithExtension(L" M8.sldprt ", L"sldprt"), (Named{true, L"M8.sldprt"}));
}

TEST(EnsureExtension, KeepsANameThatEndsInTheExtensionInAnyCase)
{
    EXPECT_EQ(WithExtension(L"M8.SLDPRT", L"sldprt"), (Named{true, L"M8.SLDPRT"}));
    EXPECT_EQ(WithExtension(L"M8.sldasm", L"SldAsm"), (Named{true, L"M8.sldasm"}));
}

TEST(EnsureExtension, UsesTheGivenComparisonOfLetters)
{
    const auto allTheSame = [](std::wstring_view left, std::wstring_view right) {
        return left.size() == right.size();
    };
    const auto noneTheSame = [](std::wstring_view, std::wstring_view) { return false; };
    std::wstring name = L"M8.ABCDEF";
    EXPECT_TRUE(EnsureExtension(name, L"sldprt", allTheSame));
    EXPECT_EQ(name, L"M8.ABCDEF");
    EXPECT_TRUE(EnsureExtension(name, L"ABCDEF", noneTheSame));
    EXPECT_EQ(name, L"M8.ABCDEF.ABCDEF");
}

TEST(EnsureExtension, NeedsNoDotBeforeTheExtension)
{
    EXPECT_EQ(WithExtension(L"ABCsldprt", L"sldprt"), (Named{true, L"ABCsldprt"}));
    EXPECT_EQ(WithExtension(L"sldprt", L"sldprt"), (Named{true, L"sldprt"}));
}

TEST(EnsureExtension, AppendsAfterAnotherExtension)
{
    EXPECT_EQ(WithExtension(L"Frame.sldasm", L"sldprt"), (Named{true, L"Frame.sldasm.sldprt"}));
}

TEST(EnsureExtension, ComparesSixCharactersWithAShorterExtension)
{
    EXPECT_EQ(WithExtension(L"x.prt", L"prt"), (Named{true, L"x.prt.prt"}));
    EXPECT_EQ(WithExtension(L"longname.prt", L"prt"), (Named{true, L"longname.prt.prt"}));
    // "prt" has fewer than six characters, so the whole name is compared with the extension.
    EXPECT_EQ(WithExtension(L"prt", L"prt"), (Named{true, L"prt"}));
}

TEST(EnsureExtension, ComparesSixCharactersWithALongerExtension)
{
    EXPECT_EQ(WithExtension(L"x.drawing", L"drawing"), (Named{true, L"x.drawing.drawing"}));
    EXPECT_EQ(WithExtension(L"drawing", L"drawing"), (Named{true, L"drawing.drawing"}));
}

TEST(EnsureExtension, RefusesAnEmptyNameOrExtension)
{
    EXPECT_EQ(WithExtension(L"", L"sldprt"), (Named{false, L""}));
    EXPECT_EQ(WithExtension(L" \t", L"sldprt"), (Named{false, L""}));
    EXPECT_EQ(WithExtension(L" M8 ", L""), (Named{false, L"M8"}));
}

TEST(EnsureExtension, IsIdempotentForAnExtensionOfSixCharacters)
{
    for (const wchar_t* const name : {L"M8", L" a.b ", L"ABCsldprt", L"x.sldasm", L"."}) {
        std::wstring once = name;
        ASSERT_TRUE(EnsureExtension(once, L"sldprt", EqualIgnoringCase));
        std::wstring twice = once;
        EXPECT_TRUE(EnsureExtension(twice, L"sldprt", EqualIgnoringCase));
        EXPECT_EQ(twice, once);
    }
}

TEST(SanitizeFileName, ReplacesEachOfTheElevenCharacters)
{
    EXPECT_EQ(FileName(L"a|b/c\\d*e:f\"g?h<i>j;k=l"), (Sanitized{11, L"a_b_c_d_e_f_g_h_i_j_k_l"}));
    EXPECT_EQ(FileName(L"|/\\*:\"?<>;="), (Sanitized{11, L"___________"}));
}

TEST(SanitizeFileName, CountsEveryOccurrence)
{
    EXPECT_EQ(FileName(L"a|b<c>.sldprt"), (Sanitized{3, L"a_b_c_.sldprt"}));
    EXPECT_EQ(FileName(L"::::"), (Sanitized{4, L"____"}));
}

TEST(SanitizeFileName, KeepsOtherCharacters)
{
    const std::wstring name = L"Ab 9_-,+@#%&'!()[]{}~$^`\u00E4\u20AC.sldprt";
    EXPECT_EQ(FileName(name), (Sanitized{0, name}));
    EXPECT_EQ(FileName(L""), (Sanitized{0, L""}));
}

TEST(SanitizeFileName, CollapsesRunsOfDotsWithoutCounting)
{
    EXPECT_EQ(FileName(L"part...sldprt"), (Sanitized{0, L"part.sldprt"}));
    EXPECT_EQ(FileName(L"..a..b....c."), (Sanitized{0, L".a.b.c."}));
    EXPECT_EQ(FileName(L"....."), (Sanitized{0, L"."}));
}

TEST(SanitizeFileName, KeepsDotsThatAForbiddenCharacterSeparated)
{
    EXPECT_EQ(FileName(L"a.:.b"), (Sanitized{1, L"a._.b"}));
}

TEST(SanitizeFeatureName, ReplacesEachOfTheFourCharacters)
{
    EXPECT_EQ(FeatureName(L"a/b@c;d=e"), (Sanitized{4, L"a_b_c_d_e"}));
    EXPECT_EQ(FeatureName(L"x/y"), (Sanitized{1, L"x_y"}));
    EXPECT_EQ(FeatureName(L"@@//"), (Sanitized{4, L"____"}));
}

TEST(SanitizeFeatureName, KeepsCharactersForbiddenInFileNamesOnly)
{
    EXPECT_EQ(FeatureName(L"a:b"), (Sanitized{0, L"a:b"}));
    EXPECT_EQ(FeatureName(L"a|b\\c*d\"e?f<g>h..i"), (Sanitized{0, L"a|b\\c*d\"e?f<g>h..i"}));
}

TEST(Sanitizing, IsIdempotent)
{
    std::wstring everything;
    for (wchar_t character = 1; character < 0x180; ++character) {
        everything += character;
        everything += L"..";
    }
    std::wstring fileName = everything;
    EXPECT_EQ(SanitizeFileName(fileName), 11);
    EXPECT_EQ(FileName(fileName), (Sanitized{0, fileName}));
    std::wstring featureName = everything;
    EXPECT_EQ(SanitizeFeatureName(featureName), 4);
    EXPECT_EQ(FeatureName(featureName), (Sanitized{0, featureName}));
}
