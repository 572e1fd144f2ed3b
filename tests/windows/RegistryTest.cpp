#include "platform/Registry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

// Each test has its own key under HKEY_CURRENT_USER. The destructor removes the key.
class RegistryTest : public testing::Test
{
protected:
    RegistryTest() { m_key = Open(); }
    ~RegistryTest() override
    {
        m_key.reset();
        ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
    }

    // Returns a new handle to the test's key. Each CRegistry needs a handle of its own, because a successful
    // access closes the handle.
    [[nodiscard]] UniqueKey Open() const
    {
        HKEY key = nullptr;
        EXPECT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    &key, nullptr),
                  ERROR_SUCCESS);
        return UniqueKey(key);
    }

    void Store(const wchar_t* subKey, const wchar_t* name, DWORD type, const void* bytes, DWORD size) const
    {
        HKEY key = nullptr;
        ASSERT_EQ(::RegCreateKeyExW(m_key.get(), subKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        const UniqueKey owner(key);
        ASSERT_EQ(::RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(bytes), size), ERROR_SUCCESS);
    }

    void StoreText(const wchar_t* subKey, const wchar_t* name, DWORD type, const std::wstring& text) const
    {
        Store(subKey, name, type, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }

    [[nodiscard]] bool Read(const std::wstring& subKey, const std::wstring& name, std::wstring& text) const
    {
        return CRegistry(Open().release()).ReadString(subKey, name, text);
    }

    [[nodiscard]] bool Write(const std::wstring& subKey, const std::wstring& name,
                             const std::wstring& text) const
    {
        return CRegistry(Open().release()).WriteString(subKey, name, text);
    }

    const std::wstring m_path = L"SOFTWARE\\TalvenorRegistryTest" + std::to_wstring(::GetCurrentProcessId());
    UniqueKey m_key;
};

std::vector<BYTE> BytesOf(const CRegistryValue& value)
{
    return {value.Data(), value.Data() + value.Size()};
}

}  // namespace

