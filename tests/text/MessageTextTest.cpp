#include "framework/MessageText.h"

#include <gtest/gtest.h>

TEST(FillPlaceholders, PutsEachValueInItsPlace)
{
    EXPECT_EQ(FillPlaceholders(L"File: \"%1\" -> \"%2\".", {L"a.sldprt", L"b.sldprt"}),
              L"File: \"a.sldprt\" -> \"b.sldprt\".");
}

TEST(FillPlaceholders, TakesThePlacesInAnyOrderAndMoreThanOnce)
{
    EXPECT_EQ(FillPlaceholders(L"%2%1%2", {L"a", L"b"}), L"bab");
}

TEST(FillPlaceholders, KnowsNinePlaces)
{
    EXPECT_EQ(FillPlaceholders(L"%1%2%3%4%5%6%7%8%9", {L"a", L"b", L"c", L"d", L"e", L"f", L"g", L"h", L"i"}),
              L"abcdefghi");
    EXPECT_EQ(FillPlaceholders(L"%10", {L"a"}), L"a0");
}

TEST(FillPlaceholders, LeavesThePlacesInsideAValue)
{
    EXPECT_EQ(FillPlaceholders(L"%1, %2", {L"%2", L"%1"}), L"%2, %1");
}

TEST(FillPlaceholders, MakesNoPlaceOfAPercentSignAndAValue)
{
    EXPECT_EQ(FillPlaceholders(L"%%1", {L"2", L"b"}), L"%2");
    EXPECT_EQ(FillPlaceholders(L"%12", {L"%", L"b"}), L"%2");
}

TEST(FillPlaceholders, LeavesAPlaceWithoutAValue)
{
    EXPECT_EQ(FillPlaceholders(L"%1%2", {L"a"}), L"a%2");
    EXPECT_EQ(FillPlaceholders(L"%1", {}), L"%1");
}

TEST(FillPlaceholders, LeavesAPercentSignBeforeAnythingElse)
{
    EXPECT_EQ(FillPlaceholders(L"100 % of %1, %0 %s %d %", {L"it"}), L"100 % of it, %0 %s %d %");
}

TEST(FillPlaceholders, FillsAnEmptyValue)
{
    EXPECT_EQ(FillPlaceholders(L"<%1>", {L""}), L"<>");
    EXPECT_EQ(FillPlaceholders(L"", {L"a"}), L"");
}
