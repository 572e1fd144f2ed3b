#include "framework/Wnd.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/Controls.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

constexpr UINT kAsk = WM_APP + 1;
constexpr UINT kFail = WM_APP + 2;
constexpr int kButton = 501;
constexpr int kOther = 502;

// A window with a small message map. All handlers but OnSetText log their calls in m_log.
class CTableWindow : public CWnd
{
public:
    std::vector<std::string> m_log;
    std::function<void()> m_onFail;
    bool m_passTextOn = true;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override
    {
        static constexpr std::array kEntries{
            OnMessage<&CTableWindow::OnAsk>(kAsk),
            OnMessage<&CTableWindow::OnFail>(kFail),
            OnMessage<&CTableWindow::OnSetText>(WM_SETTEXT),
            ::OnNotify<&CTableWindow::OnClick>(NM_CLICK),
            ::OnNotify<&CTableWindow::OnClick>(LVN_ENDLABELEDITW),
            ::OnCommand<&CTableWindow::OnButton>(kButton),
            ::OnCommand<&CTableWindow::OnKillFocus>(kOther, EN_KILLFOCUS),
        };
        static const MessageMap kMap{CWnd::GetMessageMap(), kEntries};
        return &kMap;
    }

    void PostNcDestroy() override { m_log.push_back(m_hWnd == nullptr ? "gone" : "gone too early"); }

private:
    LRESULT OnAsk(WPARAM wParam, LPARAM lParam)
    {
        m_log.push_back("ask");
        return static_cast<LRESULT>(wParam) + lParam;
    }
    void OnFail()
    {
        m_log.push_back("fail");
        m_onFail();
    }
    LRESULT OnSetText(WPARAM, LPARAM)
    {
        SendMessage(kAsk);
        if (m_onFail) {
            SendMessage(kFail);
        }
        return m_passTextOn ? Default() : FALSE;
    }
    LRESULT OnClick(NMHDR& header)
    {
        m_log.push_back(header.code == NM_CLICK ? "click" : "label edit");
        return 21;
    }
    void OnButton() { m_log.push_back("button"); }
    void OnKillFocus() { m_log.push_back("kill focus"); }
};

// A CTableWindow that is bound to a top-level window.
class CTopTableWindow : public CTableWindow
{
public:
    CTopTableWindow() { SubclassWindow(CPlainWindow().UnsubclassWindow()); }
    ~CTopTableWindow() override { CWnd::DestroyWindow(); }
};

TEST(Wnd, BindsOneObjectToOneWindow)
{
    const CPlainWindow plain;
    const HWND control = plain.AddControl(L"EDIT", kButton);
    CWnd first;
    CWnd second;
    EXPECT_FALSE(first.SubclassWindow(nullptr));
    EXPECT_FALSE(first.SubclassWindow(reinterpret_cast<HWND>(static_cast<INT_PTR>(0x7FFF0))));
    EXPECT_EQ(first.m_hWnd, nullptr);
    EXPECT_TRUE(first.SubclassWindow(control));
    EXPECT_EQ(first.m_hWnd, control);
    EXPECT_EQ(CWnd::FromHandle(control), &first);
    EXPECT_FALSE(second.SubclassWindow(control));
    EXPECT_EQ(second.m_hWnd, nullptr);
    EXPECT_FALSE(first.SubclassWindow(plain.AddControl(L"EDIT", kOther)));
    EXPECT_EQ(first.m_hWnd, control);
    EXPECT_EQ(CWnd::FromHandle(nullptr), nullptr);
}

