#include "core/NameTemplate.h"

#include <gtest/gtest.h>

#include "core/TextTools.h"

namespace {

const PartNameValues kDistinct{.strNumDigits = L"one",
                               .strNumber = L"three",
                               .strSize = L"four",
                               .strPrefix = L"five",
                               .strExt = L"six",
                               .strExtra1 = L"seven",
                               .strExtra2 = L"eight"};

std::wstring ExpandFor(std::wstring_view templateText, std::wstring_view fileName)
{
    const PartNameValues values = Diverses::SplitPartName(fileName);
    std::wstring used = L"of another name";
    ExpandTemplate(used, templateText, values);
    EXPECT_EQ(used, ExpandTemplate(templateText, values));
    return used;
}

}  // namespace

TEST(DefaultTemplate, HasATextForEachGeneratedColumn)
{
    EXPECT_STREQ(DefaultTemplate(1), L"%5%3_%4.changed.%6");
    EXPECT_STREQ(DefaultTemplate(2), L"Norm %1 - %2");
}

TEST(Columns, AreNumberedFromTheOriginalName)
{
    EXPECT_EQ(kColumnOriginal, 0);
    EXPECT_EQ(kColumnRenamed, 1);
    EXPECT_EQ(kColumnBomName, 2);
}

TEST(ExpandTemplate, NamesTheCopyByTheDefault)
{
    EXPECT_EQ(ExpandFor(L"%5%3_%4.changed.%6", L"N_ISO_4017_M10x50.sldprt"),
              L"N_ISO_4017_M10x50.changed.sldprt");
}

TEST(ExpandTemplate, PutsThePrefixInUpperCaseAndKeepsTheExtension)
{
    EXPECT_EQ(ExpandFor(L"%5%3_%4.changed.%6", L"n_iso_4017_m8.SLDPRT"), L"N_ISO_4017_m8.changed.SLDPRT");
}

TEST(ExpandTemplate, LeavesTheConfigurationNameForLater)
{
    EXPECT_EQ(ExpandFor(L"Norm %1 - %2", L"N_ISO_4017_M10x50.sldprt"), L"Norm 4017 - %2");
}

TEST(ExpandTemplate, FillsARepeatedFillInEachTime)
{
    EXPECT_EQ(ExpandFor(L"%1%1", L"N_ISO_4017_M10x50.sldprt"), L"40174017");
}

TEST(ExpandTemplate, IsEmptyWhenAllItsFillInsAre)
{
    EXPECT_EQ(ExpandFor(L"%5%3", L"Washer_8.sldprt"), L"");
    EXPECT_EQ(ExpandTemplate(L"", kDistinct), L"");
}

TEST(ExpandTemplate, FillsEachFillInWithItsValue)
{
    EXPECT_EQ(ExpandTemplate(L"%8,%7,%6,%5,%4,%3,%2,%1", kDistinct),
              L"eight,seven,six,five,four,three,%2,one");
}

TEST(ExpandTemplate, KeepsUnknownFillInsAndSinglePercentSigns)
{
    EXPECT_EQ(ExpandTemplate(L"%0%9%a% %", kDistinct), L"%0%9%a% %");
}

TEST(ExpandTemplate, HasNoEscapeForThePercentSign)
{
    EXPECT_EQ(ExpandTemplate(L"%%1", kDistinct), L"%one");
    EXPECT_EQ(ExpandTemplate(L"%10", kDistinct), L"one0");
}

TEST(ExpandTemplate, DropsEmptyValues)
{
    EXPECT_EQ(ExpandTemplate(L"a%7b%8c", PartNameValues()), L"abc");
}

TEST(ExpandTemplate, FillsALaterFillInInsideAValue)
{
    PartNameValues values = kDistinct;
    values.strNumDigits = L"<%4>";
    EXPECT_EQ(ExpandTemplate(L"%1", values), L"<four>");
    values.strSize = L"%8";
    EXPECT_EQ(ExpandTemplate(L"%1", values), L"<eight>");
}

TEST(ExpandTemplate, KeepsAnEarlierFillInInsideAValue)
{
    PartNameValues values = kDistinct;
    values.strSize = L"%1%3%4";
    EXPECT_EQ(ExpandTemplate(L"%4", values), L"%1%3%4");
}

TEST(ExpandTemplate, FillsAFillInThatAReplacementCompleted)
{
    PartNameValues values = kDistinct;
    values.strNumDigits = L"";
    EXPECT_EQ(ExpandTemplate(L"%%18", values), L"eight");
}

