#include "framework/WinApp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "framework/MessageBox.h"
#include "tests/support/WindowScopes.h"
#include "tests/windows/WaitingProgram.h"

namespace {

// Records in m_messages which of the messages in m_wanted reach the window.
class CNotingWindow : public CPlainWindow
{
public:
    std::vector<UINT> m_wanted;
    std::vector<UINT> m_messages;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (std::ranges::find(m_wanted, message) != m_wanted.end()) {
            m_messages.push_back(message);
        }
        return CPlainWindow::WindowProc(message, wParam, lParam);
    }
};

TEST(WinApp, DropsPendingInputAndNothingElse)
{
    CNotingWindow window;
    DrainMessages();
    window.m_wanted = {WM_KEYDOWN,       WM_COMMAND,    WM_CHAR,        WM_SYSKEYDOWN, WM_MOUSEMOVE,
                       WM_LBUTTONDOWN,   WM_LBUTTONUP,  WM_APP,         WM_MOUSEWHEEL, WM_RBUTTONDBLCLK,
                       WM_NCLBUTTONDOWN, WM_SYSCOMMAND, WM_NCMOUSEMOVE, WM_POINTERDOWN};
    for (const UINT message : window.m_wanted) {
        window.PostMessage(message);
    }
    CWinApp::DropPendingInput();
    EXPECT_EQ(window.m_messages, std::vector<UINT>{}) << "nothing is dispatched";
    DrainMessages();
    EXPECT_EQ(window.m_messages, (std::vector<UINT>{WM_SYSCOMMAND, WM_COMMAND, WM_APP}));
}

// Calls PumpPendingMessage `count` times. Returns the wanted messages that have reached the window.
std::vector<UINT> TakesOf(const CNotingWindow& window, std::size_t count)
{
    for (std::size_t take = 0; take < count; ++take) {
        CWinApp::PumpPendingMessage();
    }
    return window.m_messages;
}

TEST(WinApp, TakesAnEscapeFirstAndAClickNext)
{
    CNotingWindow window;
    DrainMessages();
    window.m_wanted = {WM_APP, WM_MOUSEMOVE, WM_KEYUP, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_KEYDOWN};
    for (const UINT message : window.m_wanted) {
        window.PostMessage(message, VK_ESCAPE);
    }
    const std::size_t takes = window.m_wanted.size() + 1;  // WM_KEYDOWN is translated to an extra WM_CHAR
    EXPECT_EQ(TakesOf(window, takes),
              (std::vector<UINT>{WM_KEYDOWN, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_KEYUP, WM_APP, WM_MOUSEMOVE}));
}

TEST(WinApp, AClickIsCompleteAtTheSecondTakeDespiteEarlierKeys)
{
    CNotingWindow window;
    DrainMessages();
    window.m_wanted = {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_KEYDOWN};
    for (const wchar_t key : {L'A', L'A', L'A'}) {
        window.PostMessage(WM_KEYDOWN, key);
    }
    window.PostMessage(WM_LBUTTONDOWN);
    window.PostMessage(WM_LBUTTONUP);
    EXPECT_EQ(TakesOf(window, 4), (std::vector<UINT>{WM_LBUTTONDOWN, WM_LBUTTONUP, WM_KEYDOWN, WM_KEYDOWN}));
}

// A handler that the tests install but never call.
class CSilentHandler : public CStalledCallHandler
{
public:
    [[nodiscard]] std::wstring Question() const override { return {}; }
    [[nodiscard]] bool GiveUp() override { return false; }
};

// Installs a handler of stalled calls until the end of the scope.
class CHandlerScope
{
public:
    CHandlerScope() { CWinApp::Get()->GetMessageFilter().SetStalledCallHandler(&m_handler); }
    ~CHandlerScope() { CWinApp::Get()->GetMessageFilter().SetStalledCallHandler(nullptr); }
    CHandlerScope(const CHandlerScope&) = delete;
    CHandlerScope& operator=(const CHandlerScope&) = delete;

private:
    CSilentHandler m_handler;
};

TEST(WinApp, TakesAndDropsHeldInputLikeAnyOther)
{
    CNotingWindow window;
    DrainMessages();
    window.m_wanted = {WM_KEYDOWN, WM_SYSCOMMAND};
    const CHandlerScope connected;
    window.PostMessage(WM_KEYDOWN);
    CWinApp::Get()->GetMessageFilter().HoldInput();
    CWinApp::PumpPendingMessage();
    EXPECT_EQ(window.m_messages.size(), 1U);
    window.PostMessage(WM_KEYDOWN);
    window.PostMessage(WM_NCLBUTTONDOWN, HTCLOSE);
    CWinApp::Get()->GetMessageFilter().HoldInput();
    CWinApp::DropPendingInput();
    DrainMessages();
    EXPECT_EQ(window.m_messages.size(), 1U);
}

// A key that was pressed during a call would close the message box unread.
TEST(WinApp, AMessageBoxDuringARunGetsNoEarlierKey)
{
    const CHandlerScope connected;
    CNotingWindow window;
    DrainMessages();
    window.m_wanted = {WM_KEYDOWN};
    window.PostMessage(WM_KEYDOWN, VK_RETURN);
    std::size_t keysDuringTheBox = 1;
    {
        const CTimerScope closer(50, [&] {
            if (const HWND box = FindWindowW(L"#32770", L"Talvenor"); box != nullptr) {
                keysDuringTheBox = window.m_messages.size();
                ::PostMessageW(box, WM_CLOSE, 0, 0);
            }
        });
        ShowMessage(L"Meldung");
    }
    EXPECT_EQ(keysDuringTheBox, 0U);
    CWinApp::PumpPendingMessage();
    EXPECT_EQ(window.m_messages.size(), 1U) << "PumpPendingMessage posts the held key again";
}

TEST(WinApp, KeepsTheEndOfTheProgramWhenItDropsInput)
{
    PostQuitMessage(3);
    CWinApp::DropPendingInput();
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 3U);
}

// A fail-fast end hands the exception to Windows Error Reporting and avoids the message box of the runtime
// library. Wine's runtime library shows no such box.
TEST(WinApp, AnUncaughtExceptionEndsTheProgramByFailFast)
{
    const CWaitingProcess process(OwnFolder() + L"\\throwingprogram.exe");
    ASSERT_TRUE(process.Ends());
    constexpr DWORD kFailFast = 0xC0000602;  // STATUS_FAIL_FAST_EXCEPTION
    EXPECT_EQ(process.ExitCode(), kFailFast);
}

}  // namespace
