#include "cad/CadSession.h"

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "framework/WinApp.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "tests/windows/WaitingProgram.h"

namespace {

using namespace automation;
constexpr HRESULT kUnavailable = HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);
constexpr DWORD kNotLong = 300;  // milliseconds

using Outcome = CCadSession::Outcome;

// A COM class that calls a function of the test before it creates an object.
class CScriptedClass : public CFakeClass
{
public:
    using CFakeClass::CFakeClass;

    std::function<HRESULT()> m_onCreate;  // if this function fails, no object is created

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID interfaceId, void** object) override
    {
        m_status = m_onCreate ? m_onCreate() : S_OK;
        return CFakeClass::CreateInstance(outer, interfaceId, object);
    }
};

// The automation objects live in the test's own process. Processes of a copy of waitingprogram.exe stand in
// for the server process.
class CadSessionTest : public testing::Test
{
protected:
    CadSessionTest()
    {
        m_application.On(kGetDateCode, AnswerLong(2024100));
        m_session.emplace(m_sldWorks, *m_process, kProgId, m_timeouts);
    }

    void SetUp() override
    {
        CScratchClasses::RequireAccess();
        if (!IsSkipped()) {
            m_classes.AddServer(kProgId, m_image, m_classId);
        }
    }

    void TearDown() override
    {
        m_session.reset();
        DrainMessages();
        CWinApp::Get()->GetMessageFilter().SetBusyDelay(5'000);
    }

    void SetTimeouts(const CadTimeouts& timeouts)
    {
        m_session.emplace(m_sldWorks, *m_process, kProgId, timeouts);
    }

    // Lets each connection start a process of the server.
    void StartServers()
    {
        m_class.m_onCreate = [this] {
            m_servers.emplace_back(m_image);
            return S_OK;
        };
    }

    // Makes the session start and release a server. Returns the server, which is still running.
    const CWaitingProcess& LetGoOwnServer()
    {
        StartServers();
        EXPECT_EQ(m_session->Connect(), Outcome::connected);
        m_session->Release();
        return m_servers.back();
    }

    // Connects, which must succeed. Returns whether the server had ended before COM created the new object.
    bool WaitsForEndOf(const CWaitingProcess& server, Outcome (CCadSession::*connect)())
    {
        bool ended = false;
        m_class.m_onCreate = [&] {
            ended = server.Ends(0);
            return S_OK;
        };
        EXPECT_EQ((*m_session.*connect)(), Outcome::connected);
        return ended;
    }

    // Starts a server, then makes the session connect to the server and release it. Returns the server, which
    // is still running.
    const CWaitingProcess& LetGoEarlierServer()
    {
        StartEarlierServer();
        EXPECT_EQ(m_session->Connect(), Outcome::connected);
        m_session->Release();
        m_class.m_created = 0;
        m_log.clear();
        return m_servers.back();
    }

    void StartEarlierServer()
    {
        m_servers.emplace_back(m_image);
        Sleep(50);  // longer than a tick of the system time: the server is older than the connection
    }

    // Makes the next `count` connections fail. Later connections succeed.
    void FailConnections(int count, HRESULT status)
    {
        m_class.m_onCreate = [count, status]() mutable { return count-- > 0 ? status : S_OK; };
    }

    // What the message filter returns to COM while a call waits.
    static DWORD WhileCallWaits(DWORD tickCount = 0)
    {
        return CWinApp::Get()->GetMessageFilter().MessagePending(nullptr, tickCount, PENDINGTYPE_TOPLEVEL);
    }

    // Lets a call wait longer than the limit. Then presses a key, so that the question appears.
    static void StallCall()
    {
        CWinApp::Get()->GetMessageFilter().SetBusyDelay(100);
        Sleep(150);
        PostThreadMessageW(GetCurrentThreadId(), WM_KEYDOWN, VK_SPACE, 0);
        WhileCallWaits(150);
        Sleep(20);
    }

    // Stalls a call and answers the question with Yes. Returns what the message filter then returns to COM.
    static DWORD GiveUpCall(const Text& question)
    {
        CMessageRecorder user([] { return IDYES; });
        StallCall();
        const DWORD waiting = WhileCallWaits(170);
        EXPECT_EQ(user.TakeTexts(), std::vector<std::wstring>{L"(not plain) " + question.Current()});
        return waiting;
    }

    const std::wstring kProgId = L"Talvenor.Test.Session.30";
    const CLanguageScope m_language{1};
    CTempFolder m_folder;
    const std::wstring m_image = CopyWaitingProgram(m_folder);
    const CLSID m_classId = NewClassId();
    EventLog m_log;
    CFakeDispatch m_application{L"application", m_log};
    CScriptedClass m_class{m_classId, m_application};
    CScratchClasses m_classes;
    std::deque<CWaitingProcess> m_servers;  // references to the elements stay valid
    const CadTimeouts m_timeouts{.exit = 400, .connect = 800, .retryInterval = 50};
    CSldWorks m_sldWorks;
    std::optional<CServerProcess> m_process{std::in_place};
    std::optional<CCadSession> m_session;
};

TEST(CadTimeouts, AreHalfAMinuteForAnExitAndTwoForAConnection)
{
    const CadTimeouts timeouts;
    EXPECT_EQ((std::array{timeouts.exit, timeouts.connect, timeouts.retryInterval}),
              (std::array<DWORD, 3>{30'000, 120'000, 500}));
}

// ---- A server that ends slowly

TEST_F(CadSessionTest, AReconnectionWaitsUntilTheOldServerHasEnded)
{
    SetTimeouts({.exit = 10'000, .connect = 0, .retryInterval = 0});
    const CWaitingProcess& server = LetGoOwnServer();
    server.EndLater(500);
    EXPECT_TRUE(WaitsForEndOf(server, &CCadSession::Reconnect));
}

TEST_F(CadSessionTest, AReconnectionEndsAnOldServerThatStays)
{
    const CWaitingProcess& server = LetGoOwnServer();
    const ULONGLONG start = GetTickCount64();
    EXPECT_TRUE(WaitsForEndOf(server, &CCadSession::Reconnect));
    EXPECT_GE(GetTickCount64() - start, m_timeouts.exit - 20);
}

TEST_F(CadSessionTest, AReconnectionNeverEndsAnEarlierServer)
{
    const CWaitingProcess& server = LetGoEarlierServer();
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(m_session->Reconnect(), Outcome::connected);
    EXPECT_LT(GetTickCount64() - start, m_timeouts.exit);
    EXPECT_FALSE(server.Ends(kNotLong));
}

TEST_F(CadSessionTest, TheNextRunWaitsForTheServerOfTheLast)
{
    const CWaitingProcess& server = LetGoOwnServer();
    SetTimeouts({.exit = 10'000, .connect = 0, .retryInterval = 0});
    server.EndLater(500);
    EXPECT_TRUE(WaitsForEndOf(server, &CCadSession::Connect));
}

TEST_F(CadSessionTest, TheNextRunEndsNoServer)
{
    const CWaitingProcess& server = LetGoOwnServer();
    SetTimeouts(m_timeouts);
    m_class.m_onCreate = nullptr;
    EXPECT_EQ(m_session->Connect(), Outcome::connected);
    m_session->Release();
    EXPECT_FALSE(server.Ends(kNotLong));
}

TEST_F(CadSessionTest, AReleaseDoesNotWait)
{
    StartServers();
    ASSERT_EQ(m_session->Connect(), Outcome::connected);
    const ULONGLONG start = GetTickCount64();
    m_session->Release();
    m_session.reset();
    EXPECT_LT(GetTickCount64() - start, m_timeouts.exit);
    EXPECT_FALSE(m_servers[0].Ends(0));
}

// The session is released twice, because the destructor of a run releases the session once more.
TEST_F(CadSessionTest, AServerThatCouldNotBeAskedToEndEndsWithTheProgram)
{
    StartServers();
    ASSERT_EQ(m_session->Connect(), Outcome::connected);
    m_application.On(kExit, [](FakeCall&) { return E_FAIL; });
    m_session->Release();
    m_session->Release();
    m_session.reset();
    EXPECT_FALSE(m_servers[0].Ends(kNotLong));
    m_process.reset();
    EXPECT_TRUE(m_servers[0].Ends());
}

// A server that breaks the connection during the exit call may still be saving.
TEST_F(CadSessionTest, AServerThatGoesWithoutAnAnswerIsLeftAlone)
{
    for (const HRESULT status : {kUnavailable, HRESULT_FROM_WIN32(RPC_S_CALL_FAILED),
                                 HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE), HRESULT{RPC_E_DISCONNECTED}}) {
        SCOPED_TRACE(status);
        m_session.reset();
        m_process.emplace();
        SetTimeouts(m_timeouts);
        StartServers();
        m_application.On(kExit, [status](FakeCall&) { return status; });
        ASSERT_EQ(m_session->Connect(), Outcome::connected);
        m_session->Release();
        m_session.reset();
        m_process.reset();
        EXPECT_FALSE(m_servers.back().Ends(kNotLong));
        m_servers.clear();
    }
}

class CPaintedWindow : public CPlainWindow
{
public:
    int m_painted = 0;
    int m_keys = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        m_painted += message == WM_PAINT ? 1 : 0;
        m_keys += message == WM_KEYDOWN ? 1 : 0;
        return CPlainWindow::WindowProc(message, wParam, lParam);
    }
};

TEST_F(CadSessionTest, WindowsArePaintedWhileItWaits)
{
    LetGoOwnServer();
    CPaintedWindow window;
    DrainMessages();
    window.m_painted = 0;
    InvalidateRect(window.m_hWnd, nullptr, TRUE);
    PostMessageW(window.m_hWnd, WM_KEYDOWN, VK_ESCAPE, 0);
    m_class.m_onCreate = [&window] {
        EXPECT_EQ(window.m_painted, 1);
        return S_OK;
    };
    EXPECT_EQ(m_session->Reconnect(), Outcome::connected);
    EXPECT_EQ(window.m_keys, 0) << "input stays in the queue";
}

TEST_F(CadSessionTest, TheEndOfTheWindowsSessionEndsTheWait)
{
    SetTimeouts({.exit = 20'000, .connect = 20'000, .retryInterval = 10'000});
    const CWaitingProcess& server = LetGoOwnServer();
    CWinApp::Get()->SetSessionEnding(true);
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(m_session->Reconnect(), Outcome::notLoaded);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_LT(GetTickCount64() - start, 10'000U);
    EXPECT_EQ(m_class.m_created, 1);
    EXPECT_FALSE(server.Ends(0));
}

// ---- A connection that fails while a server starts or ends

TEST_F(CadSessionTest, RetriesWhileTheOldServerIsAlive)
{
    for (const HRESULT status :
         {kUnavailable, HRESULT_FROM_WIN32(RPC_S_CALL_FAILED), HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE),
          RPC_E_DISCONNECTED, CO_E_SERVER_EXEC_FAILURE, CO_E_SERVER_STOPPING, E_FAIL}) {
        SCOPED_TRACE(status);
        LetGoEarlierServer();
        FailConnections(3, status);
        EXPECT_EQ(m_session->Reconnect(), Outcome::connected);
        EXPECT_EQ(m_class.m_created, 4);
        m_session->Release();
        SetTimeouts(m_timeouts);
        FailConnections(3, status);
        EXPECT_EQ(m_session->Connect(), Outcome::connected) << "in the next run";
        m_session->Release();
    }
}

TEST_F(CadSessionTest, OtherFailuresAreNotRetried)
{
    for (const HRESULT status : {RPC_E_CALL_REJECTED, E_UNEXPECTED, REGDB_E_CLASSNOTREG, E_OUTOFMEMORY}) {
        SCOPED_TRACE(status);
        LetGoEarlierServer();
        FailConnections(1, status);
        EXPECT_EQ(m_session->Reconnect(), Outcome::notLoaded);
        EXPECT_EQ(m_class.m_created, 1);
    }
}

TEST_F(CadSessionTest, WithoutAServerAFailureIsNotRetried)
{
    FailConnections(1, kUnavailable);
    EXPECT_EQ(m_session->Connect(), Outcome::notLoaded);
    EXPECT_EQ(m_class.m_created, 1);
}

TEST_F(CadSessionTest, AnEarlierServerIsNotWaitedFor)
{
    StartEarlierServer();
    FailConnections(1, kUnavailable);
    EXPECT_EQ(m_session->Connect(), Outcome::notLoaded);
    EXPECT_EQ(m_class.m_created, 1);
}

TEST_F(CadSessionTest, RetriesWhileANewServerStarts)
{
    int tries = 0;
    m_class.m_onCreate = [this, &tries] {
        if (++tries == 1) {
            m_servers.emplace_back(m_image);
        }
        return tries < 4 ? CO_E_SERVER_EXEC_FAILURE : S_OK;
    };
    EXPECT_EQ(m_session->Connect(), Outcome::connected);
    EXPECT_EQ(tries, 4);
}

TEST_F(CadSessionTest, StopsTryingWhenTheServerIsGone)
{
    SetTimeouts({.exit = 0, .connect = 60'000, .retryInterval = 50});
    LetGoEarlierServer();
    m_class.m_onCreate = [this] {
        if (m_class.m_created == 2) {
            m_servers.clear();
        }
        return kUnavailable;
    };
    EXPECT_EQ(m_session->Reconnect(), Outcome::notLoaded);
    EXPECT_EQ(m_class.m_created, 4)
        << "the server was alive at the start of the third try, so a fourth follows";
}

TEST_F(CadSessionTest, StopsTryingAfterTheTimeout)
{
    LetGoEarlierServer();
    m_class.m_onCreate = [] { return kUnavailable; };
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(m_session->Reconnect(), Outcome::notLoaded);
    EXPECT_GE(GetTickCount64() - start, m_timeouts.connect);
    EXPECT_GT(m_class.m_created, 3);
    EXPECT_LE(m_class.m_created, 17) << "there is a pause between the tries";
}

TEST_F(CadSessionTest, AFailedFirstCallIsRetriedOnANewConnection)
{
    LetGoEarlierServer();
    int calls = 0;
    m_application.On(kGetDateCode, [&calls](FakeCall& call) {
        return ++calls < 3 ? RPC_E_DISCONNECTED : AnswerLong(2024100)(call);
    });
    EXPECT_EQ(m_session->Reconnect(), Outcome::connected);
    EXPECT_EQ(m_class.m_created, 3);
    EXPECT_EQ(m_application.References(), 1);
}

TEST_F(CadSessionTest, AFirstCallThatTheServerAnswersIsNotRetried)
{
    for (const HRESULT status : {RPC_E_CALL_REJECTED, E_FAIL}) {
        SCOPED_TRACE(status);
        m_application.On(kGetDateCode, AnswerLong(2024100));
        LetGoEarlierServer();
        m_application.On(kGetDateCode, [status](FakeCall&) { return status; });
        EXPECT_EQ(m_session->Reconnect(), Outcome::notLoaded);
        EXPECT_EQ(m_class.m_created, 1);
    }
}

TEST_F(CadSessionTest, AServerThatRefusesItsFirstCallIsReplaced)
{
    SetTimeouts({.exit = 200, .connect = 10'000, .retryInterval = 50});
    StartServers();
    m_application.On(kGetDateCode, [this](FakeCall& call) {
        return m_servers.size() == 1 ? kUnavailable : AnswerLong(2024100)(call);
    });
    EXPECT_EQ(m_session->Connect(), Outcome::connected);
    ASSERT_EQ(m_servers.size(), 2U);
    EXPECT_TRUE(m_servers[0].Ends(0));
    EXPECT_FALSE(m_servers[1].Ends(0));
}

// The old server was asked to exit, but outlasts the run's wait. COM starts no other server until the old
// server has ended.
TEST_F(CadSessionTest, AnOldServerThatRefusesTheNextRunIsEnded)
{
    LetGoOwnServer();
    SetTimeouts({.exit = 200, .connect = 10'000, .retryInterval = 50});
    m_class.m_onCreate = [this] {
        if (m_servers[0].Ends(0)) {
            m_servers.emplace_back(m_image);
        }
        return S_OK;
    };
    m_application.On(kGetDateCode, [this](FakeCall& call) {
        return m_servers.size() == 1 ? RPC_E_DISCONNECTED : AnswerLong(2024100)(call);
    });
    EXPECT_EQ(m_session->Connect(), Outcome::connected);
    EXPECT_TRUE(m_servers[0].Ends(0));
}

TEST_F(CadSessionTest, AServerThatIsTooOldIsNotRetried)
{
    m_application.On(kGetDateCode, AnswerLong(1999249));
    EXPECT_EQ(m_session->Connect(), Outcome::tooOld);
    EXPECT_EQ(m_class.m_created, 1);
}

// ---- A call that does not return

TEST_F(CadSessionTest, StalledCallsAreHandledWhileThereIsAConnection)
{
    std::vector<DWORD> answers;
    m_class.m_onCreate = [&answers] {
        answers.push_back(WhileCallWaits());
        return S_OK;
    };
    m_application.On(kGetDateCode, [&answers](FakeCall& call) {
        answers.push_back(WhileCallWaits());
        return AnswerLong(2024100)(call);
    });
    m_application.On(kExit, [&answers](FakeCall&) {
        answers.push_back(WhileCallWaits());
        return S_OK;
    });
    EXPECT_EQ(m_session->Connect(), Outcome::connected);
    m_session->Release();
    answers.push_back(WhileCallWaits());
    EXPECT_EQ(answers, (std::vector<DWORD>{PENDINGMSG_WAITDEFPROCESS, PENDINGMSG_WAITNOPROCESS,
                                           PENDINGMSG_WAITNOPROCESS, PENDINGMSG_WAITDEFPROCESS}));
}

TEST_F(CadSessionTest, AYesEndsItsOwnServer)
{
    StartServers();
    ASSERT_EQ(m_session->Connect(), Outcome::connected);
    EXPECT_EQ(GiveUpCall(expected::kEndCad), DWORD{PENDINGMSG_WAITNOPROCESS})
        << "the end of the server makes the call fail";
    EXPECT_TRUE(m_servers[0].Ends());
    m_application.On(kExit, [](FakeCall&) { return kUnavailable; });
    m_session->Release();
    EXPECT_EQ(m_session->Reconnect(), Outcome::connected);
    EXPECT_EQ(m_servers.size(), 2U);
}

TEST_F(CadSessionTest, AYesStopsWaitingForAnEarlierServer)
{
    m_servers.emplace_back(m_image);
    ASSERT_EQ(m_session->Connect(), Outcome::connected);
    EXPECT_EQ(GiveUpCall(expected::kStopWaiting), DWORD{PENDINGMSG_CANCELCALL});
    EXPECT_FALSE(m_servers[0].Ends(kNotLong));
    bool askedToEnd = false;
    m_application.On(kExit, [&askedToEnd](FakeCall&) {
        askedToEnd = true;
        return RPC_E_CALL_CANCELED;
    });
    m_session->Release();
    EXPECT_FALSE(askedToEnd) << "it would end, with the user's work in it, once it responds again";
    EXPECT_EQ(m_session->Reconnect(), Outcome::notLoaded);
    EXPECT_EQ(m_class.m_created, 1);
    EXPECT_EQ(WhileCallWaits(), DWORD{PENDINGMSG_WAITDEFPROCESS});
}

TEST_F(CadSessionTest, AfterAYesBetweenTwoTriesNoOtherIsMade)
{
    LetGoEarlierServer();
    m_application.On(kGetDateCode, [](FakeCall&) { return RPC_E_DISCONNECTED; });
    m_application.On(kExit, [](FakeCall&) {
        EXPECT_EQ(GiveUpCall(expected::kStopWaiting), DWORD{PENDINGMSG_CANCELCALL});
        return RPC_E_CALL_CANCELED;
    });
    EXPECT_EQ(m_session->Reconnect(), Outcome::notLoaded);
    EXPECT_EQ(m_class.m_created, 1);
}

TEST_F(CadSessionTest, AfterAYesInTheFirstCallNoOtherTryIsMade)
{
    StartServers();
    m_application.On(kGetDateCode, [](FakeCall&) {
        EXPECT_EQ(GiveUpCall(expected::kEndCad), DWORD{PENDINGMSG_WAITNOPROCESS});
        return HRESULT_FROM_WIN32(RPC_S_CALL_FAILED);
    });
    EXPECT_EQ(m_session->Connect(), Outcome::notLoaded);
    EXPECT_EQ(m_class.m_created, 1);
}

TEST_F(CadSessionTest, AsksInEnglish)
{
    const CLanguageScope english(0);
    StartServers();
    CMessageRecorder user([] { return IDNO; });
    ASSERT_EQ(m_session->Connect(), Outcome::connected);
    StallCall();
    m_session->Release();
    DrainMessages();
    m_class.m_onCreate = nullptr;
    ASSERT_EQ(m_session->Reconnect(), Outcome::connected) << "this connection starts no process";
    StallCall();
    ASSERT_EQ(user.m_boxes.size(), 2U);
    EXPECT_EQ(user.m_boxes[0].text, expected::kEndCad.english);
    EXPECT_EQ(user.m_boxes[1].text, expected::kStopWaiting.english);
}

// ---- A server that its user works in

TEST_F(CadSessionTest, AServerThatItsUserWorksInIsLeftAlone)
{
    StartServers();
    ASSERT_EQ(m_session->Connect(), Outcome::connected);
    m_servers[0].ShowMainWindow();
    m_session->LeaveToUserIfShown();
    m_servers[0].CloseMainWindow();
    m_application.On(kExit, [](FakeCall&) { return E_FAIL; });
    m_session->Release();
    EXPECT_EQ(m_session->Reconnect(), Outcome::connected);
    EXPECT_FALSE(m_servers[0].Ends(kNotLong));
}

}  // namespace
