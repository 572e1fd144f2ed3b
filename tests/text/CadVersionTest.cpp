#include "cad/CadVersion.h"

#include <gtest/gtest.h>

TEST(CadVersion, ANumberHasAYearAndAProgId)
{
    const std::optional<CCadVersion> version = CCadVersion::FromNumber(L"27");
    ASSERT_TRUE(version);
    EXPECT_EQ(version->Year(), L"2019");
    EXPECT_EQ(version->ProgId(), L"SldWorks.Application.27");
}

TEST(CadVersion, AYearIsTheFirstFourCharacters)
{
    for (const wchar_t* text : {L"2012", L"2012 SP 5", L"20127"}) {
        const std::optional<CCadVersion> version = CCadVersion::FromYear(text);
        ASSERT_TRUE(version) << text;
        EXPECT_EQ(version->ProgId(), L"SldWorks.Application.20") << text;
    }
}

TEST(CadVersion, NeedsANumberAboveZero)
{
    for (const wchar_t* text : {L"", L"SP 5", L"0", L"-12"}) {
        EXPECT_FALSE(CCadVersion::FromNumber(text)) << text;
        EXPECT_FALSE(CCadVersion::FromYear(text)) << text;
    }
}
