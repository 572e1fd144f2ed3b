#include "cad/SldWorks.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"

namespace {

constexpr DISPID kExit = 6;
constexpr DISPID kDateCode = 11;

// A test that registers classes for its own time.
class ClassesTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!CScratchClassKey::Root()) {
            GTEST_SKIP() << "skipped: this process may not register classes where COM looks for them";
        }
    }

    void AddKey(const std::wstring& top, const std::wstring& path, const std::wstring& value)
    {
        m_keys.push_back(std::make_unique<CScratchClassKey>(*CScratchClassKey::Root(), top, path, value));
    }

    void AddProgId(const std::wstring& progId, const CLSID& classId)
    {
        AddKey(progId, progId + L"\\CLSID", TextOfClass(classId));
    }

    // The ProgID that a class is known by.
    void AddClass(const CLSID& classId, const std::wstring& progId)
    {
        const std::wstring key = L"CLSID\\" + TextOfClass(classId);
        AddKey(key, key + L"\\ProgID", progId);
    }

private:
    std::vector<std::unique_ptr<CScratchClassKey>> m_keys;
};

TEST_F(ClassesTest, WhatACrashedTestLeftIsRemovedAndNothingElse)
{
    const HKEY root = *CScratchClassKey::Root();
    const std::wstring classes = L"Software\\Classes\\";
    AddKey(L"Talvenor.Test.Other", L"Talvenor.Test.Other\\CLSID", L"");
    RegDeleteKeyValueW(root, (classes + L"Talvenor.Test.Other").c_str(), L"TalvenorTest");
    AddProgId(L"Talvenor.Test.Left", NewClassId());
    const CLSID left = NewClassId();
    AddClass(left, L"Talvenor.Test.Left");
    CScratchClassKey::RemoveLeftovers();
    const auto isThere = [&](const std::wstring& key) {
        return RegGetValueW(root, (classes + key).c_str(), nullptr, RRF_RT_ANY, nullptr, nullptr, nullptr) ==
               ERROR_SUCCESS;
    };
    EXPECT_FALSE(isThere(L"Talvenor.Test.Left\\CLSID"));
    EXPECT_FALSE(isThere(L"CLSID\\" + TextOfClass(left) + L"\\ProgID"));
    EXPECT_TRUE(isThere(L"Talvenor.Test.Other\\CLSID"));
}

class InstalledVersionsTest : public ClassesTest
{
protected:
    void SetUp() override
    {
        ClassesTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        for (int number = 19; number <= 40; ++number) {
            SkipIfRegistered(L"SldWorks.Application." + std::to_wstring(number));
        }
        SkipIfRegistered(L"SldWorks.Application");
    }

    static void SkipIfRegistered(const std::wstring& progId)
    {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CLASSES_ROOT, progId.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS) {
            RegCloseKey(key);
            GTEST_SKIP() << "skipped: a CAD system is registered on this machine";
        }
    }

    void AddVersion(int number)
    {
        AddProgId(L"SldWorks.Application." + std::to_wstring(number), NewClassId());
    }

    // Makes the version-independent name lead to a class with this ProgID.
    void SetCurrent(const std::wstring& progId)
    {
        const CLSID classId = NewClassId();
        AddProgId(L"SldWorks.Application", classId);
        AddClass(classId, progId);
    }

    void ExpectVersions(const std::vector<std::wstring>& versions, int index)
    {
        std::vector<std::wstring> found{L"left over"};
        EXPECT_EQ(CSldWorks::GetInstalledVersions(found), index);
        EXPECT_EQ(found, versions);
    }
};

TEST_F(InstalledVersionsTest, NoneAreFoundWhereNoneIsRegistered)
{
    ExpectVersions({}, 0);
}

TEST_F(InstalledVersionsTest, TheIndexIsThatOfTheCurrentVersion)
{
    AddVersion(30);
    AddVersion(25);
    SetCurrent(L"SldWorks.Application.30");
    ExpectVersions({L"25", L"30"}, 1);
}

TEST_F(InstalledVersionsTest, OnlyVersions20To39AreListed)
{
    for (const int number : {19, 20, 39, 40}) {
        AddVersion(number);
    }
    ExpectVersions({L"20", L"39"}, 0);
}

TEST_F(InstalledVersionsTest, ACurrentVersionBeyondTheListGivesTheFirst)
{
    AddVersion(25);
    AddVersion(30);
    AddVersion(40);
    SetCurrent(L"SldWorks.Application.40");
    ExpectVersions({L"25", L"30"}, 0);
}

