// Tests of the test support that protects the machine's own registry keys.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Registry.h"
#include "platform/TemplateStore.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/TestMark.h"
#include "tests/support/ZelmarRegistry.h"

namespace {

constexpr wchar_t kProduct[] = L"SOFTWARE\\Zelmar";
constexpr wchar_t kLibrary[] = L"SOFTWARE\\Zelmar\\input";

std::wstring PartsFolder(REGSAM view)
{
    std::wstring text = L"(none)";
    static_cast<void>(CRegistry(HKEY_LOCAL_MACHINE, view).ReadString(kLibrary, L"parts", text));
    return text;
}

TEST(OwnRegistryTest, TheProgramFindsTheTestsValuesInBothViews)
{
    const CZelmarRegistry registry;
    EXPECT_EQ(PartsFolder(KEY_WOW64_64KEY), L"(none)");
    EXPECT_TRUE(registry.SetPartsFolder(L"C:\\64", KEY_WOW64_64KEY));
    EXPECT_EQ(PartsFolder(KEY_WOW64_32KEY), L"(none)");
    EXPECT_TRUE(registry.SetPartsFolder(L"C:\\32", KEY_WOW64_32KEY));
    EXPECT_EQ(PartsFolder(KEY_WOW64_64KEY), L"C:\\64");
    EXPECT_EQ(PartsFolder(KEY_WOW64_32KEY), L"C:\\32");
}

// The loop in this test would end a redirection by RegOverridePredefKey. On Windows the program itself would
// end it, by closing the predefined keys after use.
TEST(OwnRegistryTest, OutlastsTheClosingOfThePredefinedKeys)
{
    const CZelmarRegistry registry;
    EXPECT_TRUE(WriteTemplate(1, L"%4 of the test"));
    for (const HKEY hive : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        RegCloseKey(hive);
        RegOverridePredefKey(hive, nullptr);
    }
    EXPECT_EQ(ReadTemplate(1), L"%4 of the test");
    EXPECT_TRUE(WriteTemplate(2, L"%3 of the test"));
    EXPECT_EQ(registry.Template(2), L"%3 of the test");
}

TEST(OwnRegistryTest, IsRemovedAtTheEndOfTheScope)
{
    std::wstring place;
    HKEY key = nullptr;
    {
        const CZelmarRegistry registry;
        registry.SetTemplate(1, L"%4");
        place = registry.PlaceOf(HKEY_CURRENT_USER, kProduct, 0);
        EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, place.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
        RegCloseKey(key);
    }
    EXPECT_NE(RegOpenKeyExW(HKEY_CURRENT_USER, place.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
}

TEST(OwnRegistryTest, AScopeWithinAnotherIsEmptyAndTheOuterReturns)
{
    const CZelmarRegistry outer;
    outer.SetTemplate(1, L"outer");
    {
        const CZelmarRegistry inner;
        EXPECT_EQ(inner.Template(1), std::nullopt);
        inner.SetTemplate(1, L"inner");
    }
    EXPECT_EQ(ReadTemplate(1), L"outer");
}

TEST(OwnRegistryTest, OtherKeysAreThoseOfTheMachine)
{
    const CZelmarRegistry registry;
    for (const wchar_t* const path : {L"SOFTWARE\\Zelmarine", L"SOFTWARE", L"SOFTWARE\\Other\\Zelmar"}) {
        EXPECT_EQ(registry.PlaceOf(HKEY_CURRENT_USER, path, 0), L"") << path;
    }
    EXPECT_NE(registry.PlaceOf(HKEY_CURRENT_USER, L"software\\zelmar\\tools", 0), L"");
    EXPECT_EQ(registry.PlaceOf(HKEY_CLASSES_ROOT, kProduct, 0), L"");
}

// The first condition keeps a broken test program from writing to the real key.
TEST(OwnRegistryTest, ATestWithoutOneReachesNoRealKey)
{
    ASSERT_TRUE(COwnRegistry::IsInForce());
    const auto real = [] {
        wchar_t text[2048] = L"(none)";
        DWORD bytes = sizeof text;
        RegGetValueW(HKEY_CURRENT_USER, L"SOFTWARE\\Zelmar\\Tools\\Talvenor", L"Template Text Column 1",
                     RRF_RT_REG_SZ, nullptr, text, &bytes);
        return std::wstring(text);
    };
    const std::wstring before = real();
    ASSERT_TRUE(WriteTemplate(1, L"%4 of the test"));
    EXPECT_EQ(ReadTemplate(1), L"%4 of the test");
    EXPECT_EQ(real(), before);
    CZelmarValues().RemoveTemplate(1);
}

TEST(OwnRegistryTest, WritingCanBeRefused)
{
    CZelmarRegistry registry;
    registry.RefuseWriting();
    EXPECT_FALSE(WriteTemplate(1, L"%4"));
    EXPECT_EQ(registry.Template(1), std::nullopt);
}

TEST(OwnRegistryTest, ARegisteredCadSystemIsHiddenUnlessATestHasMadeIt)
{
    CScratchClasses::RequireAccess();
    if (testing::Test::IsSkipped()) {
        return;
    }
    CScratchClasses::RequireNoCadSystem();
    if (testing::Test::IsSkipped()) {
        return;
    }
    const std::wstring progId = L"SldWorks.Application.30";
    CScratchClasses classes;
    classes.AddProgId(progId, NewClassId());
    const CZelmarRegistry registry;
    std::wstring classId;
    EXPECT_TRUE(CRegistry(HKEY_CLASSES_ROOT).ReadString(progId + L"\\CLSID", L"", classId));
    RegDeleteKeyValueW(*CScratchClassKey::Root(), (L"Software\\Classes\\" + progId).c_str(), kTestMark);
    EXPECT_FALSE(CRegistry(HKEY_CLASSES_ROOT).ReadString(progId + L"\\CLSID", L"", classId));
    RegDeleteTreeW(*CScratchClassKey::Root(), (L"Software\\Classes\\" + progId).c_str());
}

using Keys = std::vector<std::wstring>;
using Lines = std::vector<std::string>;

// The test's own key takes the place of the product's key. Its values stand for those of an installation.
class KeysAsideTest : public testing::Test
{
protected:
    void SetUp() override
    {
        Write(m_product + L"\\Tools", L"Setting", L"real");
        Write(m_product, L"", L"default");
    }
    ~KeysAsideTest() override
    {
        for (const wchar_t* const kind : {L", put aside", L", kept"}) {
            for (const std::wstring& key : Beside(kind)) {
                RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
            }
        }
        RegDeleteTreeW(HKEY_CURRENT_USER, m_product.c_str());
    }

    // Writes a value as another program does, without noting it as a test's.
    static void Write(const std::wstring& key, const wchar_t* name, const std::wstring& text)
    {
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name, REG_SZ, text.c_str(), SizeOf(text)),
                  ERROR_SUCCESS);
    }
    // Notes a value as a test's, then writes it. `key` is relative to the product's key.
    void WriteAsTest(const std::wstring& key, const wchar_t* name, const std::wstring& text) const
    {
        HKEY product = nullptr;
        RegOpenKeyExW(HKEY_CURRENT_USER, m_product.c_str(), 0, KEY_ALL_ACCESS, &product);
        const UniqueKey owner(product);
        EXPECT_TRUE(NoteTestValue(product, key, name, REG_SZ, text.c_str(), SizeOf(text)));
        Write(m_product + L"\\" + key, name, text);
    }
    static DWORD SizeOf(const std::wstring& text)
    {
        return static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    }
    static std::wstring Read(const std::wstring& key, const wchar_t* name)
    {
        wchar_t text[64] = L"";
        DWORD bytes = sizeof text;
        const LSTATUS status =
            RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes);
        return status == ERROR_SUCCESS ? text : L"(none)";
    }
    [[nodiscard]] std::wstring Setting() const { return Read(m_product + L"\\Tools", L"Setting"); }
    [[nodiscard]] bool HasRealKeys() const
    {
        return CKeysAside::HasRealKeys(HKEY_CURRENT_USER, 0, m_product);
    }
    [[nodiscard]] Lines Restore() const { return CKeysAside::RestoreLeftovers(m_product); }
    void ExpectAsBefore() const
    {
        EXPECT_EQ(Setting(), L"real");
        EXPECT_EQ(Read(m_product, L""), L"default");
        EXPECT_TRUE(HasRealKeys());
        EXPECT_EQ(Asides(), Keys{});
    }
    // The paths of the keys that begin with the path of the product's key, followed by `kind`.
    [[nodiscard]] Keys Beside(const std::wstring& kind) const
    {
        HKEY software = nullptr;
        RegOpenKeyExW(HKEY_CURRENT_USER, L"SOFTWARE", 0, KEY_READ, &software);
        const UniqueKey owner(software);
        Keys found;
        wchar_t name[256] = L"";
        for (DWORD at = 0; RegEnumKeyW(software, at, name, 256) == ERROR_SUCCESS; ++at) {
            const std::wstring path = L"SOFTWARE\\" + std::wstring(name);
            if (path.starts_with(m_product + kind)) {
                found.push_back(path);
            }
        }
        return found;
    }
    [[nodiscard]] Keys Asides() const { return Beside(L", put aside"); }
    // Puts the keys aside and never restores them, like a killed test.
    void PutAsideForGood() const
    {
        static std::vector<CKeysAside*> never;
        never.push_back(new CKeysAside(HKEY_CURRENT_USER, 0, m_product));
    }

