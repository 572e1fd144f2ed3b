#include "framework/OleMessageFilter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <new>
#include <vector>

#include "framework/ScopeExit.h"
#include "framework/WinApp.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

// The tests call the filter as COM does on Windows. Calls through Wine's COM would not test it: Wine 8 never
// asks the filter about a rejected call, and dispatches messages whatever MessagePending returns. Wine 8 also
// returns from a cancelled call while one of its threads still uses the call's data.
constexpr DWORD kCancelled = static_cast<DWORD>(-1);

// The filter that is registered for this thread.
IMessageFilterPtr FilterInPlace()
{
    IMessageFilterPtr current;
    CoRegisterMessageFilter(nullptr, &current);
    IMessageFilterPtr none;
    CoRegisterMessageFilter(current, &none);
    return current;
}

// Whether a result of RetryRejectedCall makes COM retry the call after 100 to 1000 milliseconds.
bool IsRetryAfterShortWait(DWORD answer)
{
    return answer >= 100 && answer <= 1000;
}

// A handler that counts how often the filter gives up on the server.
class CFakeHandler : public CStalledCallHandler
{
public:
    bool m_endsServer = false;
    int m_givenUp = 0;

    [[nodiscard]] std::wstring Question() const override { return L"Noch warten?"; }
    [[nodiscard]] bool GiveUp() override
    {
        ++m_givenUp;
        return m_endsServer;
    }
};

// A filter with a handler and a delay of one second, and a window with an empty queue. The user answers every
// question with m_answer. The test takes the part of COM: Pend and Reject tell the filter for how many
// milliseconds a call has been pending or rejected.
class StalledCallTest : public testing::Test
{
protected:
    static constexpr DWORD kDelay = 1000;
    static constexpr DWORD kLongAfter = 5000;

    StalledCallTest()
    {
        DrainMessages();
        m_filter.SetBusyDelay(kDelay);
        m_filter.SetStalledCallHandler(&m_handler);
    }
    ~StalledCallTest() override
    {
        m_filter.SetStalledCallHandler(nullptr);
        TakeQueue();
    }

    DWORD Pend(DWORD milliseconds)
    {
        return m_filter.MessagePending(nullptr, milliseconds, PENDINGTYPE_TOPLEVEL);
    }
    DWORD Reject(DWORD milliseconds)
    {
        return m_filter.RetryRejectedCall(nullptr, milliseconds, SERVERCALL_RETRYLATER);
    }

    // Takes the posted messages out of the window's queue.
    std::vector<UINT> TakeQueue() const
    {
        std::vector<UINT> messages;
        for (MSG message{};
             PeekMessageW(&message, m_window.m_hWnd, 0, 0, PM_REMOVE | PM_QS_POSTMESSAGE) != FALSE;) {
            messages.push_back(message.message);
        }
        return messages;
    }

    // Takes a message that was posted to the thread. Returns whether it is the WM_NULL that makes COM ask the
    // filter again.
    static bool TakeWakeUp()
    {
        MSG message{};
        return PeekMessageW(&message, reinterpret_cast<HWND>(-1), 0, 0, PM_REMOVE) != FALSE &&
               message.message == WM_NULL;
    }

    int m_answer = IDNO;
    CMessageRecorder m_user{[this] { return m_answer; }};
    CFakeHandler m_handler;
    COleMessageFilter m_filter;
    CPlainWindow m_window;
};

TEST(OleMessageFilter, TakesIncomingCallsAndWithoutAHandlerLetsPendingOnesWait)
{
    CMessageRecorder user([] { return IDYES; });
    COleMessageFilter filter;
    CPlainWindow window;
    window.PostMessage(WM_KEYDOWN, VK_SPACE);
    EXPECT_EQ(filter.HandleInComingCall(CALLTYPE_TOPLEVEL, nullptr, 0, nullptr), DWORD{SERVERCALL_ISHANDLED});
    EXPECT_EQ(filter.MessagePending(nullptr, 0, PENDINGTYPE_TOPLEVEL), DWORD{PENDINGMSG_WAITDEFPROCESS});
    EXPECT_EQ(filter.MessagePending(nullptr, 600000, PENDINGTYPE_NESTED), DWORD{PENDINGMSG_WAITDEFPROCESS});
    EXPECT_TRUE(user.m_boxes.empty());
}

