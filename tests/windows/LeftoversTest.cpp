// Tests that were killed leave keys and values behind. The next test program removes them, but nothing that a
// user or another program has written since.
#include "tests/support/Leftovers.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "framework/ScopeExit.h"
#include "tests/support/ClassKey.h"
#include "tests/support/DocumentClass.h"
#include "tests/support/ImportTable.h"
#include "tests/support/KeysAside.h"
#include "tests/support/OnlyTests.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/OwnRegistry.h"
#include "tests/support/SharedMachine.h"
#include "tests/support/StartProgram.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const wchar_t* kClasses = L"Software\\Classes\\";

void Write(HKEY hive, const std::wstring& key, const wchar_t* name, const std::wstring& text)
{
    EXPECT_EQ(RegSetKeyValueW(hive, key.c_str(), name, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

std::wstring Read(HKEY hive, const std::wstring& key, const wchar_t* name)
{
    wchar_t text[256] = L"";
    DWORD bytes = sizeof text;
    const LSTATUS status = RegGetValueW(hive, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return status == ERROR_SUCCESS ? text : L"(none)";
}

// ---- Classes

class ClassLeftoversTest : public testing::Test
{
protected:
    ~ClassLeftoversTest() override { RegDeleteTreeW(HKEY_CURRENT_USER, m_key.c_str()); }

    const std::wstring m_top = L"Talvenor.Test.Installed";
    const std::wstring m_key = kClasses + m_top;
};

// An installer cannot tell that a test made the key, and may write into it.
TEST_F(ClassLeftoversTest, AnInstallationIntoTheKeyOfAKilledTestSurvives)
{
    static const auto* const never =
        new CScratchClassKey(HKEY_CURRENT_USER, m_top, m_top + L"\\CLSID", L"of the test");
    static_cast<void>(never);
    Write(HKEY_CURRENT_USER, m_key + L"\\CLSID", nullptr, L"installed");
    EXPECT_EQ(CScratchClassKey::RestoreLeftovers().size(), 1U);
    EXPECT_EQ(Read(HKEY_CURRENT_USER, m_key + L"\\CLSID", nullptr), L"installed");
}

TEST_F(ClassLeftoversTest, AnInstallationWithinTheScopeOutlivesIt)
{
    auto key = std::make_unique<CScratchClassKey>(HKEY_CURRENT_USER, m_top, m_top + L"\\CLSID", L"test");
    Write(HKEY_CURRENT_USER, m_key + L"\\CurVer", nullptr, L"installed");
    EXPECT_NONFATAL_FAILURE(key.reset(), "values that no test has written");
    EXPECT_EQ(Read(HKEY_CURRENT_USER, m_key + L"\\CurVer", nullptr), L"installed");
}

TEST_F(ClassLeftoversTest, WhatTestsWriteBelowTheirKeyGoesWithIt)
{
    {
        const CScratchClassKey key(HKEY_CURRENT_USER, m_top, m_top + L"\\CLSID", L"test");
        EXPECT_TRUE(
            CScratchClassKey::Write(HKEY_CURRENT_USER, m_top, m_top + L"\\a\\b", L"name", REG_SZ, L"x"));
        EXPECT_EQ(Read(HKEY_CURRENT_USER, m_key + L"\\a\\b", L"name"), L"x");
    }
    EXPECT_EQ(Read(HKEY_CURRENT_USER, m_key + L"\\a\\b", L"name"), L"(none)");
    EXPECT_EQ(Read(HKEY_CURRENT_USER, m_key + L"\\CLSID", nullptr), L"(none)");
}

// ---- The programs that open documents

// Uses a file-name extension that no program is registered for.
class DocumentClassTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (RegSetKeyValueW(HKEY_LOCAL_MACHINE, m_key.c_str(), L"Probe", REG_SZ, L"", 2) != ERROR_SUCCESS) {
            GTEST_SKIP() << "skipped: this process may not write the machine's settings";
        }
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, m_key.c_str());
    }
    ~DocumentClassTest() override { RegDeleteTreeW(HKEY_LOCAL_MACHINE, m_key.c_str()); }

    [[nodiscard]] std::wstring Registered() const { return Read(HKEY_LOCAL_MACHINE, m_key, nullptr); }

    const std::wstring m_extension = L".talvenortest" + std::to_wstring(GetCurrentProcessId());
    const std::wstring m_key = kClasses + m_extension;
};

TEST_F(DocumentClassTest, TheEarlierProgramReturns)
{
    Write(HKEY_LOCAL_MACHINE, m_key, nullptr, L"Earlier.Document");
    RegisterDocumentClass(m_extension, L"viewer");
    EXPECT_NE(Registered(), L"Earlier.Document");
    EXPECT_EQ(RestoreDocumentClasses(), Lines{});
    EXPECT_EQ(Registered(), L"Earlier.Document");
}

TEST_F(DocumentClassTest, AProgramChosenSinceStays)
{
    Write(HKEY_LOCAL_MACHINE, m_key, nullptr, L"Earlier.Document");
    RegisterDocumentClass(m_extension, L"viewer");
    Write(HKEY_LOCAL_MACHINE, m_key, nullptr, L"Newer.Document");
    EXPECT_EQ(RestoreDocumentClasses(), Lines{});
    EXPECT_EQ(Registered(), L"Newer.Document");
}

TEST_F(DocumentClassTest, AValueThatTheTestAddedIsRemoved)
{
    RegisterDocumentClass(m_extension, L"viewer");
    Write(HKEY_LOCAL_MACHINE, m_key, L"Content Type", L"text/plain");
    EXPECT_EQ(RestoreDocumentClasses(), Lines{});
    EXPECT_EQ(Registered(), L"(none)");
    EXPECT_EQ(Read(HKEY_LOCAL_MACHINE, m_key, L"Content Type"), L"text/plain");
}

TEST_F(DocumentClassTest, AKeyThatTheTestAddedIsRemoved)
{
    RegisterDocumentClass(m_extension, L"viewer");
    EXPECT_EQ(RestoreDocumentClasses(), Lines{});
    HKEY key = nullptr;
    EXPECT_NE(RegOpenKeyExW(HKEY_LOCAL_MACHINE, m_key.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
}

// ---- What cannot be removed

bool g_refusing = false;
decltype(&::RegDeleteTreeW) g_delete = nullptr;

LSTATUS WINAPI RefuseToDelete(HKEY key, const wchar_t* path)
{
    return g_refusing ? ERROR_ACCESS_DENIED : g_delete(key, path);
}

// Until the end of the scope, RegDeleteTreeW refuses to delete keys.
class CRefusedDeletion
{
public:
    CRefusedDeletion()
    {
        EXPECT_TRUE(RedirectImport("RegDeleteTreeW", &RefuseToDelete, &g_delete));
        g_refusing = true;
    }
    ~CRefusedDeletion() { g_refusing = false; }
    CRefusedDeletion(const CRefusedDeletion&) = delete;
    CRefusedDeletion& operator=(const CRefusedDeletion&) = delete;
};

TEST(RefusedDeletionTest, IsReportedForEachKeyOfAKilledTest)
{
    const std::wstring product = L"SOFTWARE\\TalvenorRefusedTest";
    const CKeysAside aside(HKEY_CURRENT_USER, 0, product);
    const CScratchClassKey key(HKEY_CURRENT_USER, L"Talvenor.Test.Refused", L"Talvenor.Test.Refused",
                               L"test");
    const CRefusedDeletion refused;
    EXPECT_EQ(CScratchClassKey::RestoreLeftovers().size(), 1U);
    EXPECT_EQ(CKeysAside::RestoreLeftovers(product).size(), 1U);
    EXPECT_EQ(COwnRegistry::RestoreLeftovers().size(), 1U);
}

TEST(RefusedDeletionTest, FailsTheTestWhoseScopeEnds)
{
    const std::wstring product = L"SOFTWARE\\TalvenorRefusedTest";
    auto aside = std::make_unique<CKeysAside>(HKEY_CURRENT_USER, 0, product);
    {
        const CRefusedDeletion refused;
        EXPECT_NONFATAL_FAILURE(aside.reset(), "cannot be removed");
    }
    EXPECT_EQ(CKeysAside::RestoreLeftovers(product), Lines{});
}

// ---- Only one test program at a time

// The thread stands for another program: the mutex belongs to a thread.
TEST(OnlyTestsTest, AnotherProgramChangesNothing)
{
    bool refused = false;
    Lines problems;
    std::thread other([&] {
        try {
            const COnlyTests second;
        } catch (const std::runtime_error&) {
            refused = true;
        }
        problems = RestoreLeftovers();
    });
    other.join();
    EXPECT_TRUE(refused);
    EXPECT_EQ(problems, Lines{"another test program is running"});
    EXPECT_TRUE(COwnRegistry::IsInForce());
}

TEST(OnlyTestsTest, ASecondRunOfTheseTestsIsRefused)
{
    const StartedProgram second =
        StartProgram(L"\"" + OwnProgram() + L"\" --gtest_brief=1 --gtest_filter=FreeDriveTest.*");
    EXPECT_EQ(WaitForExit(second, 60'000), static_cast<DWORD>(kRefused));
}

TEST(OnlyTestsTest, HoldsForAllSessions)
{
    const UniqueHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, L"Global\\TalvenorTestsOnSharedMachine"));
    EXPECT_NE(mutex, nullptr);
}

}  // namespace