    const std::wstring m_product = L"SOFTWARE\\TalvenorAsideTest" + std::to_wstring(GetCurrentProcessId());
    const std::wstring m_settings = m_product + L"\\Tools\\Talvenor";
};

TEST_F(KeysAsideTest, AreGoneWithinTheScopeAndAsBeforeAfterIt)
{
    {
        const CKeysAside aside(HKEY_CURRENT_USER, 0, m_product);
        EXPECT_EQ(Setting(), L"(none)");
        EXPECT_FALSE(HasRealKeys());
        WriteAsTest(L"Tools", L"Setting", L"of the test");
        WriteAsTest(L"input", L"parts", L"of the test");
    }
    ExpectAsBefore();
    EXPECT_EQ(Read(m_product + L"\\input", L"parts"), L"(none)");
}

TEST_F(KeysAsideTest, AScopeWithinAnotherPutsTheOuterTestsKeysBack)
{
    {
        const CKeysAside outer(HKEY_CURRENT_USER, 0, m_product);
        WriteAsTest(L"Tools", L"Setting", L"outer");
        {
            const CKeysAside inner(HKEY_CURRENT_USER, 0, m_product);
            EXPECT_EQ(Setting(), L"(none)");
        }
        EXPECT_EQ(Setting(), L"outer");
        EXPECT_FALSE(HasRealKeys());
    }
    ExpectAsBefore();
}