TEST_F(InstalledVersionsTest, ACurrentVersionWithoutAnyInTheListGivesNone)
{
    SetCurrent(L"SldWorks.Application.30");
    ExpectVersions({}, 0);
}

TEST_F(InstalledVersionsTest, TheVersionIsComparedAsTextBehindTheLastDot)
{
    AddVersion(25);
    AddVersion(30);
    SetCurrent(L"Some.Other.Name.30");
    ExpectVersions({L"25", L"30"}, 1);
}

TEST_F(InstalledVersionsTest, ANumberWrittenOtherwiseIsNotThatVersion)
{
    AddVersion(25);
    AddVersion(30);
    SetCurrent(L"SldWorks.Application.030");
    ExpectVersions({L"25", L"30"}, 0);
}

TEST_F(InstalledVersionsTest, ANameWithoutANumberIsNoCurrentVersion)
{
    AddVersion(25);
    AddVersion(30);
    for (const wchar_t* const progId : {L"30", L"SldWorks.Application.", L""}) {
        SetCurrent(progId);
        ExpectVersions({L"25", L"30"}, 0);
    }
}

TEST_F(InstalledVersionsTest, AClassWithoutANameIsNoCurrentVersion)
{
    AddVersion(25);
    AddVersion(30);
    AddProgId(L"SldWorks.Application", NewClassId());
    ExpectVersions({L"25", L"30"}, 0);
}

TEST_F(InstalledVersionsTest, TheNullClassIsNoCurrentVersion)
{
    AddVersion(25);
    AddVersion(30);
    AddProgId(L"SldWorks.Application", CLSID_NULL);
    AddClass(CLSID_NULL, L"SldWorks.Application.30");
    ExpectVersions({L"25", L"30"}, 0);
}

TEST_F(InstalledVersionsTest, AVersionCountsByTheValueOfItsClassKey)
{
    AddKey(L"SldWorks.Application.25", L"SldWorks.Application.25", L"a version without a class");
    AddKey(L"SldWorks.Application.26", L"SldWorks.Application.26\\CLSID", L"");
    ExpectVersions({L"26"}, 0);
}

class SldWorksTest : public ClassesTest
{
protected:
    void SetUp() override
    {
        ClassesTest::SetUp();
        if (!IsSkipped()) {
            AddProgId(kProgId, m_classId);
        }
    }

    void TearDown() override { EXPECT_EQ(m_application.References(), 0); }

    const std::wstring kProgId = L"Talvenor.Test.Application.30";
    const CLSID m_classId = NewClassId();
    EventLog m_log;
    CFakeDispatch m_application{L"application", m_log};
    CFakeClass m_class{m_classId, m_application};
};