TEST_F(RegistryTest, ReadsTexts)
{
    struct Case
    {
        const char* what;
        DWORD type;
        std::wstring stored;
        DWORD size;  // bytes
        const wchar_t* read;
    };
    const Case cases[] = {
        {"text", REG_SZ, L"Stückliste %1", 28, L"Stückliste %1"},
        {"unexpanded text", REG_EXPAND_SZ, L"%TEMP%\\x", 18, L"%TEMP%\\x"},
        {"link", REG_LINK, L"\\Registry\\x", 24, L"\\Registry\\x"},
        {"empty text", REG_SZ, L"", 2, L""},
        {"no bytes", REG_SZ, L"", 0, L""},
        {"no NUL", REG_SZ, L"abcX", 6, L"abc"},
        {"half a character", REG_SZ, L"abX", 5, L"ab"},
        {"one byte", REG_SZ, L"x", 1, L""},
        {"NUL within", REG_SZ, std::wstring(L"ab\0cd", 5), 12, L"ab"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Store(L"a\\b", L"name", test.type, test.stored.c_str(), test.size);
        std::wstring text = L"before";
        EXPECT_TRUE(Read(L"a\\b", L"name", text));
        EXPECT_EQ(text, test.read);
    }
}

TEST_F(RegistryTest, OtherTypesAreNoTextAndLeaveTheOutputAlone)
{
    for (const DWORD type : std::initializer_list<DWORD>{REG_NONE, REG_BINARY, REG_DWORD,
                                                         REG_DWORD_BIG_ENDIAN, REG_MULTI_SZ, REG_QWORD}) {
        const DWORD value[2] = {0x00410041, 0};
        Store(L"a", L"name", type, value, type == REG_QWORD ? 8 : 4);
        std::wstring text = L"before";
        EXPECT_FALSE(Read(L"a", L"name", text)) << "type " << type;
        EXPECT_EQ(text, L"before");
    }
}

TEST_F(RegistryTest, MissingKeyOrValueLeavesTheOutputAlone)
{
    StoreText(L"a", L"name", REG_SZ, L"x");
    std::wstring text = L"before";
    EXPECT_FALSE(Read(L"missing", L"name", text));
    EXPECT_FALSE(Read(L"a", L"missing", text));
    EXPECT_EQ(text, L"before");
}

TEST_F(RegistryTest, EmptyNameIsTheDefaultValue)
{
    StoreText(L"a", L"name", REG_SZ, L"named");
    std::wstring text = L"before";
    EXPECT_FALSE(Read(L"a", L"", text));
    EXPECT_EQ(text, L"before");
    StoreText(L"a", nullptr, REG_SZ, L"default");
    ASSERT_TRUE(Read(L"a", L"", text));
    EXPECT_EQ(text, L"default");
}

TEST_F(RegistryTest, WriteCreatesTheKeyAndStoresTextWithItsNul)
{
    ASSERT_TRUE(Write(L"new\\key", L"name", L"Größe"));
    BYTE bytes[64] = {};
    DWORD size = sizeof bytes;
    DWORD type = 0;
    HKEY key = nullptr;
    ASSERT_EQ(::RegOpenKeyExW(m_key.get(), L"new\\key", 0, KEY_READ, &key), ERROR_SUCCESS);
    const UniqueKey owner(key);
    ASSERT_EQ(::RegQueryValueExW(key, L"name", nullptr, &type, bytes, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(size, 12U);
    EXPECT_EQ(std::memcmp(bytes, L"Größe", 12), 0);
}

TEST_F(RegistryTest, WriteReplacesAValueOfAnotherType)
{
    const DWORD number = 7;
    Store(L"a", L"name", REG_DWORD, &number, sizeof number);
    ASSERT_TRUE(Write(L"a", L"name", L""));
    std::wstring text = L"before";
    ASSERT_TRUE(Read(L"a", L"name", text));
    EXPECT_EQ(text, L"");
}

TEST_F(RegistryTest, LongTextsRoundTrip)
{
    const std::wstring written(100000, L'x');
    ASSERT_TRUE(Write(L"a", L"", written));
    std::wstring text;
    ASSERT_TRUE(Read(L"a", L"", text));
    EXPECT_EQ(text, written);
}

TEST_F(RegistryTest, WriteThatTheRegistryRefusesIsFalse)
{
    EXPECT_FALSE(CRegistry(nullptr).WriteString(L"a", L"name", L"x"));
    EXPECT_FALSE(Write(std::wstring(300, L'k'), L"name", L"x")) << "a key name has 255 characters at most";
    EXPECT_FALSE(Write(L"a", std::wstring(20000, L'n'), L"x")) << "a value name has 16383 characters at most";
}

TEST_F(RegistryTest, AHiveServesManyAccesses)
{
    CRegistry registry(HKEY_CURRENT_USER);
    EXPECT_TRUE(registry.WriteString(m_path + L"\\a", L"name", L"first"));
    EXPECT_TRUE(registry.WriteString(m_path + L"\\a", L"name", L"second"));
    std::wstring text;
    EXPECT_TRUE(registry.ReadString(m_path + L"\\a", L"name", text));
    EXPECT_TRUE(registry.ReadString(m_path + L"\\a", L"name", text));
    EXPECT_EQ(text, L"second");
}

TEST_F(RegistryTest, AnyOtherRootIsClosedByTheFirstAccessThatOpensASubKey)
{
    StoreText(L"a", L"name", REG_SZ, L"x");
    const HKEY root = Open().release();
    CRegistry registry(root);
    std::wstring text;
    EXPECT_FALSE(registry.ReadString(L"missing", L"name", text));
    EXPECT_FALSE(registry.ReadString(L"a", L"missing", text));
    EXPECT_TRUE(registry.ReadString(L"a", L"name", text));
    EXPECT_EQ(::RegFlushKey(root), ERROR_INVALID_HANDLE);
    const UniqueKey next = Open();  // probably reuses the closed handle's value
    EXPECT_FALSE(registry.ReadString(L"a", L"name", text));
    EXPECT_FALSE(registry.WriteString(L"a", L"name", L"y"));
}

// Uses keys below SOFTWARE in HKEY_LOCAL_MACHINE. Windows keeps separate copies of these keys for 32-bit and
// 64-bit programs.
class RegistryViewTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!CRegistry(HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY).WriteString(m_probe, L"", L"")) {
            GTEST_SKIP() << "skipped: this process may not write the machine's settings";
        }
    }
    ~RegistryViewTest() override
    {
        for (const REGSAM view : {REGSAM{KEY_WOW64_64KEY}, REGSAM{KEY_WOW64_32KEY}}) {
            for (const std::wstring& path : {m_path, m_probe}) {
                ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), view, 0);
            }
        }
    }

    void Write(REGSAM view, const std::wstring& text) const
    {
        EXPECT_TRUE(CRegistry(HKEY_LOCAL_MACHINE, view).WriteString(m_path, L"name", text));
    }
    [[nodiscard]] std::wstring Read(REGSAM view) const
    {
        std::wstring text = L"(none)";
        static_cast<void>(CRegistry(HKEY_LOCAL_MACHINE, view).ReadString(m_path, L"name", text));
        return text;
    }

    const std::wstring m_path = L"SOFTWARE\\TalvenorRegistryTest" + std::to_wstring(::GetCurrentProcessId());
    const std::wstring m_probe = m_path + L"Probe";
};