TEST(OleMessageFilter, WithoutAHandlerARejectedCallFailsAfterTheDelay)
{
    CMessageRecorder user([] { return IDNO; });
    COleMessageFilter filter;
    for (const DWORD rejectType : {SERVERCALL_RETRYLATER, SERVERCALL_REJECTED}) {
        EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 0, rejectType)));
        EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 4999, rejectType)));
        EXPECT_EQ(filter.RetryRejectedCall(nullptr, 5000, rejectType), kCancelled);
    }
    filter.SetBusyDelay(60000);
    EXPECT_TRUE(IsRetryAfterShortWait(filter.RetryRejectedCall(nullptr, 59999, SERVERCALL_RETRYLATER)));
    EXPECT_EQ(filter.RetryRejectedCall(nullptr, 60000, SERVERCALL_RETRYLATER), kCancelled);
    EXPECT_TRUE(user.m_boxes.empty()) << "without a handler there is no question";
}

TEST_F(StalledCallTest, LeavesKeysAndClicksInTheQueue)
{
    const std::vector<UINT> input{WM_KEYDOWN, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_KEYUP};
    for (const UINT message : input) {
        m_window.PostMessage(message);
    }
    EXPECT_EQ(Pend(0), DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_EQ(Pend(kDelay - 1), DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_EQ(TakeQueue(), input);
    EXPECT_TRUE(m_user.m_boxes.empty());
}

TEST_F(StalledCallTest, PaintsDuringTheCall)
{
    InvalidateRect(m_window.m_hWnd, nullptr, TRUE);
    ASSERT_TRUE(GetUpdateRect(m_window.m_hWnd, nullptr, FALSE));
    Pend(0);
    EXPECT_FALSE(GetUpdateRect(m_window.m_hWnd, nullptr, FALSE));
}

// While m_validates is false, the window leaves its region invalid and gets one WM_PAINT after another.
class CNeverPaintedWindow : public CPlainWindow
{
public:
    bool m_validates = true;
    int m_paints = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_PAINT && !m_validates) {
            ++m_paints;
            return 0;
        }
        return CPlainWindow::WindowProc(message, wParam, lParam);
    }
};

TEST_F(StalledCallTest, PaintsAHundredTimesAtMost)
{
    CNeverPaintedWindow window;
    DrainMessages();
    window.m_validates = false;
    InvalidateRect(window.m_hWnd, nullptr, TRUE);
    Pend(0);
    EXPECT_EQ(window.m_paints, 100);
}

TEST_F(StalledCallTest, LeavesTheEndOfTheProgramInTheQueue)
{
    for (const DWORD milliseconds : {DWORD{0}, kLongAfter}) {
        PostQuitMessage(7);
        EXPECT_EQ(Pend(milliseconds), DWORD{PENDINGMSG_WAITNOPROCESS});
        MSG message{};
        ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
        EXPECT_EQ(message.wParam, 7U);
    }
}

