#include "framework/PaintingWait.h"

#include <gtest/gtest.h>

#include <thread>

#include "framework/WinApp.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

// A window that counts its paint messages and pressed keys. While m_staysInvalid is true, the window leaves
// its region invalid.
class CPaintedWindow : public CPlainWindow
{
public:
    CPaintedWindow() { DrainMessages(); }

    int m_painted = 0;
    bool m_staysInvalid = false;
    int m_keys = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        m_keys += message == WM_KEYDOWN ? 1 : 0;
        if (message == WM_PAINT) {
            ++m_painted;
            if (m_staysInvalid) {
                return 0;
            }
        }
        return CPlainWindow::WindowProc(message, wParam, lParam);
    }
};

TEST(PaintingWait, PaintsAndLeavesInputInTheQueue)
{
    CPaintedWindow window;
    window.m_painted = 0;
    InvalidateRect(window.m_hWnd, nullptr, TRUE);
    PostMessageW(window.m_hWnd, WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_FALSE(WaitPainting(nullptr, 50));
    EXPECT_EQ(window.m_painted, 1);
    EXPECT_EQ(window.m_keys, 0);
    MSG message{};
    EXPECT_TRUE(PeekMessageW(&message, window.m_hWnd, WM_KEYDOWN, WM_KEYDOWN, PM_REMOVE));
}

TEST(PaintingWait, AWindowThatStaysInvalidDoesNotHoldIt)
{
    CPaintedWindow window;
    window.m_staysInvalid = true;
    window.m_painted = 0;
    InvalidateRect(window.m_hWnd, nullptr, TRUE);
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(WaitPainting(nullptr, 100));
    EXPECT_LT(GetTickCount64() - start, 5'000U);
}

TEST(PaintingWait, EndsWithItsObject)
{
    const UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    EXPECT_FALSE(WaitPainting(event.get(), 0));
    std::thread other([&event] {
        Sleep(100);
        SetEvent(event.get());
    });
    EXPECT_TRUE(WaitPainting(event.get(), 10'000));
    other.join();
    EXPECT_TRUE(WaitPainting(event.get(), 0));
}

TEST(PaintingWait, TakesTheWholeTime)
{
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(WaitPainting(nullptr, 200));
    EXPECT_GE(GetTickCount64() - start, 180U);
}

// A program that broadcasts a message waits until every window has handled it.
TEST(PaintingWait, AnswersSentMessages)
{
    CPaintedWindow window;
    DWORD_PTR result = 0;
    LRESULT sent = 0;
    std::thread other([&] {
        Sleep(100);
        sent = SendMessageTimeoutW(window.m_hWnd, WM_NULL, 0, 0, SMTO_NORMAL, 500, &result);
    });
    EXPECT_FALSE(WaitPainting(nullptr, 1'000));
    other.join();
    EXPECT_NE(sent, 0);
}

// Windows announces the end of the session by a sent message. Here WM_APP takes the place of that message.
TEST(PaintingWait, EndsWithTheSession)
{
    class CSessionWindow : public CPlainWindow
    {
    protected:
        LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
        {
            if (message == WM_APP) {
                CWinApp::Get()->SetSessionEnding(true);
            }
            return CPlainWindow::WindowProc(message, wParam, lParam);
        }
    };
    const CSessionWindow window;
    std::thread other([&window] {
        Sleep(100);
        SendMessageW(window.m_hWnd, WM_APP, 0, 0);
    });
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(WaitPainting(nullptr, 20'000));
    EXPECT_FALSE(WaitPainting(nullptr, 20'000));
    EXPECT_LT(GetTickCount64() - start, 10'000U);
    other.join();
    CWinApp::Get()->SetSessionEnding(false);
}

TEST(PaintingWait, KeepsTheRequestToQuit)
{
    PostQuitMessage(7);
    EXPECT_FALSE(WaitPainting(nullptr, 50));
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 7U);
}

}  // namespace