TEST(Wnd, AnUnboundWindowLivesOnWithoutTheObject)
{
    const CPlainWindow plain;
    const HWND control = plain.AddControl(L"EDIT", kButton);
    CTableWindow window;
    ASSERT_TRUE(window.SubclassWindow(control));
    EXPECT_EQ(SendMessageW(control, kAsk, 2, 3), 5);
    EXPECT_EQ(window.UnsubclassWindow(), control);
    EXPECT_EQ(window.UnsubclassWindow(), nullptr);
    EXPECT_EQ(window.m_hWnd, nullptr);
    EXPECT_EQ(CWnd::FromHandle(control), nullptr);
    EXPECT_TRUE(IsWindow(control));
    EXPECT_EQ(SendMessageW(control, kAsk, 2, 3), 0);
    EXPECT_EQ(window.m_log, std::vector<std::string>{"ask"});
    EXPECT_TRUE(window.SubclassWindow(control));
}

TEST(Wnd, TheDestructorLetsTheWindowLive)
{
    const CPlainWindow plain;
    const HWND control = plain.AddControl(L"EDIT", kButton);
    {
        CTableWindow window;
        ASSERT_TRUE(window.SubclassWindow(control));
    }
    EXPECT_TRUE(IsWindow(control));
    EXPECT_EQ(CWnd::FromHandle(control), nullptr);
    EXPECT_EQ(SendMessageW(control, kAsk, 2, 3), 0);
}

TEST(Wnd, DestroyWindowUnbindsAndNotifiesTheObjectLast)
{
    const CPlainWindow plain;
    const HWND control = plain.AddControl(L"EDIT", kButton);
    CTableWindow window;
    EXPECT_FALSE(window.DestroyWindow());
    ASSERT_TRUE(window.SubclassWindow(control));
    EXPECT_TRUE(window.DestroyWindow());
    EXPECT_EQ(window.m_hWnd, nullptr);
    EXPECT_FALSE(IsWindow(control));
    EXPECT_EQ(CWnd::FromHandle(control), nullptr);
    EXPECT_EQ(window.m_log, std::vector<std::string>{"gone"});
    EXPECT_FALSE(window.DestroyWindow());
}

TEST(Wnd, AWindowDestroyedWithItsParentIsUnbound)
{
    CPlainWindow plain;
    CTableWindow window;
    ASSERT_TRUE(window.SubclassWindow(plain.AddControl(L"EDIT", kButton)));
    EXPECT_TRUE(plain.DestroyWindow());
    EXPECT_EQ(plain.m_hWnd, nullptr);
    EXPECT_EQ(window.m_hWnd, nullptr);
    EXPECT_EQ(window.m_log, std::vector<std::string>{"gone"});
}

// Deletes itself when its window is destroyed, as a cell editor does.
class CSelfOwned : public CWnd
{
public:
    explicit CSelfOwned(int& alive) : m_alive(alive) { ++m_alive; }
    ~CSelfOwned() override { --m_alive; }

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == kAsk) {
            DestroyWindow();
            return 33;
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }
    void PostNcDestroy() override { delete this; }

private:
    int& m_alive;
};

TEST(Wnd, AnObjectMayDeleteItselfInAHandler)
{
    const CPlainWindow plain;
    int alive = 0;
    for (int round = 0; round < 3; ++round) {
        const HWND control = plain.AddControl(L"EDIT", kButton);
        auto* const window = new CSelfOwned(alive);  // the window deletes the object
        ASSERT_TRUE(window->SubclassWindow(control));
        EXPECT_EQ(alive, 1);
        EXPECT_EQ(SendMessageW(control, kAsk, 0, 0), 33);
        EXPECT_EQ(alive, 0);
        EXPECT_FALSE(IsWindow(control));
        EXPECT_EQ(CWnd::FromHandle(control), nullptr);
    }
}

TEST(Wnd, UnmappedMessagesReachThePreviousProcedure)
{
    const CPlainWindow plain;
    CTableWindow window;
    ASSERT_TRUE(window.SubclassWindow(plain.AddControl(L"EDIT", kButton)));
    window.SendMessage(EM_LIMITTEXT, 7);
    EXPECT_EQ(window.SendMessage(EM_GETLIMITTEXT), 7);
    EXPECT_TRUE(window.m_log.empty());
}