TEST_F(KeysAsideTest, WhereNoneWereNoneRemain)
{
    RegDeleteTreeW(HKEY_CURRENT_USER, m_product.c_str());
    {
        const CKeysAside aside(HKEY_CURRENT_USER, 0, m_product);
        WriteAsTest(L"Tools", L"Setting", L"of the test");
    }
    HKEY key = nullptr;
    EXPECT_NE(RegOpenKeyExW(HKEY_CURRENT_USER, m_product.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
}

TEST_F(KeysAsideTest, WhatTheProgramUnderTestStoresGoesWithTheScope)
{
    {
        const CKeysAside aside(HKEY_CURRENT_USER, 0, m_product);
        Write(m_settings, L"Template Text Column 1", L"%4");
        Write(m_settings + L"\\Template History", L"Column 1 Template 1", L"%4");
    }
    ExpectAsBefore();
    EXPECT_EQ(Read(m_settings, L"Template Text Column 1"), L"(none)");
}

TEST_F(KeysAsideTest, AnInstallationWithinTheScopeOutlivesIt)
{
    auto aside = std::make_unique<CKeysAside>(HKEY_CURRENT_USER, 0, m_product);
    Write(m_product + L"\\input", L"parts", L"installed");
    EXPECT_NONFATAL_FAILURE(aside.reset(), "values that no test has written");
    EXPECT_EQ(Read(m_product + L"\\input", L"parts"), L"installed");
    EXPECT_EQ(Asides().size(), 1U) << "the earlier keys";
}

TEST_F(KeysAsideTest, TheNextProgramPutsBackWhatAKilledTestLeft)
{
    PutAsideForGood();
    WriteAsTest(L"Tools", L"Setting", L"of the test");
    EXPECT_EQ(Asides().size(), 1U);
    EXPECT_EQ(Restore(), Lines{});
    ExpectAsBefore();
}

TEST_F(KeysAsideTest, ATestKilledInAScopeWithinAnotherLosesNothing)
{
    PutAsideForGood();
    WriteAsTest(L"Tools", L"Setting", L"outer");
    PutAsideForGood();
    WriteAsTest(L"Tools", L"Setting", L"inner");
    EXPECT_EQ(Restore(), Lines{});
    ExpectAsBefore();
}

// The keys are copied, but not yet deleted.
TEST_F(KeysAsideTest, ATestKilledWhileItPutsAsideLosesNothing)
{
    PutAsideForGood();
    SetUp();
    EXPECT_EQ(Restore(), Lines{});
    ExpectAsBefore();
}

// The keys are back, but the copies put aside are not yet deleted.
TEST_F(KeysAsideTest, ATestKilledWhileItPutsBackLosesNothing)
{
    PutAsideForGood();
    RegDeleteTreeW(HKEY_CURRENT_USER, m_product.c_str());
    SetUp();
    EXPECT_EQ(Restore(), Lines{});
    ExpectAsBefore();
}

TEST_F(KeysAsideTest, ACopyThatWasNotCompletedIsRemoved)
{
    Write(m_product + L", put aside by test 1-1\\Keys\\Tools", L"Setting", L"half");
    EXPECT_EQ(Restore(), Lines{});
    ExpectAsBefore();
}

TEST_F(KeysAsideTest, WhatAKilledTestMadeWhereNothingWasIsRemoved)
{
    RegDeleteTreeW(HKEY_CURRENT_USER, m_product.c_str());
    PutAsideForGood();
    WriteAsTest(L"Tools", L"Setting", L"of the test");
    EXPECT_EQ(Restore(), Lines{});
    EXPECT_EQ(Setting(), L"(none)");
}

TEST_F(KeysAsideTest, KeysThatAppearedSinceAreNotOverwritten)
{
    PutAsideForGood();
    RegDeleteTreeW(HKEY_CURRENT_USER, m_product.c_str());
    Write(m_product + L"\\Tools", L"Setting", L"installed since");
    EXPECT_EQ(Restore().size(), 1U);
    EXPECT_EQ(Setting(), L"installed since");
    EXPECT_EQ(Asides().size(), 1U) << "the values put aside are still there";
}

// An installer does not know that the key is a test's.
TEST_F(KeysAsideTest, AnInstallationIntoTheKeyOfAKilledTestSurvives)
{
    RegDeleteTreeW(HKEY_CURRENT_USER, m_product.c_str());
    PutAsideForGood();
    WriteAsTest(L"Tools", L"Setting", L"of the test");
    Write(m_product + L"\\input", L"parts", L"installed");
    EXPECT_EQ(Restore().size(), 1U);
    EXPECT_EQ(Read(m_product + L"\\input", L"parts"), L"installed");
}

TEST_F(KeysAsideTest, AnInstallationOverTheValuesOfAKilledTestSurvives)
{
    PutAsideForGood();
    WriteAsTest(L"input", L"parts", L"of the test");
    Write(m_product + L"\\input", L"parts", L"installed");
    EXPECT_EQ(Restore().size(), 1U);
    EXPECT_EQ(Read(m_product + L"\\input", L"parts"), L"installed");
    EXPECT_EQ(Asides().size(), 1U) << "the earlier keys";
}

TEST_F(KeysAsideTest, AnInstallersEmptyKeySurvives)
{
    RegDeleteTreeW(HKEY_CURRENT_USER, m_product.c_str());
    PutAsideForGood();
    HKEY key = nullptr;
    RegCreateKeyW(HKEY_CURRENT_USER, (m_product + L"\\Licences").c_str(), &key);
    RegCloseKey(key);
    EXPECT_EQ(Restore().size(), 1U);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, (m_product + L"\\Licences").c_str(), 0, KEY_READ, &key),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

// Either the program under test stored the value, or the user has stored it since the test was killed.
TEST_F(KeysAsideTest, SettingsStoredSinceAreKeptBesideTheEarlierOnes)
{
    PutAsideForGood();
    Write(m_settings, L"Template Text Column 1", L"mine");
    EXPECT_EQ(Restore().size(), 1U);
    ExpectAsBefore();
    const Keys kept = Beside(L", kept");
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(Read(kept[0] + L"\\Tools\\Talvenor", L"Template Text Column 1"), L"mine");
    EXPECT_EQ(Restore(), Lines{}) << "the kept settings are reported only once";
}

TEST_F(KeysAsideTest, KeysAsideThatCannotBeReadReplaceNothing)
{
    PutAsideForGood();
    WriteAsTest(L"Tools", L"Setting", L"of the test");
    ASSERT_EQ(Asides().size(), 1U);
    RegDeleteTreeW(HKEY_CURRENT_USER, (Asides()[0] + L"\\Keys").c_str());
    EXPECT_EQ(Restore().size(), 1U);
    EXPECT_EQ(Setting(), L"of the test");
}

TEST_F(KeysAsideTest, AScopeThatCannotPutBackFailsTheTest)
{
    auto aside = std::make_unique<CKeysAside>(HKEY_CURRENT_USER, 0, m_product);
    WriteAsTest(L"Tools", L"Setting", L"of the test");
    ASSERT_EQ(Asides().size(), 1U);
    RegDeleteTreeW(HKEY_CURRENT_USER, (Asides()[0] + L"\\Keys").c_str());
    EXPECT_NONFATAL_FAILURE(aside.reset(), "cannot be read");
    EXPECT_EQ(Setting(), L"of the test");
}

TEST(ScratchClassKeyTest, AKeyOfAnotherProgramIsLeftAlone)
{
    CScratchClasses::RequireAccess();
    if (testing::Test::IsSkipped()) {
        return;
    }
    const HKEY root = *CScratchClassKey::Root();
    const std::wstring name = L"Talvenor.Test.Foreign";
    const std::wstring key = L"Software\\Classes\\" + name;
    RegSetKeyValueW(root, key.c_str(), L"mine", REG_SZ, L"x", 4);
    EXPECT_NONFATAL_FAILURE(CScratchClassKey(*CScratchClassKey::Root(), L"Talvenor.Test.Foreign",
                                             L"Talvenor.Test.Foreign", L"test"),
                            "a key of another program");
    const auto has = [&](const wchar_t* value) {
        return RegGetValueW(root, key.c_str(), value, RRF_RT_REG_SZ, nullptr, nullptr, nullptr) ==
               ERROR_SUCCESS;
    };
    EXPECT_TRUE(has(L"mine"));
    EXPECT_FALSE(has(nullptr));
    RegDeleteTreeW(root, key.c_str());
}

}  // namespace