TEST_F(RegistryViewTest, ReadsAndWritesInItsOwnView)
{
    Write(KEY_WOW64_32KEY, L"32");
    EXPECT_EQ(Read(KEY_WOW64_64KEY), L"(none)");
    Write(KEY_WOW64_64KEY, L"64");
    EXPECT_EQ(Read(KEY_WOW64_32KEY), L"32");
    EXPECT_EQ(Read(KEY_WOW64_64KEY), L"64");
    EXPECT_EQ(Read(0), L"64") << "the view of a 64-bit process";
}

TEST_F(RegistryViewTest, The32BitViewIsForKeysThatTheOtherOneLacks)
{
    EXPECT_EQ(ViewOfMachineKey(m_path), REGSAM{KEY_WOW64_32KEY});
    Write(KEY_WOW64_32KEY, L"32");
    EXPECT_EQ(ViewOfMachineKey(m_path), REGSAM{KEY_WOW64_32KEY});
    Write(KEY_WOW64_64KEY, L"64");
    EXPECT_EQ(ViewOfMachineKey(m_path), REGSAM{KEY_WOW64_64KEY});
}

TEST(RegistryValue, IsEmptyAtFirstAndAfterClear)
{
    CRegistryValue value;
    EXPECT_EQ(value.Size(), 0U);
    EXPECT_EQ(value.Type(), static_cast<DWORD>(REG_NONE));
    EXPECT_EQ(value.GetText(), L"");
    ASSERT_TRUE(value.SetText(L"x"));
    value.Clear();
    EXPECT_EQ(value.Size(), 0U);
    EXPECT_EQ(value.Type(), static_cast<DWORD>(REG_NONE));
    EXPECT_EQ(value.Data(), nullptr);
    EXPECT_FALSE(value.IsText());
}

TEST(RegistryValue, TextIncludesItsNul)
{
    CRegistryValue value;
    ASSERT_TRUE(value.SetText(L"aB"));
    EXPECT_EQ(value.Type(), static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(BytesOf(value), (std::vector<BYTE>{'a', 0, 'B', 0, 0, 0}));
    ASSERT_TRUE(value.SetText(L"", true));
    EXPECT_EQ(value.Type(), static_cast<DWORD>(REG_EXPAND_SZ));
    EXPECT_EQ(BytesOf(value), (std::vector<BYTE>{0, 0}));
    EXPECT_TRUE(value.IsText());
}

TEST(RegistryValue, NumberIsFourBytes)
{
    CRegistryValue value;
    ASSERT_TRUE(value.SetNumber(0x01020304));
    EXPECT_EQ(value.Type(), static_cast<DWORD>(REG_DWORD));
    EXPECT_EQ(BytesOf(value), (std::vector<BYTE>{4, 3, 2, 1}));
    EXPECT_FALSE(value.IsText());
}

TEST(RegistryValue, ListEndsWithTwoNuls)
{
    CRegistryValue value;
    ASSERT_TRUE(value.SetTexts({L"a", L"", L"b"}));
    EXPECT_EQ(value.Type(), static_cast<DWORD>(REG_MULTI_SZ));
    EXPECT_EQ(BytesOf(value), (std::vector<BYTE>{'a', 0, 0, 0, 0, 0, 'b', 0, 0, 0, 0, 0}));
    ASSERT_TRUE(value.SetTexts({}));
    EXPECT_EQ(BytesOf(value), (std::vector<BYTE>{0, 0, 0, 0}));
    EXPECT_FALSE(value.IsText());
}

TEST(RegistryValue, BytesAreUnchanged)
{
    CRegistryValue value;
    const std::vector<BYTE> bytes = {1, 0, 255};
    ASSERT_TRUE(value.SetBytes(bytes));
    EXPECT_EQ(value.Type(), static_cast<DWORD>(REG_BINARY));
    EXPECT_EQ(BytesOf(value), bytes);
    ASSERT_TRUE(value.SetBytes({}));
    EXPECT_EQ(value.Size(), 0U);
}