TEST(Wnd, DefaultHandlesTheCurrentMessageAfterNestedOnes)
{
    const CMessageRecorder messages;
    const CPlainWindow plain;
    CTableWindow window;
    ASSERT_TRUE(window.SubclassWindow(plain.AddControl(L"EDIT", kButton)));
    window.SetWindowText(L"after a nested message");
    EXPECT_EQ(window.GetWindowText(), L"after a nested message");
    window.m_onFail = [] { throw CTestException(); };
    window.SetWindowText(L"after a nested failure");
    EXPECT_EQ(window.GetWindowText(), L"after a nested failure");
    window.m_passTextOn = false;
    window.SetWindowText(L"refused");
    EXPECT_EQ(window.GetWindowText(), L"after a nested failure");
}

TEST(Wnd, CommandHandlersAreFoundByIdAndNotification)
{
    CTopTableWindow window;
    const auto send = [&window](int id, int code) {
        return window.SendMessage(WM_COMMAND, MAKEWPARAM(id, code));
    };
    EXPECT_EQ(send(kButton, BN_CLICKED), 0);
    EXPECT_EQ(send(kOther, EN_KILLFOCUS), 0);
    EXPECT_EQ(send(kOther, EN_CHANGE), 0);
    EXPECT_EQ(send(kButton, BN_DOUBLECLICKED), 0);
    EXPECT_EQ(send(kOther, BN_CLICKED), 0);
    EXPECT_EQ(window.m_log, (std::vector<std::string>{"button", "kill focus"}));
}

// A control that itself handles one of its notifications.
class CReflecting : public CListCtrl
{
public:
    int m_answered = 0;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override
    {
        static constexpr std::array kEntries{
            OnReflectedNotify<&CReflecting::OnEndLabelEdit>(LVN_ENDLABELEDITW)};
        static const MessageMap kMap{CListCtrl::GetMessageMap(), kEntries};
        return &kMap;
    }

private:
    LRESULT OnEndLabelEdit(NMHDR& header)
    {
        ++m_answered;
        return header.idFrom == kButton ? 12 : -1;
    }
};

TEST(Wnd, ANotificationReachesTheControlBeforeTheParent)
{
    CTopTableWindow window;
    const HWND control =
        CreateWindowExW(0, WC_LISTVIEWW, L"", WS_CHILD, 0, 0, 9, 9, window.m_hWnd, nullptr, nullptr, nullptr);
    ASSERT_NE(control, nullptr);
    CReflecting list;
    ASSERT_TRUE(list.SubclassWindow(control));
    window.m_log.clear();
    const auto send = [&window](HWND sender, UINT code) {
        NMHDR header{sender, kButton, code};
        return window.SendMessage(WM_NOTIFY, kButton, reinterpret_cast<LPARAM>(&header));
    };
    EXPECT_EQ(send(control, LVN_ENDLABELEDITW), 12);
    EXPECT_EQ(list.m_answered, 1);
    EXPECT_TRUE(window.m_log.empty());
    // The parent handles the control's other notifications. The parent also handles those of windows without
    // an object.
    EXPECT_EQ(send(control, NM_CLICK), 21);
    list.UnsubclassWindow();
    EXPECT_EQ(send(control, LVN_ENDLABELEDITW), 21);
    EXPECT_EQ(send(nullptr, LVN_ENDLABELEDITW), 21);
    EXPECT_EQ(send(control, NM_DBLCLK), 0) << "no object handles NM_DBLCLK";
    EXPECT_EQ(list.m_answered, 1);
    EXPECT_EQ(window.m_log, (std::vector<std::string>{"click", "label edit", "label edit"}));
}

