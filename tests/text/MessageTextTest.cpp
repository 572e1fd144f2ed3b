#include "framework/MessageText.h"

#include <gtest/gtest.h>

TEST(FillPlaces, PutsEachValueInItsPlace)
{
    EXPECT_EQ(FillPlaces(L"File: \"%1\" -> \"%2\".", {L"a.sldprt", L"b.sldprt"}),
              L"File: \"a.sldprt\" -> \"b.sldprt\".");
}

TEST(FillPlaces, TakesThePlacesInAnyOrderAndMoreThanOnce)
{
    EXPECT_EQ(FillPlaces(L"%2%1%2", {L"a", L"b"}), L"bab");
}

TEST(FillPlaces, KnowsNinePlaces)
{
    EXPECT_EQ(FillPlaces(L"%1%2%3%4%5%6%7%8%9", {L"a", L"b", L"c", L"d", L"e", L"f", L"g", L"h", L"i"}),
              L"abcdefghi");
    EXPECT_EQ(FillPlaces(L"%10", {L"a"}), L"a0");
}

TEST(FillPlaces, LeavesThePlacesInsideAValue)
{
    EXPECT_EQ(FillPlaces(L"%1, %2", {L"%2", L"%1"}), L"%2, %1");
}

TEST(FillPlaces, MakesNoPlaceOfAPercentSignAndAValue)
{
    EXPECT_EQ(FillPlaces(L"%%1", {L"2", L"b"}), L"%2");
    EXPECT_EQ(FillPlaces(L"%12", {L"%", L"b"}), L"%2");
}

TEST(FillPlaces, LeavesAPlaceWithoutAValue)
{
    EXPECT_EQ(FillPlaces(L"%1%2", {L"a"}), L"a%2");
    EXPECT_EQ(FillPlaces(L"%1", {}), L"%1");
}

TEST(FillPlaces, LeavesAPercentSignBeforeAnythingElse)
{
    EXPECT_EQ(FillPlaces(L"100 % of %1, %0 %s %d %", {L"it"}), L"100 % of it, %0 %s %d %");
}

TEST(FillPlaces, FillsAnEmptyValue)
{
    EXPECT_EQ(FillPlaces(L"<%1>", {L""}), L"<>");
    EXPECT_EQ(FillPlaces(L"", {L"a"}), L"");
}