TEST_F(StalledCallTest, AsksNothingUnlessSomethingIsPressed)
{
    for (const UINT message : std::initializer_list<UINT>{WM_MOUSEMOVE, WM_KEYUP, WM_LBUTTONUP, WM_MOUSEWHEEL,
                                                          WM_APP, WM_NCMOUSEMOVE}) {
        m_window.PostMessage(message);
    }
    EXPECT_EQ(Pend(kLongAfter), DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_TRUE(m_user.m_boxes.empty());
}

TEST_F(StalledCallTest, AsksOnceAtAPress)
{
    for (const UINT message : std::initializer_list<UINT>{
             WM_KEYDOWN, WM_SYSKEYDOWN, WM_LBUTTONDOWN, WM_RBUTTONDOWN, WM_MBUTTONDOWN, WM_XBUTTONDOWN,
             WM_LBUTTONDBLCLK, WM_NCLBUTTONDOWN, WM_NCRBUTTONDOWN, WM_POINTERDOWN, WM_NCPOINTERDOWN}) {
        SCOPED_TRACE(message);
        COleMessageFilter filter;
        filter.SetBusyDelay(kDelay);
        filter.SetStalledCallHandler(&m_handler);
        m_user.m_boxes.clear();
        m_window.PostMessage(message);
        EXPECT_EQ(filter.MessagePending(nullptr, kLongAfter, PENDINGTYPE_TOPLEVEL),
                  DWORD{PENDINGMSG_WAITNOPROCESS});
        EXPECT_EQ(filter.MessagePending(nullptr, kLongAfter, PENDINGTYPE_TOPLEVEL),
                  DWORD{PENDINGMSG_WAITNOPROCESS});
        ASSERT_EQ(m_user.m_boxes.size(), 1U);
        EXPECT_EQ(m_user.m_boxes[0].text, L"Noch warten?");
        EXPECT_EQ(m_user.m_boxes[0].type, UINT{MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2});
        EXPECT_EQ(TakeQueue(), std::vector<UINT>{});
    }
}

// While the session ends, the program shows no message box. The conversion run must end, so the filter does
// not wait for the server.
TEST_F(StalledCallTest, WhileTheSessionEndsAPressGivesTheServerUpUnasked)
{
    CWinApp::Get()->SetSessionEnding(true);
    const CScopeExit sessionStays([] { CWinApp::Get()->SetSessionEnding(false); });
    m_window.PostMessage(WM_KEYDOWN);
    Pend(kLongAfter);
    Pend(kLongAfter);
    EXPECT_EQ(m_handler.m_givenUp, 1);
    EXPECT_TRUE(m_user.m_boxes.empty());
}

TEST_F(StalledCallTest, APressOnADisabledWindowCounts)
{
    EXPECT_FALSE(TakeWakeUp());
    m_filter.NotePress();
    EXPECT_TRUE(TakeWakeUp())
        << "the system queues no message for a press on a disabled window, so the filter posts one";
    Pend(kLongAfter);
    EXPECT_EQ(m_user.m_boxes.size(), 1U);
    Pend(kLongAfter);
    EXPECT_EQ(m_user.m_boxes.size(), 1U);
}

TEST_F(StalledCallTest, APressBeforeTheDelayHadPassedDoesNotCount)
{
    m_filter.NotePress();
    m_window.PostMessage(WM_KEYDOWN, VK_ESCAPE);
    Sleep(50);
    Pend(kDelay);
    EXPECT_TRUE(m_user.m_boxes.empty());
}

TEST_F(StalledCallTest, OnlyInputMadeAfterTheDelayIsTakenOut)
{
    m_window.PostMessage(WM_LBUTTONDOWN);
    m_window.PostMessage(WM_KEYDOWN, VK_ESCAPE);
    m_window.PostMessage(WM_LBUTTONUP);
    Sleep(50);
    Pend(kDelay);  // finds no press after the delay, and holds the input
    m_window.PostMessage(WM_RBUTTONDOWN);
    m_window.PostMessage(WM_KEYUP);
    Pend(kDelay + 20);
    EXPECT_EQ(m_user.m_boxes.size(), 1U);
    m_filter.ReturnHeldInput();
    std::vector<UINT> queue = TakeQueue();
    std::ranges::sort(queue);
    EXPECT_EQ(queue, (std::vector<UINT>{WM_KEYDOWN, WM_LBUTTONDOWN, WM_LBUTTONUP}));
}

// The default handling of a press on the frame waits for the release of the button. By the time a held press
// comes back, the button may have been released already.
TEST_F(StalledCallTest, OfHeldPressesOnTheFrameOnlyTheCloseButtonsComesBack)
{
    for (const WPARAM place : {WPARAM{HTCAPTION}, WPARAM{HTCLOSE}, WPARAM{HTBOTTOMRIGHT}}) {
        m_window.PostMessage(WM_NCLBUTTONDOWN, place);
        m_window.PostMessage(WM_NCLBUTTONUP, place);
        m_window.PostMessage(WM_NCRBUTTONDOWN, place);
    }
    m_filter.HoldInput();
    m_filter.ReturnHeldInput();
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, m_window.m_hWnd, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, UINT{WM_SYSCOMMAND});
    EXPECT_EQ(message.wParam, WPARAM{SC_CLOSE});
    EXPECT_EQ(TakeQueue(), std::vector<UINT>{});
}

TEST_F(StalledCallTest, TheQuestionGetsNoOlderInput)
{
    std::vector<UINT> queueOfTheBox{WM_NULL};
    const CMessageRecorder user([&] {
        queueOfTheBox = TakeQueue();
        return IDNO;
    });
    m_window.PostMessage(WM_KEYDOWN, VK_RETURN);
    Sleep(50);
    m_filter.NotePress();
    Pend(kDelay + 20);
    EXPECT_EQ(queueOfTheBox, std::vector<UINT>{});
    m_filter.SetStalledCallHandler(nullptr);
    EXPECT_EQ(TakeQueue(), std::vector<UINT>{WM_KEYDOWN})
        << "the removal of the handler posts the older input again";
}

