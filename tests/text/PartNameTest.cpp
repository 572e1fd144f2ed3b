#include "core/PartName.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

std::string Narrow(const std::wstring& text)
{
    return {text.begin(), text.end()};
}

// Splits the name into new values and into values that hold other texts. None of these texts may remain.
PartNameValues Split(std::wstring_view fileName)
{
    PartNameValues used{L"a", L"b", L"c", L"d", L"e", L"f", L"g"};
    Diverses::SplitPartName(fileName, used);
    EXPECT_EQ(used, Diverses::SplitPartName(fileName));
    return used;
}

}  // namespace

// For failure messages.
static void PrintTo(const PartNameValues& values, std::ostream* out)
{
    *out << "%1 '" << Narrow(values.strNumDigits) << "' %3 '" << Narrow(values.strNumber) << "' %4 '"
         << Narrow(values.strSize) << "' %5 '" << Narrow(values.strPrefix) << "' %6 '"
         << Narrow(values.strExt) << "' %7 '" << Narrow(values.strExtra1) << "' %8 '"
         << Narrow(values.strExtra2) << "'";
}

struct SplitName
{
    const char* title;
    const wchar_t* name;
    PartNameValues values;  // digits, number, size, prefix, extension, first and second extra field
};

// For failure messages.
static void PrintTo(const SplitName& split, std::ostream* out)
{
    *out << split.title;
}

