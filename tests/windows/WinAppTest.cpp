#include "framework/WinApp.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/windows/WindowScopes.h"

namespace {

// Notes the messages that it is sent of those that a test posts.
class CNotingWindow : public CPlainWindow
{
public:
    std::vector<UINT> m_messages;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        m_messages.push_back(message);
        return CPlainWindow::WindowProc(message, wParam, lParam);
    }
};

TEST(WinApp, DropsPendingInputAndNothingElse)
{
    CNotingWindow window;
    DrainMessages();
    const std::vector<UINT> input{WM_KEYDOWN,    WM_KEYUP,         WM_CHAR,        WM_SYSKEYDOWN,
                                  WM_MOUSEMOVE,  WM_LBUTTONDOWN,   WM_LBUTTONUP,   WM_RBUTTONDBLCLK,
                                  WM_MOUSEWHEEL, WM_NCLBUTTONDOWN, WM_NCMOUSEMOVE, WM_POINTERDOWN};
    for (const UINT message : input) {
        window.PostMessage(message);
        window.PostMessage(WM_APP + 1);
    }
    window.PostMessage(WM_COMMAND);
    window.m_messages.clear();
    CWinApp::DropPendingInput();
    EXPECT_EQ(window.m_messages, std::vector<UINT>{}) << "nothing was dispatched";
    DrainMessages();
    std::vector<UINT> kept(input.size(), WM_APP + 1);
    kept.push_back(WM_COMMAND);
    std::erase_if(window.m_messages, [](UINT message) { return message < WM_APP && message != WM_COMMAND; });
    EXPECT_EQ(window.m_messages, kept);
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