TEST(ExpandTemplate, ReplacesTheFillInsInAscendingOrder)
{
    // Each value is the next fill-in, so only the ascending order leads to "end".
    const PartNameValues chain{.strNumDigits = L"%3",
                               .strNumber = L"%4",
                               .strSize = L"%5",
                               .strPrefix = L"%6",
                               .strExt = L"%7",
                               .strExtra1 = L"%8",
                               .strExtra2 = L"end"};
    EXPECT_EQ(ExpandTemplate(L"%1", chain), L"end");
}

TEST(ExpandConfigurationName, InsertsTheConfigurationName)
{
    EXPECT_EQ(ExpandConfigurationName(L"Norm 4017 - %2", kDistinct, L"M10x50"), L"Norm 4017 - M10x50");
}

TEST(ExpandConfigurationName, FillsNeitherPrefixNorExtension)
{
    EXPECT_EQ(ExpandConfigurationName(L"%1,%2,%3,%4,%5,%6,%7,%8", kDistinct, L"two"),
              L"one,two,three,four,%5,%6,seven,eight");
}

TEST(ExpandConfigurationName, ReplacesTheFillInsInAscendingOrder)
{
    const PartNameValues chain{.strNumDigits = L"%2",
                               .strNumber = L"%4",
                               .strSize = L"%7",
                               .strPrefix = L"",
                               .strExt = L"",
                               .strExtra1 = L"%8",
                               .strExtra2 = L"end"};
    EXPECT_EQ(ExpandConfigurationName(L"%1", chain, L"%3"), L"end");
}

TEST(ExpandConfigurationName, KeepsAnEarlierFillInInsideTheConfigurationName)
{
    EXPECT_EQ(ExpandConfigurationName(L"%2", kDistinct, L"%1%2"), L"%1%2");
}

namespace {

std::optional<std::wstring> NewName(std::wstring_view templateText, std::wstring_view fileName)
{
    return NewFileName(templateText, fileName, EqualIgnoringCase);
}

}  // namespace

TEST(NewFileName, IsTheExpandedTemplateWithThePartsExtension)
{
    EXPECT_EQ(NewName(L"%5%3_%4.changed.%6", L"N_ISO_4017_M10x50.sldprt"),
              L"N_ISO_4017_M10x50.changed.sldprt");
    EXPECT_EQ(NewName(L"%3", L"n_iso_4017_m8.SLDPRT"), L"4017.SLDPRT");
    EXPECT_EQ(NewName(L"%3", L"N_ISO_4017_set.sldasm"), L"4017.sldasm");
    EXPECT_EQ(NewName(L"%4sldprt", L"N_ISO_4017_M8.sldprt"), L"M8sldprt");
}

TEST(NewFileName, IsTrimmedAndSanitised)
{
    EXPECT_EQ(NewName(L"  %3 ", L"N_ISO_4017_M8.sldprt"), L"4017.sldprt");
    EXPECT_EQ(NewName(L"%3|%4", L"N_ISO_4017_M8.sldprt"), L"4017_M8.sldprt");
    EXPECT_EQ(NewName(L"%3...%4.", L"N_ISO_4017_M8.sldprt"), L"4017.M8.sldprt");
}

TEST(NewFileName, KeepsTheConfigurationsFillIn)
{
    EXPECT_EQ(NewName(L"%3_%2", L"N_ISO_4017_M8.sldprt"), L"4017_%2.sldprt");
}

TEST(NewFileName, IsNoneWhenNothingIsLeftOrThePartHasNoExtension)
{
    EXPECT_EQ(NewName(L"", L"N_ISO_4017_M8.sldprt"), std::nullopt);
    EXPECT_EQ(NewName(L" %7 %8 ", L"N_ISO_4017_M8.sldprt"), std::nullopt);
    EXPECT_EQ(NewName(L"%5%3", L"Washer_8.sldprt"), std::nullopt);
    EXPECT_EQ(NewName(L"%5", L"N_ISO_4017_M8"), std::nullopt);
}

TEST(ConfigurationBomName, IsTheExpandedTemplateWithTheConfigurationName)
{
    EXPECT_EQ(ConfigurationBomName(L"Norm %1 - %2", L"N_ISO_4017_M10x50.sldprt", L"long"),
              L"Norm 4017 - long");
    EXPECT_EQ(ConfigurationBomName(L"%8,%7,%6,%5,%4,%3,%2,%1", L"N_EN_14399-4_M20__HV__tZn__.sldprt", L"c"),
              L"tZn,HV,sldprt,N_EN_,M20,14399-4,c,14399");
}

TEST(ConfigurationBomName, IsNotSanitised)
{
    EXPECT_EQ(ConfigurationBomName(L" %3/%4=%2..", L"N_ISO_4017_M8.sldprt", L"a|b"), L" 4017/M8=a|b..");
    EXPECT_EQ(ConfigurationBomName(L"%7", L"N_ISO_4017_M8.sldprt", L"c"), L"");
}