// The C++ library puts the system's error texts into its exceptions, in the ANSI code page.
TEST(Wnd, TheTextOfAnExceptionIsDecodedFromTheAnsiCodePage)
{
    if (GetACP() != 1252) {
        GTEST_SKIP() << "skipped: the ANSI code page is not 1252";
    }
    std::vector<std::wstring> shown;
    const auto before = SetMessageListener([&shown](const MessageRequest& request) {
        shown.push_back(request.text);
        return IDOK;
    });
    CTopTableWindow window;
    window.m_onFail = [] {
        throw std::runtime_error(
            "Gr\xFC\xDF"
            "e, \x80");
    };
    window.SendMessage(kFail);
    window.m_onFail = [] { throw std::runtime_error(""); };
    window.SendMessage(kFail);
    SetMessageListener(before);
    EXPECT_EQ(shown, (std::vector<std::wstring>{expected::UnexpectedError(L"Grüße, €"),
                                                expected::UnexpectedError(L"")}));
}

TEST(Wnd, ExceptionsOfHandlersAreCaughtAndShownInAMessageBox)
{
    const CMessageRecorder messages;
    CTopTableWindow window;
    window.m_onFail = [] { throw CTestException(); };
    EXPECT_EQ(window.SendMessage(kFail), 0);
    window.m_onFail = [] { throw std::runtime_error("no such thing"); };
    EXPECT_EQ(window.SendMessage(kFail), 0);
    EXPECT_EQ(window.SendMessage(kAsk, 1, 1), 2);
    ASSERT_EQ(messages.m_boxes.size(), 2U);
    EXPECT_EQ(messages.m_boxes[0].text, CTestException().GetErrorMessage());
    EXPECT_EQ(messages.m_boxes[1].text, expected::UnexpectedError(L"no such thing"));
    for (const MessageRequest& box : messages.m_boxes) {
        EXPECT_EQ(box.type, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
    }
    EXPECT_EQ(window.m_log, (std::vector<std::string>{"fail", "fail", "ask"}));
}

// Records that a message is offered to this window, and takes the message if m_takes is true.
class COffered : public CWnd
{
public:
    COffered(std::string name, std::vector<std::string>& log) : m_name(std::move(name)), m_log(log) {}

    bool m_takes = false;

    bool PreTranslateMessage(MSG&) override
    {
        m_log.push_back(m_name);
        return m_takes;
    }

private:
    std::string m_name;
    std::vector<std::string>& m_log;
};

TEST(Wnd, AMessageIsOfferedToItsWindowAndEachParentUpToTheTopLevelWindow)
{
    std::vector<std::string> log;
    CPlainWindow ownerWindow;
    COffered owner("owner", log);
    owner.SubclassWindow(ownerWindow.UnsubclassWindow());
    CPlainWindow topWindow(owner.m_hWnd, WS_POPUP);
    const HWND group = topWindow.AddControl(L"STATIC", 1);
    const HWND edit =
        CreateWindowExW(0, L"EDIT", L"", WS_CHILD, 0, 0, 9, 9, group, nullptr, nullptr, nullptr);
    COffered top("top", log);
    top.SubclassWindow(topWindow.UnsubclassWindow());
    COffered control("control", log);
    ASSERT_TRUE(control.SubclassWindow(edit));

    MSG message{};
    message.message = WM_KEYDOWN;
    message.hwnd = edit;
    EXPECT_FALSE(CWnd::WalkPreTranslateTree(message));
    EXPECT_EQ(log, (std::vector<std::string>{"control", "top"}));
    log.clear();
    control.m_takes = true;
    EXPECT_TRUE(CWnd::WalkPreTranslateTree(message));
    EXPECT_EQ(log, std::vector<std::string>{"control"});
    log.clear();
    message.hwnd = group;
    top.m_takes = true;
    EXPECT_TRUE(CWnd::WalkPreTranslateTree(message));
    EXPECT_EQ(log, std::vector<std::string>{"top"});
    log.clear();
    message.hwnd = nullptr;
    EXPECT_FALSE(CWnd::WalkPreTranslateTree(message));
    EXPECT_TRUE(log.empty());
    top.DestroyWindow();
    owner.DestroyWindow();
}

TEST(Wnd, ReadsAndSetsTexts)
{
    const CPlainWindow window;
    window.AddControl(L"EDIT", kButton);
    EXPECT_EQ(window.GetWindowText(), L"window of a test");
    window.SetWindowText(L"Straße nach Łódź");
    EXPECT_EQ(window.GetWindowText(), L"Straße nach Łódź");
    EXPECT_EQ(window.GetDlgItemText(kButton), L"");
    window.SetDlgItemText(kButton, L"M8x20");
    EXPECT_EQ(window.GetDlgItemText(kButton), L"M8x20");
    const std::wstring longText(5000, L'x');
    window.SetDlgItemText(kButton, longText);
    EXPECT_EQ(window.GetDlgItemText(kButton), longText);
    EXPECT_EQ(window.GetDlgItemText(kOther), L"");
}

TEST(Wnd, MakesAChildOfAStandardClass)
{
    const CPlainWindow parent;
    CTableWindow child;
    ASSERT_TRUE(child.CreateChild(L"EDIT", WS_VISIBLE | ES_RIGHT, {10, 20, 110, 45}, parent, kOther));
    EXPECT_EQ(CWnd::FromHandle(child.m_hWnd), &child);
    EXPECT_EQ(parent.GetDlgItem(kOther), child.m_hWnd);
    EXPECT_EQ(GetParent(child.m_hWnd), parent.m_hWnd);
    EXPECT_EQ(child.GetWindowText(), L"");
    EXPECT_EQ(child.SendMessage(kAsk, 2, 3), 5) << "the object gets the window's messages";
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(child.m_hWnd, GWL_STYLE));
    EXPECT_EQ(style & (WS_CHILD | WS_VISIBLE | ES_RIGHT | ES_CENTER), WS_CHILD | WS_VISIBLE | ES_RIGHT);
    EXPECT_EQ(EdgesOf(RectIn(parent.m_hWnd, child.m_hWnd)), (Edges{10, 20, 110, 45}));
    EXPECT_TRUE(child.DestroyWindow());
    EXPECT_EQ(child.m_log, (std::vector<std::string>{"ask", "gone"}));
}