const SplitName kSplitNames[] = {
    {"SplitsAnIsoName",
     L"N_ISO_4017_M10x50.sldprt",
     {L"4017", L"4017", L"M10x50", L"N_ISO_", L"sldprt", L"", L""}},
    {"IgnoresCaseInThePrefixAndKeepsTheSpellingOfTheValues",
     L"n_eniso_4762_m8x20.SLDPRT",
     {L"4762", L"4762", L"m8x20", L"N_ENISO_", L"SLDPRT", L"", L""}},
    {"SplitsOffTheDigitsOfANumberWithAPart",
     L"N_EN_123-4_M16.sldasm",
     {L"123", L"123-4", L"M16", L"N_EN_", L"sldasm", L"", L""}},
    {"FindsThePrefixNWithoutUnderscore",
     L"N912_M8.sldprt",
     {L"912", L"912", L"M8", L"N", L"sldprt", L"", L""}},
    {"FindsNUnderscoreBeforeAnUnknownStandard",
     L"N_DIN_912_M8.sldprt",
     {L"", L"DIN", L"912_M8", L"N_", L"sldprt", L"", L""}},
    {"RemovesTheExtraFieldsFromTheSize",
     L"N_ISO_4017_M8__A2__70__.sldprt",
     {L"4017", L"4017", L"M8", L"N_ISO_", L"sldprt", L"A2", L"70"}},
    {"LeavesTheNumberEmptyWithoutPrefix", L"Washer_8.sldprt", {L"", L"", L"8", L"", L"sldprt", L"", L""}},
    {"FindsThePrefixNInNut", L"Nut_M8.sldprt", {L"", L"ut", L"M8", L"N", L"sldprt", L"", L""}},
    {"ReturnsOnlyThePrefixWithoutADot", L"N_ISO_4017_M8", {L"", L"", L"", L"N_ISO_", L"", L"", L""}},
    {"FindsTheExtraFieldsOfANameWithoutDot",
     L"N_ISO_4017_M8__A2__70__",
     {L"", L"", L"", L"N_ISO_", L"", L"A2", L"70"}},
    {"StartsTheExtensionAfterTheLastDot",
     L"N_ISO_4017.1_M8.x.sldprt",
     {L"4017", L"4017.1", L"M8.x", L"N_ISO_", L"sldprt", L"", L""}},
    {"AllowsAnEmptyExtension", L"N912_M8.", {L"912", L"912", L"M8", L"N", L"", L"", L""}},
    {"ReturnsTheWholeCoreAsNumberWithoutUnderscore",
     L"N_ISO_4017.sldprt",
     {L"4017", L"4017", L"", L"N_ISO_", L"sldprt", L"", L""}},
    {"LeavesTheNumberEmptyWhenTheCoreIsEmpty",
     L"N_ISO_.sldprt",
     {L"", L"", L"", L"N_ISO_", L"sldprt", L"", L""}},
    {"LeavesTheNumberEmptyWhenTheCoreStartsWithUnderscore",
     L"N_ISO__M8.sldprt",
     {L"", L"", L"M8", L"N_ISO_", L"sldprt", L"", L""}},
    {"NeedsTheUnderscoreAfterAPrefix",
     L"N_ISO4017_M8.sldprt",
     {L"", L"ISO4017", L"M8", L"N_", L"sldprt", L"", L""}},
    {"FindsThePrefixNAlone", L"N.sldprt", {L"", L"", L"", L"N", L"sldprt", L"", L""}},
    {"FindsThePrefixAtTheStartOnly",
     L"XN_ISO_4017_M8.sldprt",
     {L"", L"", L"ISO_4017_M8", L"", L"sldprt", L"", L""}},
    {"LeavesTwoFencesInTheSize",
     L"N_ISO_4017_M8__A2__70.sldprt",
     {L"4017", L"4017", L"M8__A2__70", L"N_ISO_", L"sldprt", L"", L""}},
    {"LeavesFourFencesInTheSize",
     L"N_ISO_4017_M8__A2__70__x__.sldprt",
     {L"4017", L"4017", L"M8__A2__70__x__", L"N_ISO_", L"sldprt", L"", L""}},
    {"LeavesAnEmptyFirstExtraFieldEmpty",
     L"N_ISO_4017_M8____70__.sldprt",
     {L"4017", L"4017", L"M8", L"N_ISO_", L"sldprt", L"", L"70"}},
    // A block has exactly three fences.
    {"CountsFourUnderscoresAsTwoFences",
     L"N_ISO_4017_M8____.sldprt",
     {L"4017", L"4017", L"M8____", L"N_ISO_", L"sldprt", L"", L""}},
    {"CountsFourUnderscoresAfterAFenceAsABlock",
     L"N_ISO_4017_M8__A2____.sldprt",
     {L"4017", L"4017", L"M8", L"N_ISO_", L"sldprt", L"A2", L""}},
    {"CountsSixUnderscoresAsABlockOfEmptyFields",
     L"N_ISO_4017_M8______.sldprt",
     {L"4017", L"4017", L"M8", L"N_ISO_", L"sldprt", L"", L""}},
    {"UsesTheFirstTwoOfThreeUnderscoresAsTheFence",
     L"N_ISO_4017_M8___A2__70___x.sldprt",
     {L"4017", L"4017", L"M8_x", L"N_ISO_", L"sldprt", L"_A2", L"70"}},
    // The number comes from the whole name, the size from the name without the block.
    {"RemovesABlockBeforeTheSize",
     L"N_ISO_4017__A2__70___M8.sldprt",
     {L"4017", L"4017", L"M8", L"N_ISO_", L"sldprt", L"A2", L"70"}},
    // Without its block the name is "N.sldprt". The search for the size skips two characters, the length of
    // "N_", and finds no "_" after them.
    {"SkipsThePrefixLengthEvenWhenTheBlockBeganInThePrefix",
     L"N__a__b__.sldprt",
     {L"", L"", L"", L"N_", L"sldprt", L"a", L"b"}},
    {"LeavesTheSizeEmptyWhenTheBlockContainsTheDot",
     L"N_ISO_4017_M8__A2__70.sld__prt",
     {L"4017", L"4017", L"", L"N_ISO_", L"sld__prt", L"A2", L"70.sld"}},
    {"LeavesTheSizeEmptyWhenTheOnlyUnderscoreIsInTheExtension",
     L"N912.sld_prt",
     {L"912", L"912", L"", L"N", L"sld_prt", L"", L""}},
    {"RemovesTheBlockFromANameWithoutPrefix",
     L"Washer_8__A2__70__.sldprt",
     {L"", L"", L"8", L"", L"sldprt", L"A2", L"70"}},
};