TEST_F(SldWorksTest, ConnectsOnceAndHoldsTheApplication)
{
    CSldWorks connection;
    EXPECT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(m_application.References(), 1);
    EXPECT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(connection.Connect(L"Talvenor.NoSuchClass"), 1);
    EXPECT_EQ(m_class.m_created, 1);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(SldWorksTest, AClassThatIsNotThereIsNoConnection)
{
    CSldWorks connection;
    EXPECT_EQ(connection.Connect(L"Talvenor.NoSuchClass"), 0);
    EXPECT_EQ(connection.Connect(L""), 0);
    AddProgId(L"Talvenor.Test.NoServer", NewClassId());
    EXPECT_EQ(connection.Connect(L"Talvenor.Test.NoServer"), 0);
    EXPECT_EQ(connection.Connect(kProgId), 1);
}

TEST_F(SldWorksTest, AServerThatMakesNoAutomationObjectIsNoConnection)
{
    CSldWorks connection;
    m_class.m_status = E_FAIL;
    EXPECT_EQ(connection.Connect(kProgId), 0);
    m_class.m_status = S_OK;
    m_application.m_hasDispatch = false;
    EXPECT_EQ(connection.Connect(kProgId), 0);
    EXPECT_EQ(m_class.m_created, 2);
}

TEST_F(SldWorksTest, TheWaitCursorIsShownWhileConnecting)
{
    const HCURSOR arrow = LoadCursorW(nullptr, IDC_ARROW);
    SetCursor(arrow);
    CSldWorks connection;
    EXPECT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(m_class.m_cursor, LoadCursorW(nullptr, IDC_WAIT));
    EXPECT_EQ(GetCursor(), arrow);
}

TEST_F(SldWorksTest, Release99Build250AndLaterAreSupported)
{
    CSldWorks connection;
    ASSERT_EQ(connection.Connect(kProgId), 1);
    for (const long dateCode : {1999250L, 1999251L, 2024100L}) {
        m_application.On(kDateCode, AnswerLong(dateCode));
        EXPECT_TRUE(connection.IsVersionSupported()) << dateCode;
    }
    for (const long dateCode : {1999249L, 1998365L, 0L, -1L}) {
        m_application.On(kDateCode, AnswerLong(dateCode));
        EXPECT_FALSE(connection.IsVersionSupported()) << dateCode;
    }
    EXPECT_EQ(m_log, EventLog(7, L"application 11 method"));
}

TEST_F(SldWorksTest, AFailingVersionTestReachesTheCaller)
{
    CSldWorks connection;
    ASSERT_EQ(connection.Connect(kProgId), 1);
    m_application.On(kDateCode, RaiseException(L"Server", L"Broken", nullptr, 0));
    EXPECT_THROW(static_cast<void>(connection.IsVersionSupported()), COleDispatchException);
    m_application.On(kDateCode, Fail(RPC_E_DISCONNECTED));
    EXPECT_THROW(static_cast<void>(connection.IsVersionSupported()), COleException);
    EXPECT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(m_class.m_created, 1);
}

TEST_F(SldWorksTest, DisconnectEndsTheApplicationAndLetsItGo)
{
    CSldWorks connection;
    ASSERT_EQ(connection.Connect(kProgId), 1);
    int heldAtExit = 0;
    m_application.On(kExit, [&](FakeCall&) {
        heldAtExit = m_application.References();
        return S_OK;
    });
    EXPECT_EQ(connection.Disconnect(), 0);
    EXPECT_EQ(m_log, EventLog{L"application 6 method"});
    EXPECT_EQ(heldAtExit, 1);
    EXPECT_EQ(m_application.References(), 0);
    EXPECT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(m_class.m_created, 2);
}

TEST_F(SldWorksTest, DisconnectDoesNothingWithoutAConnection)
{
    CSldWorks connection;
    EXPECT_EQ(connection.Disconnect(), 0);
    ASSERT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(connection.Disconnect(), 0);
    EXPECT_EQ(connection.Disconnect(), 0);
    EXPECT_EQ(m_log, EventLog{L"application 6 method"});
}

TEST_F(SldWorksTest, AnApplicationThatFailsToEndIsLetGoAllTheSame)
{
    CSldWorks connection;
    ASSERT_EQ(connection.Connect(kProgId), 1);
    m_application.On(kExit, Fail(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)));
    EXPECT_THROW(connection.Disconnect(), COleException);
    EXPECT_EQ(m_application.References(), 0);
    EXPECT_EQ(connection.Disconnect(), 0);
    EXPECT_EQ(m_log.size(), 1U);
    EXPECT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(m_class.m_created, 2);
}

TEST_F(SldWorksTest, TheDestructorLetsTheApplicationGoWithoutEndingIt)
{
    {
        CSldWorks connection;
        ASSERT_EQ(connection.Connect(kProgId), 1);
        EXPECT_EQ(m_application.References(), 1);
    }
    EXPECT_EQ(m_application.References(), 0);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(SldWorksTest, WritesBomEntriesThroughItsConnection)
{
    CSldWorks connection;
    ASSERT_EQ(connection.Connect(kProgId), 1);
    CFakeDispatch document(L"document", m_log);
    document.On(65971, AnswerLong(0));
    m_application.On(99, AnswerObject(&document));
    CFakeProgress progress(m_log);
    EXPECT_EQ(connection.WriteBomEntries(progress, L"C:\\a.sldasm", {}, L"%1", 50.0F, 1), 0);
    EXPECT_EQ(m_log, (EventLog{
                         L"application 24 method BOOL=0 I4=2",
                         L"application 99 method BSTR=C:\\a.sldasm I4=2 BOOL=0 BOOL=0 BOOL=-1 &I4=0",
                         L"document 65971 method",
                         L"document 65972 method",
                         L"read overall bar",
                         L"application 7 method BSTR=C:\\a.sldasm",
                         L"enable cancel",
                         L"application 24 method BOOL=-1 I4=2",
                     }));
    EXPECT_EQ(document.References(), 0);
}

TEST(SldWorks, CarriesTheFeatureNameRule)
{
    std::wstring name = L"a/b@c;d=e:f";
    EXPECT_EQ(CSldWorks::SanitizeFeatureName(name), 4);
    EXPECT_EQ(name, L"a_b_c_d_e:f");
}

}  // namespace
