#include "cad/SldWorks.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"

namespace {

using namespace automation;

// Registers classes until the end of the test.
class ClassesTest : public testing::Test
{
protected:
    void SetUp() override { CScratchClasses::RequireAccess(); }

    CScratchClasses m_classes;
};

TEST_F(ClassesTest, OnlyLeftoversOfACrashedTestAreRemoved)
{
    const HKEY root = *CScratchClassKey::Root();
    const std::wstring classes = L"Software\\Classes\\";
    m_classes.AddKey(L"Talvenor.Test.Other", L"Talvenor.Test.Other\\CLSID", L"");
    RegDeleteKeyValueW(root, (classes + L"Talvenor.Test.Other").c_str(), L"TalvenorTest");
    m_classes.AddProgId(L"Talvenor.Test.Left", NewClassId());
    const CLSID left = NewClassId();
    m_classes.AddClass(left, L"Talvenor.Test.Left");
    EXPECT_EQ(CScratchClassKey::RestoreLeftovers(), std::vector<std::string>{});
    const auto isThere = [&](const std::wstring& key) {
        return RegGetValueW(root, (classes + key).c_str(), nullptr, RRF_RT_ANY, nullptr, nullptr, nullptr) ==
               ERROR_SUCCESS;
    };
    EXPECT_FALSE(isThere(L"Talvenor.Test.Left\\CLSID"));
    EXPECT_FALSE(isThere(L"CLSID\\" + TextOfClass(left) + L"\\ProgID"));
    EXPECT_TRUE(isThere(L"Talvenor.Test.Other\\CLSID"));
    RegDeleteTreeW(root, (classes + L"Talvenor.Test.Other").c_str());
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
        CScratchClasses::RequireNoCadSystem();
    }

    void AddVersion(int number)
    {
        m_classes.AddProgId(L"SldWorks.Application." + std::to_wstring(number), NewClassId());
    }

    // Registers a class with this ProgID as the class of the version-independent ProgID.
    void SetCurrent(const std::wstring& progId)
    {
        const CLSID classId = NewClassId();
        m_classes.AddProgId(L"SldWorks.Application", classId);
        m_classes.AddClass(classId, progId);
    }

    void ExpectVersions(const std::vector<std::wstring>& versions, int index)
    {
        std::vector<std::wstring> found{L"left over"};
        EXPECT_EQ(CSldWorks::GetInstalledVersions(found), index);
        EXPECT_EQ(found, versions);
    }
};

TEST_F(InstalledVersionsTest, ListsVersions20To39AndFindsTheCurrentOne)
{
    struct Case
    {
        const char* what;
        std::vector<int> registered;
        const wchar_t* current;  // ProgID of the class of the version-independent ProgID; null: none
        std::vector<std::wstring> versions;
        int index;
    };
    const Case cases[] = {
        {"none registered", {}, nullptr, {}, 0},
        {"the current version", {30, 25}, L"SldWorks.Application.30", {L"25", L"30"}, 1},
        {"versions outside the range", {19, 20, 39, 40}, nullptr, {L"20", L"39"}, 0},
        {"a current version outside the range", {25, 30, 40}, L"SldWorks.Application.40", {L"25", L"30"}, 0},
        {"a current version only", {}, L"SldWorks.Application.30", {}, 0},
        {"the text after the last dot counts", {25, 30}, L"Some.Other.Name.30", {L"25", L"30"}, 1},
        {"030 is not 30", {25, 30}, L"SldWorks.Application.030", {L"25", L"30"}, 0},
        {"no dot", {25, 30}, L"30", {L"25", L"30"}, 0},
        {"no number", {25, 30}, L"SldWorks.Application.", {L"25", L"30"}, 0},
        {"no name", {25, 30}, L"", {L"25", L"30"}, 0},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        m_classes.RemoveAll();
        for (const int number : test.registered) {
            AddVersion(number);
        }
        if (test.current != nullptr) {
            SetCurrent(test.current);
        }
        ExpectVersions(test.versions, test.index);
    }
}

TEST_F(InstalledVersionsTest, AClassWithoutANameIsNoCurrentVersion)
{
    AddVersion(25);
    AddVersion(30);
    m_classes.AddProgId(L"SldWorks.Application", NewClassId());
    ExpectVersions({L"25", L"30"}, 0);
}

TEST_F(InstalledVersionsTest, TheNullClassIsNoCurrentVersion)
{
    AddVersion(25);
    AddVersion(30);
    m_classes.AddProgId(L"SldWorks.Application", CLSID_NULL);
    m_classes.AddClass(CLSID_NULL, L"SldWorks.Application.30");
    ExpectVersions({L"25", L"30"}, 0);
}