class SplitPartNameTest : public testing::TestWithParam<SplitName>
{
};

TEST_P(SplitPartNameTest, ReturnsTheValues)
{
    EXPECT_EQ(Split(GetParam().name), GetParam().values);
}

INSTANTIATE_TEST_SUITE_P(Names, SplitPartNameTest, testing::ValuesIn(kSplitNames),
                         [](const auto& split) { return split.param.title; });

TEST(SplitPartName, ReturnsNothingForAnEmptyName)
{
    EXPECT_EQ(Split(L""), PartNameValues());
}

TEST(SplitPartName, CountsAsciiDigitsOnly)
{
    EXPECT_EQ(Split(L"N_ISO_4\u0661_M8.sldprt").strNumDigits, L"4");
}

TEST(SplitPartName, KeepsTheTextAfterTheBlockInTheSize)
{
    EXPECT_EQ(Split(L"N_ISO_4017_M8__A2__70__-L.sldprt").strSize, L"M8-L");
}

TEST(LeadingDigits, SkipsThePrefixLengthOnly)
{
    // Only the length of the prefix counts. The name need not begin with the prefix.
    EXPECT_EQ(Diverses::LeadingDigits(L"N_ISO_4017_M8.sldprt", L"N_"), L"");
    EXPECT_EQ(Diverses::LeadingDigits(L"xy4017_M8.sldprt", L"N_"), L"4017");
    EXPECT_EQ(Diverses::LeadingDigits(L"N912_M8.sldprt", L"N_"), L"12");
}

TEST(LeadingDigits, ReturnsAWholeCoreOfDigits)
{
    EXPECT_EQ(Diverses::LeadingDigits(L"N_4017.sldprt", L"N_"), L"4017");
}

TEST(LeadingDigits, StopsAtTheFirstOtherCharacter)
{
    EXPECT_EQ(Diverses::LeadingDigits(L"N_123-4_M16.sldasm", L"N_"), L"123");
    EXPECT_EQ(Diverses::LeadingDigits(L"N_12.34.sldprt", L"N_"), L"12");
}

TEST(LeadingDigits, IsEmptyWithoutCore)
{
    EXPECT_EQ(Diverses::LeadingDigits(L"N_4017", L"N_"), L"");
    EXPECT_EQ(Diverses::LeadingDigits(L"N_.sldprt", L"N_"), L"");
    EXPECT_EQ(Diverses::LeadingDigits(L".sldprt", L"N_"), L"");
    EXPECT_EQ(Diverses::LeadingDigits(L"4.1", L"N_"), L"");
    EXPECT_EQ(Diverses::LeadingDigits(L"", L"N_"), L"");
}

TEST(LeadingDigits, SearchesTheWholeStemForAnEmptyPrefix)
{
    EXPECT_EQ(Diverses::LeadingDigits(L"4017.sldprt", L""), L"4017");
}

TEST(HasPartExtension, KnowsPartsAndAssembliesInAnyLetterCase)
{
    for (const wchar_t* const name :
         {L"a.sldprt", L"A.SLDPRT", L"a.Prt", L"a.b.SldAsm", L"C:\\parts\\a.sldprt"}) {
        EXPECT_TRUE(HasPartExtension(name)) << testing::PrintToString(name);
    }
    for (const wchar_t* const name :
         {L"", L"sldprt", L"a.slddrw", L"a.xprt", L"a.sldprt.", L"a.sldprt ", L"a.sldprt.txt"}) {
        EXPECT_FALSE(HasPartExtension(name)) << testing::PrintToString(name);
    }
}