TEST_F(StalledCallTest, NoWaitsForAnotherDelay)
{
    m_filter.SetBusyDelay(300);
    m_window.PostMessage(WM_KEYDOWN);
    Pend(400);
    ASSERT_EQ(m_user.m_boxes.size(), 1U);
    m_window.PostMessage(WM_KEYDOWN);
    Pend(5000);
    EXPECT_EQ(m_user.m_boxes.size(), 1U);
    Sleep(350);
    Pend(5350);
    EXPECT_EQ(m_user.m_boxes.size(), 1U) << "the only press came before the new delay had passed";
    m_window.PostMessage(WM_KEYDOWN);
    Pend(5350);
    EXPECT_EQ(m_user.m_boxes.size(), 2U);
    EXPECT_EQ(m_handler.m_givenUp, 0);
}

TEST_F(StalledCallTest, YesTakesEffectWhenComAsksAgain)
{
    m_answer = IDYES;
    m_window.PostMessage(WM_KEYDOWN);
    EXPECT_EQ(Pend(kLongAfter), DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_EQ(m_handler.m_givenUp, 0);
    EXPECT_TRUE(TakeWakeUp());
    EXPECT_EQ(Pend(kLongAfter + 20), DWORD{PENDINGMSG_CANCELCALL});
    EXPECT_EQ(m_handler.m_givenUp, 1);
    EXPECT_EQ(m_user.m_boxes.size(), 1U);
}

TEST_F(StalledCallTest, YesDoesNotTouchALaterCall)
{
    m_answer = IDYES;
    m_window.PostMessage(WM_KEYDOWN);
    Pend(kLongAfter);
    Sleep(50);
    EXPECT_EQ(Pend(10), DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_EQ(Pend(kDelay + 100), DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_EQ(m_handler.m_givenUp, 0);
}

TEST_F(StalledCallTest, AnEndedServerLetsTheCallFailByItself)
{
    m_answer = IDYES;
    m_handler.m_endsServer = true;
    m_window.PostMessage(WM_KEYDOWN);
    Pend(kLongAfter);
    TakeWakeUp();
    EXPECT_EQ(Pend(kLongAfter + 20), DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_EQ(m_handler.m_givenUp, 1);
    m_filter.PrepareCall();
    EXPECT_FALSE(TakeWakeUp());
    EXPECT_EQ(Pend(10), DWORD{PENDINGMSG_WAITNOPROCESS});
}

TEST_F(StalledCallTest, CancelsEveryCallOnAServerThatWasGivenUpUntilTheConnectionIsLetGo)
{
    m_filter.PrepareCall();
    EXPECT_FALSE(TakeWakeUp());
    m_answer = IDYES;
    m_window.PostMessage(WM_KEYDOWN);
    Pend(kLongAfter);
    TakeWakeUp();
    Pend(kLongAfter + 20);
    m_filter.PrepareCall();
    EXPECT_TRUE(TakeWakeUp());
    EXPECT_EQ(Pend(0), DWORD{PENDINGMSG_CANCELCALL});
    EXPECT_EQ(Reject(0), kCancelled);
    EXPECT_EQ(m_handler.m_givenUp, 1);
    m_filter.SetStalledCallHandler(&m_handler);
    m_filter.PrepareCall();
    EXPECT_FALSE(TakeWakeUp());
    EXPECT_EQ(Pend(0), DWORD{PENDINGMSG_WAITNOPROCESS});
}

TEST_F(StalledCallTest, ARejectedCallIsTriedAgainUntilTheDelayHasPassed)
{
    EXPECT_TRUE(IsRetryAfterShortWait(Reject(0)));
    EXPECT_TRUE(IsRetryAfterShortWait(Reject(kDelay - 1)));
    EXPECT_TRUE(m_user.m_boxes.empty());
    EXPECT_TRUE(IsRetryAfterShortWait(Reject(kDelay)));
    ASSERT_EQ(m_user.m_boxes.size(), 1U) << "a rejected call needs no press: the server waits for its user";
    EXPECT_EQ(m_user.m_boxes[0].text, L"Noch warten?");
    EXPECT_TRUE(IsRetryAfterShortWait(Reject(kLongAfter)));
    EXPECT_EQ(m_user.m_boxes.size(), 1U) << "the next question comes after another delay";
    EXPECT_EQ(m_handler.m_givenUp, 0);
}

TEST_F(StalledCallTest, YesCancelsACallThatIsRejectedOnceMore)
{
    m_answer = IDYES;
    EXPECT_TRUE(IsRetryAfterShortWait(Reject(kLongAfter)));
    EXPECT_EQ(m_handler.m_givenUp, 0);
    EXPECT_EQ(Reject(kLongAfter + 250), kCancelled);
    EXPECT_EQ(m_handler.m_givenUp, 1);
}

TEST_F(StalledCallTest, ARejectedCallToAnEndedServerIsTriedAgainAndFailsByItself)
{
    m_answer = IDYES;
    m_handler.m_endsServer = true;
    Reject(kLongAfter);
    EXPECT_TRUE(IsRetryAfterShortWait(Reject(kLongAfter + 250)));
    EXPECT_EQ(m_handler.m_givenUp, 1);
}

TEST_F(StalledCallTest, DoesNotAskWhileItAsks)
{
    DWORD pending = 0;
    DWORD rejected = 0;
    CMessageRecorder user([&] {
        m_window.PostMessage(WM_KEYDOWN);
        pending = Pend(100000);
        rejected = Reject(100000);
        return IDNO;
    });
    Reject(100000);
    EXPECT_EQ(pending, DWORD{PENDINGMSG_WAITNOPROCESS});
    EXPECT_TRUE(IsRetryAfterShortWait(rejected));
    EXPECT_EQ(user.m_boxes.size(), 1U);
    EXPECT_EQ(TakeQueue(), std::vector<UINT>{WM_KEYDOWN})
        << "input during the question belongs to the message box";
}

// COM cannot cope with a C++ exception.
TEST_F(StalledCallTest, WaitsOnWhenMemoryForTheQuestionIsShort)
{
    class CThrowingHandler : public CFakeHandler
    {
    public:
        [[nodiscard]] std::wstring Question() const override { throw std::bad_alloc(); }
    };
    CThrowingHandler handler;
    m_filter.SetStalledCallHandler(&handler);
    EXPECT_NO_THROW(EXPECT_TRUE(IsRetryAfterShortWait(Reject(kLongAfter))));
    m_window.PostMessage(WM_KEYDOWN, VK_SPACE);
    EXPECT_NO_THROW(EXPECT_EQ(Pend(kLongAfter), DWORD{PENDINGMSG_WAITNOPROCESS}));
    EXPECT_EQ(handler.m_givenUp, 0);
    m_filter.SetStalledCallHandler(&m_handler);
    Reject(kLongAfter);
    EXPECT_EQ(m_user.TakeTexts().size(), 1U) << "it asks again";
}

TEST(OleMessageFilter, IsInPlaceBetweenRegisterAndRevoke)
{
    const IMessageFilterPtr before = FilterInPlace();
    COleMessageFilter filter;
    EXPECT_TRUE(filter.Register());
    EXPECT_TRUE(filter.Register());
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), &filter);
    filter.Revoke();
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), before.GetInterfacePtr());
    filter.Revoke();
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), before.GetInterfacePtr());
}

TEST(OleMessageFilter, PutsTheFilterBeforeBackAndLeavesNoReference)
{
    COleMessageFilter outer;
    ASSERT_TRUE(outer.Register());
    {
        COleMessageFilter inner;
        ASSERT_TRUE(inner.Register());
        EXPECT_EQ(FilterInPlace().GetInterfacePtr(), &inner);
    }
    EXPECT_EQ(FilterInPlace().GetInterfacePtr(), &outer);
    outer.Revoke();
    EXPECT_EQ(outer.AddRef(), 2U);
}

TEST(OleMessageFilter, IsNothingButAMessageFilter)
{
    COleMessageFilter filter;
    IMessageFilterPtr asFilter;
    EXPECT_EQ(filter.QueryInterface(IID_IMessageFilter, reinterpret_cast<void**>(&asFilter)), S_OK);
    EXPECT_EQ(asFilter.GetInterfacePtr(), &filter);
    void* other = &filter;
    EXPECT_EQ(filter.QueryInterface(IID_IDispatch, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(filter.QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace
