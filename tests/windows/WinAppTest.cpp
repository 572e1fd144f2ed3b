#include "framework/WinApp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/WindowScopes.h"

namespace {

// Records which posted messages reach the window.
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
    EXPECT_EQ(window.m_messages, (std::vector<UINT>{WM_COMMAND, WM_APP, WM_SYSCOMMAND}));
}

TEST(WinApp, KeepsTheEndOfTheProgramWhenItDropsInput)
{
    PostQuitMessage(3);
    CWinApp::DropPendingInput();
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 3U);
}

}  // namespace