TEST(Wnd, AChildThatTheSystemRefusesLeavesTheObjectUnbound)
{
    const CPlainWindow parent;
    CTableWindow child;
    EXPECT_FALSE(child.CreateChild(L"No.Such.Class", 0, {0, 0, 9, 9}, parent, kOther));
    EXPECT_EQ(child.m_hWnd, nullptr);
    const CWnd unbound;
    EXPECT_FALSE(child.CreateChild(L"EDIT", 0, {0, 0, 9, 9}, unbound, kOther));
    EXPECT_TRUE(child.m_log.empty());
}

TEST(Wnd, ScalesLengthsToItsScreen)
{
    const CPlainWindow window;
    const int dpi = static_cast<int>(GetDpiForWindow(window.m_hWnd));
    EXPECT_EQ(window.Scaled(0), 0);
    EXPECT_EQ(window.Scaled(96), dpi);
    EXPECT_EQ(window.Scaled(960), 10 * dpi);
    EXPECT_EQ(window.Scaled(-96), -dpi);
}

TEST(Wnd, EnablesShowsAndMeasures)
{
    const CPlainWindow window(nullptr, WS_POPUP);
    window.EnableWindow(false);
    EXPECT_FALSE(window.IsWindowEnabled());
    window.EnableWindow(true);
    EXPECT_TRUE(window.IsWindowEnabled());
    window.ShowWindow(SW_SHOWNA);
    EXPECT_TRUE(IsWindowVisible(window.m_hWnd));
    window.ShowWindow(SW_HIDE);
    EXPECT_FALSE(IsWindowVisible(window.m_hWnd));
    const RECT client = window.GetClientRect();
    EXPECT_EQ(client.left, 0);
    EXPECT_EQ(client.top, 0);
    EXPECT_EQ(client.right, 640);
    EXPECT_EQ(client.bottom, 480);
}

}  // namespace
