#include "platform/TemplateHistory.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/WindowScopes.h"

namespace {

using Texts = std::vector<std::wstring>;

class TemplateHistoryTest : public testing::Test
{
protected:
    [[nodiscard]] Texts Read(int column) const { return ReadTemplateHistory(column); }
    void Add(int column, const std::wstring& text) const { AddToTemplateHistory(column, text); }

    CUserSettingsScope m_settings;
};

TEST_F(TemplateHistoryTest, IsEmptyAtFirst)
{
    EXPECT_EQ(Read(1), Texts{});
    EXPECT_EQ(Read(2), Texts{});
}

TEST_F(TemplateHistoryTest, HasTheNewestFirstAndEachOnce)
{
    Add(1, L"a");
    Add(1, L"b");
    Add(1, L"A");
    Add(2, L"c");
    EXPECT_EQ(Read(1), (Texts{L"A", L"b", L"a"}));
    Add(1, L"a");
    EXPECT_EQ(Read(1), (Texts{L"a", L"A", L"b"}));
    EXPECT_EQ(Read(2), Texts{L"c"});
}

TEST_F(TemplateHistoryTest, KeepsTheLastTen)
{
    for (int i = 1; i <= 12; ++i) {
        Add(2, L"t" + std::to_wstring(i));
    }
    EXPECT_EQ(Read(2), (Texts{L"t12", L"t11", L"t10", L"t9", L"t8", L"t7", L"t6", L"t5", L"t4", L"t3"}));
    Add(2, L"t5");
    EXPECT_EQ(Read(2), (Texts{L"t5", L"t12", L"t11", L"t10", L"t9", L"t8", L"t7", L"t6", L"t4", L"t3"}));
}

TEST_F(TemplateHistoryTest, DoesNotKeepAnEmptyTemplate)
{
    Add(1, L"");
    EXPECT_EQ(Read(1), Texts{});
}

TEST_F(TemplateHistoryTest, IgnoresDamagedAndForeignValues)
{
    m_settings.SetHistory(1, 1, L"number", REG_DWORD);
    m_settings.SetHistory(1, 2, L"");
    m_settings.SetHistory(1, 3, L"good");
    m_settings.SetHistory(1, 4, L"two\nlines");
    m_settings.SetHistory(1, 5, std::wstring(30'001, L'x'));
    m_settings.SetHistory(1, 6, L"good");
    m_settings.SetHistory(1, 8, L"after a gap");
    m_settings.SetHistory(1, 11, L"after the last");
    EXPECT_EQ(Read(1), (Texts{L"good", L"after a gap"}));
    Add(1, L"new");
    EXPECT_EQ(Read(1), (Texts{L"new", L"good", L"after a gap"}));
}

}  // namespace
