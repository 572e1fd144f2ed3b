#include "platform/TemplateStore.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/WindowScopes.h"

namespace {

constexpr wchar_t kNone[] = L"(none)";

class TemplateStoreTest : public testing::Test
{
protected:
    [[nodiscard]] std::optional<std::wstring> Read(int column) const { return ReadTemplate(column); }

    [[nodiscard]] bool Write(int column, const std::wstring& text) const
    {
        return WriteTemplate(column, text);
    }

    CUserSettingsScope m_settings;
};

TEST_F(TemplateStoreTest, AMissingTemplateIsNoneAndStaysMissing)
{
    for (const int column : {1, 2}) {
        EXPECT_EQ(Read(column), std::nullopt);
        EXPECT_EQ(m_settings.Template(column), kNone);
    }
}

TEST_F(TemplateStoreTest, EachColumnIsStoredUnderItsOwnName)
{
    EXPECT_TRUE(Write(1, L"%5%3_%4.changed.%6"));
    EXPECT_EQ(m_settings.Template(1), L"%5%3_%4.changed.%6");
    EXPECT_EQ(m_settings.Template(2), kNone);
    EXPECT_TRUE(Write(2, L"Norm %1 - %2"));
    EXPECT_EQ(m_settings.Template(1), L"%5%3_%4.changed.%6");
    EXPECT_EQ(m_settings.Template(2), L"Norm %1 - %2");
}

TEST_F(TemplateStoreTest, EachColumnIsReadFromItsOwnName)
{
    m_settings.SetTemplate(1, L"eins");
    m_settings.SetTemplate(2, L"zwei");
    EXPECT_EQ(Read(1), L"eins");
    EXPECT_EQ(Read(2), L"zwei");
}

TEST_F(TemplateStoreTest, AnEmptyTemplateIsATemplate)
{
    EXPECT_TRUE(Write(2, L""));
    EXPECT_EQ(Read(2), L"");
}

TEST_F(TemplateStoreTest, AnExpandableTemplateIsReadUnexpanded)
{
    m_settings.SetTemplate(2, L"%TEMP%", REG_EXPAND_SZ);
    EXPECT_EQ(Read(2), L"%TEMP%");
}

TEST_F(TemplateStoreTest, ATemplateOfAnotherTypeIsMissingAndOverwrittenAsText)
{
    m_settings.SetTemplateNumber(1, 1);
    EXPECT_EQ(Read(1), std::nullopt);
    EXPECT_TRUE(Write(1, L"%3"));
    EXPECT_EQ(m_settings.Template(1), L"%3");
    EXPECT_EQ(Read(1), L"%3");
}

TEST_F(TemplateStoreTest, AWriteThatTheRegistryRefusesIsFalse)
{
    m_settings.RefuseWriting();
    EXPECT_FALSE(WriteTemplate(1, L"%3"));
}

}  // namespace