TEST_F(InstalledVersionsTest, AVersionNeedsAClassKeyWithAValue)
{
    m_classes.AddKey(L"SldWorks.Application.25", L"SldWorks.Application.25", L"a version without a class");
    m_classes.AddKey(L"SldWorks.Application.26", L"SldWorks.Application.26\\CLSID", L"");
    ExpectVersions({L"26"}, 0);
}

class SldWorksTest : public ClassesTest
{
protected:
    void SetUp() override
    {
        ClassesTest::SetUp();
        if (!IsSkipped()) {
            m_classes.AddProgId(kProgId, m_classId);
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

TEST_F(SldWorksTest, AMissingClassIsNoConnection)
{
    CSldWorks connection;
    EXPECT_EQ(connection.Connect(L"Talvenor.NoSuchClass"), 0);
    EXPECT_EQ(connection.Connect(L""), 0);
    m_classes.AddProgId(L"Talvenor.Test.NoServer", NewClassId());
    EXPECT_EQ(connection.Connect(L"Talvenor.Test.NoServer"), 0);
    EXPECT_EQ(connection.Connect(kProgId), 1);
}

TEST_F(SldWorksTest, AServerWithoutAutomationObjectIsNoConnection)
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
        m_application.On(kGetDateCode, AnswerLong(dateCode));
        EXPECT_TRUE(connection.IsVersionSupported()) << dateCode;
    }
    for (const long dateCode : {1999249L, 1998365L, 0L, -1L}) {
        m_application.On(kGetDateCode, AnswerLong(dateCode));
        EXPECT_FALSE(connection.IsVersionSupported()) << dateCode;
    }
    EXPECT_EQ(m_log, EventLog(7, L"application GetDateCode method"));
}

TEST_F(SldWorksTest, AFailingVersionTestReachesTheCaller)
{
    CSldWorks connection;
    ASSERT_EQ(connection.Connect(kProgId), 1);
    m_application.On(kGetDateCode, RaiseException(L"Server", L"Broken", nullptr, 0));
    EXPECT_THROW(static_cast<void>(connection.IsVersionSupported()), COleDispatchException);
    m_application.On(kGetDateCode, Fail(RPC_E_DISCONNECTED));
    EXPECT_THROW(static_cast<void>(connection.IsVersionSupported()), COleException);
    EXPECT_EQ(connection.Connect(kProgId), 1);
    EXPECT_EQ(m_class.m_created, 1);
}

TEST_F(SldWorksTest, DisconnectEndsAndReleasesTheApplication)
{
    CSldWorks connection;
    ASSERT_EQ(connection.Connect(kProgId), 1);
    int heldAtExit = 0;
    m_application.On(kExit, [&](FakeCall&) {
        heldAtExit = m_application.References();
        return S_OK;
    });
    EXPECT_EQ(connection.Disconnect(), 0);
    EXPECT_EQ(m_log, EventLog{L"application Exit method"});
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
    EXPECT_EQ(m_log, EventLog{L"application Exit method"});
}

TEST_F(SldWorksTest, AnApplicationThatFailsToEndIsReleased)
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

TEST_F(SldWorksTest, TheDestructorReleasesTheApplicationWithoutEndingIt)
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
    document.On(kGetConfigurationCount, AnswerLong(0));
    m_application.On(kOpenDocument, AnswerObject(&document));
    CFakeProgress progress(m_log);
    EXPECT_EQ(connection.WriteBomEntries(progress, L"C:\\a.sldasm", {}, L"%1", 50.0F, 1), 0);
    EXPECT_EQ(m_log,
              (EventLog{
                  L"application SetDocumentVisibility method BOOL=0 I4=2",
                  L"application OpenDocument method BSTR=C:\\a.sldasm I4=2 BOOL=0 BOOL=0 BOOL=-1 &I4=0",
                  L"document GetConfigurationCount method",
                  L"document GetConfigurationNames method",
                  L"read overall bar",
                  L"application CloseDocument method BSTR=C:\\a.sldasm",
                  L"enable cancel",
                  L"application SetDocumentVisibility method BOOL=-1 I4=2",
              }));
    EXPECT_EQ(document.References(), 0);
}

TEST(SldWorks, HasTheFeatureNameRule)
{
    std::wstring name = L"a/b@c;d=e:f";
    EXPECT_EQ(CSldWorks::SanitizeFeatureName(name), 4);
    EXPECT_EQ(name, L"a_b_c_d_e:f");
}

}  // namespace
