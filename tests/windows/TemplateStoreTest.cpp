#include "platform/TemplateStore.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "framework/Handles.h"

namespace {

constexpr wchar_t kKey[] = L"SOFTWARE\\Zelmar\\Tools\\Talvenor";
constexpr wchar_t kFirst[] = L"Template Text Column 1";
constexpr wchar_t kSecond[] = L"Template Text Column 2";

// Gives the process an empty HKEY_CURRENT_USER for the length of a test.
class TemplateStoreTest : public testing::Test
{
protected:
    TemplateStoreTest()
    {
        HKEY key = nullptr;
        EXPECT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    &key, nullptr),
                  ERROR_SUCCESS);
        m_key.reset(key);
    }
    ~TemplateStoreTest() override
    {
        ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        m_key.reset();
        ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
    }

    // To be called before each access: on Windows, the store's closing of the hive may end the redirection.
    void Redirect() const
    {
        ASSERT_TRUE(m_key);
        ASSERT_EQ(::RegOverridePredefKey(HKEY_CURRENT_USER, m_key.get()), ERROR_SUCCESS);
    }

    [[nodiscard]] std::optional<std::wstring> Read(int column) const
    {
        Redirect();
        return HasFatalFailure() ? std::nullopt : ReadTemplate(column);
    }

    [[nodiscard]] bool Write(int column, const std::wstring& text) const
    {
        Redirect();
        return !HasFatalFailure() && WriteTemplate(column, text);
    }

    void Store(const wchar_t* name, DWORD type, const void* bytes, DWORD size) const
    {
        ASSERT_EQ(::RegSetKeyValueW(m_key.get(), kKey, name, type, bytes, size), ERROR_SUCCESS);
    }

    // The text of a value of type REG_SZ.
    [[nodiscard]] std::wstring Stored(const wchar_t* name) const
    {
        wchar_t text[256] = L"";
        DWORD size = sizeof text;
        const LSTATUS status = ::RegGetValueW(m_key.get(), kKey, name, RRF_RT_REG_SZ, nullptr, text, &size);
        return status == ERROR_SUCCESS ? text : L"(none)";
    }

    const std::wstring m_path =
        L"SOFTWARE\\TalvenorTemplateStoreTest" + std::to_wstring(::GetCurrentProcessId());
    UniqueKey m_key;
};

}  // namespace

TEST_F(TemplateStoreTest, MissingTemplateIsNoneAndStaysMissing)
{
    EXPECT_EQ(Read(1), std::nullopt);
    EXPECT_EQ(Read(2), std::nullopt);
    EXPECT_EQ(Stored(kFirst), L"(none)");
    EXPECT_EQ(Stored(kSecond), L"(none)");
}

TEST_F(TemplateStoreTest, EachColumnIsStoredUnderItsOwnName)
{
    EXPECT_TRUE(Write(1, L"%5%3_%4.changed.%6"));
    EXPECT_EQ(Stored(kFirst), L"%5%3_%4.changed.%6");
    EXPECT_EQ(Stored(kSecond), L"(none)");
    EXPECT_TRUE(Write(2, L"Norm %1 - %2"));
    EXPECT_EQ(Stored(kFirst), L"%5%3_%4.changed.%6");
    EXPECT_EQ(Stored(kSecond), L"Norm %1 - %2");
}

TEST_F(TemplateStoreTest, EachColumnIsReadFromItsOwnName)
{
    Store(kFirst, REG_SZ, L"eins", 10);
    Store(kSecond, REG_SZ, L"zwei", 10);
    EXPECT_EQ(Read(1), L"eins");
    EXPECT_EQ(Read(2), L"zwei");
}

TEST_F(TemplateStoreTest, EmptyTemplateIsATemplate)
{
    EXPECT_TRUE(Write(2, L""));
    EXPECT_EQ(Read(2), L"");
}

TEST_F(TemplateStoreTest, ExpandableTemplateIsReadUnexpanded)
{
    Store(kSecond, REG_EXPAND_SZ, L"%TEMP%", 14);
    EXPECT_EQ(Read(2), L"%TEMP%");
}

TEST_F(TemplateStoreTest, TemplateOfAnotherTypeIsMissingAndOverwrittenAsText)
{
    const DWORD number = 1;
    Store(kFirst, REG_DWORD, &number, sizeof number);
    EXPECT_EQ(Read(1), std::nullopt);
    EXPECT_TRUE(Write(1, L"%3"));
    EXPECT_EQ(Stored(kFirst), L"%3");
    EXPECT_EQ(Read(1), L"%3");
}

TEST_F(TemplateStoreTest, WriteThatTheRegistryRefusesIsFalse)
{
    Redirect();
    ASSERT_EQ(::RegDeleteKeyW(m_key.get(), L""), ERROR_SUCCESS);
    EXPECT_FALSE(WriteTemplate(1, L"a key that is marked for deletion takes no sub-keys"));
}
