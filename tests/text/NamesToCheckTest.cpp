#include "files/NamesToCheck.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "tests/text/SmallLetters.h"

namespace {

std::vector<NameToCheck> Find(const std::vector<UTtab_entry>& rows)
{
    const auto read = [&rows](std::size_t row, UTtab_entry& entry) { entry = rows.at(row); };
    return FindNamesToCheck(rows.size(), read, &SmallLetters);
}

UTtab_entry Row(const std::wstring& renamed)
{
    return {L"original.sldprt", renamed, L"name"};
}

using Names = std::vector<NameToCheck>;
constexpr NameProblem kSame = NameProblem::sameCopy;
constexpr NameProblem kLong = NameProblem::longRecord;

TEST(FindNamesToCheck, FindsNothingInATableWithoutProblems)
{
    EXPECT_EQ(Find({}), Names{});
    EXPECT_EQ(Find({Row(L"a.sldprt"), Row(L"b.sldprt"), Row(L"ab.sldprt")}), Names{});
}

TEST(FindNamesToCheck, FindsNamesThatDifferInLetterCaseOnly)
{
    EXPECT_EQ(Find({Row(L"M8.sldprt"), Row(L"x.sldprt"), Row(L"m8.SLDPRT")}),
              (Names{{0, kSame, 2}, {2, kSame, 0}}));
    EXPECT_EQ(Find({Row(L"a"), Row(L"A"), Row(L"a")}), (Names{{0, kSame, 1}, {1, kSame, 0}, {2, kSame, 1}}))
        << "three rows with one name";
}

// Two separators " ; " take 6 of the 255 bytes, which leaves 249 for the three names.
TEST(FindNamesToCheck, FindsRecordsTooLongForTheReader)
{
    const UTtab_entry longest{std::wstring(100, L'o'), std::wstring(100, L'n'), std::wstring(49, L'b')};
    UTtab_entry tooLong = longest;
    tooLong.strRenamed.back() = L'x';  // differs from the other row's new name
    tooLong.strBomName += L'b';
    EXPECT_EQ(Find({longest, tooLong}), (Names{{1, kLong, -1}}));
}

// So many names that the hashes of some are equal.
TEST(FindNamesToCheck, TellsManyNamesApart)
{
    constexpr std::size_t kRows = 300'000;
    const auto read = [](std::size_t row, UTtab_entry& entry) {
        entry = Row(std::to_wstring(row) + L".sldprt");
    };
    EXPECT_EQ(FindNamesToCheck(kRows, read, &SmallLetters), Names{});
}

TEST(FindNamesToCheck, ReturnsEachRowOnceFromTheTop)
{
    const UTtab_entry tooLong{L"o", L"A", std::wstring(255, L'b')};
    EXPECT_EQ(Find({tooLong, Row(L"c"), Row(L"a"), {L"p", L"d", std::wstring(255, L'b')}}),
              (Names{{0, kSame, 2}, {2, kSame, 0}, {3, kLong, -1}}));
}

}  // namespace
