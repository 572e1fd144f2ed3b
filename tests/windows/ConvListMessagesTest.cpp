#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/windows/ConvListScopes.h"

// The messages that each action sends to the list, its editor and its parent, in their order.

namespace {

Texts operator+(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const Texts kDoubleClick{L"list WM_LBUTTONDBLCLK"};
const Texts kEditorBegins{L"editor WM_SETFONT", L"editor WM_SETTEXT", L"editor WM_SETFOCUS",
                          L"editor EM_SETSEL", L"editor EM_SCROLLCARET"};
const Texts kEditorLeft{L"editor WM_KILLFOCUS"};
const Texts kEditorGone{L"editor WM_NCDESTROY", L"list WM_SETFOCUS"};
const Texts kChanged{L"parent WM_LISTCHANGED 0 0"};

Texts End(const std::wstring& outcome)
{
    return {L"parent LVN_ENDLABELEDIT row 1 " + outcome};
}

class ConvListMessages : public testing::Test
{
protected:
    ConvListMessages() { m_window.Focus(1); }

    Texts From(const std::function<void()>& action)
    {
        static_cast<void>(m_trace.Take());
        action();
        return m_trace.Take();
    }
    // Opens the editor of a cell in row 1 and types over its text, unless `typed` is empty. Performs the
    // action, which ends the edit, and returns the action's messages.
    Texts AfterEdit(int column, const std::wstring& typed, const std::function<void()>& action)
    {
        m_window.m_list.EditCell(1, column);
        EXPECT_NE(m_window.Editor(), nullptr);
        if (!typed.empty()) {
            m_window.Retype(typed);
        }
        return From(action);
    }

    CMessageRecorder m_boxes;
    CListWindow m_window;
    CMessageTrace m_trace{m_window};
};

TEST_F(ConvListMessages, OfADoubleClickOnTheFocusedRow)
{
    for (const int x : {200, 400}) {
        const auto doubleClick = [&] { m_window.DoubleClick(m_window.At(x, 1)); };
        EXPECT_EQ(From(doubleClick), kDoubleClick + kEditorBegins) << x;
        m_window.m_list.SetFocus();
    }
    const auto doubleClick = [&] { m_window.DoubleClick(m_window.At(20, 1)); };
    EXPECT_EQ(From(doubleClick), kDoubleClick);
}

TEST_F(ConvListMessages, OfADoubleClickOnAnotherRow)
{
    for (const int x : {20, 200, 400}) {
        m_window.Focus(1);
        const auto doubleClick = [&] { m_window.DoubleClick(m_window.At(x, 3)); };
        EXPECT_EQ(From(doubleClick), kDoubleClick) << x;
    }
}

TEST_F(ConvListMessages, OfEnter)
{
    const Texts keys{L"editor WM_KEYDOWN", L"editor WM_CHAR"};
    const auto enter = [] { PressKey(VK_RETURN); };
    EXPECT_EQ(AfterEdit(1, L"M8x20", enter),
              keys + kEditorLeft + End(L"column 1 \"M8x20\" length 5") + kEditorGone + kChanged);
    EXPECT_EQ(AfterEdit(2, L"x", enter),
              keys + kEditorLeft + End(L"column 2 \"x\" length 1") + kEditorGone + kChanged);
}

TEST_F(ConvListMessages, OfEnterInAnUnchangedText)
{
    const Texts keys{L"editor WM_KEYDOWN", L"editor WM_CHAR"};
    const auto enter = [] { PressKey(VK_RETURN); };
    EXPECT_EQ(AfterEdit(1, L"", enter),
              keys + kEditorLeft + End(L"column 1 \"M1.sldprt\" length 9") + kEditorGone);
    EXPECT_EQ(AfterEdit(2, L"", enter),
              keys + kEditorLeft + End(L"column 2 \"Norm 1\" length 6") + kEditorGone);
}

TEST_F(ConvListMessages, OfANameThatIsRefused)
{
    const Texts keys{L"editor WM_KEYDOWN", L"editor WM_CHAR"};
    const auto enter = [] { PressKey(VK_RETURN); };
    EXPECT_EQ(AfterEdit(1, L"M2", enter),
              keys + kEditorLeft + End(L"column 1 \"M2\" length 2") + kEditorGone);
    EXPECT_EQ(m_boxes.TakeTexts().size(), 1U);
}

TEST_F(ConvListMessages, OfEscape)
{
    const auto escape = [] { PressKey(VK_ESCAPE); };
    for (const int column : {1, 2}) {
        m_window.m_list.EditCell(1, column);
        m_window.Retype(L"other");
        const Texts lines = From(escape);
        ASSERT_EQ(lines.size(), 6U);
        EXPECT_EQ(Texts(lines.begin(), lines.begin() + 3),
                  (Texts{L"editor WM_KEYDOWN", L"editor WM_CHAR", L"editor WM_KILLFOCUS"}));
        EXPECT_EQ(lines[3], L"parent LVN_ENDLABELEDIT row 1 column " + std::to_wstring(column) + L" no text");
        EXPECT_EQ(Texts(lines.begin() + 4, lines.end()), kEditorGone);
    }
    EXPECT_EQ(m_window.m_list.GetItemText(1, 1), L"M1.sldprt");
    EXPECT_EQ(m_window.m_list.GetItemText(1, 2), L"Norm 1");
    EXPECT_EQ(m_window.m_list.CountPendingRows(), 0);
}

TEST_F(ConvListMessages, OfAClickElsewhereInTheList)
{
    const auto click = [this] { m_window.Click(m_window.At(20, 3)); };
    EXPECT_EQ(AfterEdit(1, L"M8x20", click), Texts{L"list WM_LBUTTONDOWN"} + kEditorLeft +
                                                 End(L"column 1 \"M8x20\" length 5") + kEditorGone +
                                                 kChanged);
    EXPECT_EQ(m_window.m_list.GetItemText(1, 1), L"M8x20.sldprt");
}

TEST_F(ConvListMessages, OfTheFocusGoingToAnotherControl)
{
    const HWND other = m_window.m_parent.AddControl(WC_EDITW, 5, 0, {0, 320, 100, 340});
    const auto leave = [&] { SetFocus(other); };
    EXPECT_EQ(AfterEdit(2, L"x", leave),
              kEditorLeft + End(L"column 2 \"x\" length 1") + Texts{L"editor WM_NCDESTROY"} + kChanged);
    EXPECT_EQ(GetFocus(), other);
}

TEST_F(ConvListMessages, OfTab)
{
    const auto tab = [] { PressKey(VK_TAB); };
    EXPECT_EQ(AfterEdit(1, L"M8x20", tab), Texts{L"editor WM_KEYDOWN"} + kEditorLeft +
                                               End(L"column 1 \"M8x20\" length 5") + kEditorGone +
                                               kEditorBegins + kChanged);
}

TEST_F(ConvListMessages, OfScrolling)
{
    struct Scroll
    {
        UINT message;
        WPARAM wParam;
        const wchar_t* line;
    };
    const std::vector<Scroll> scrolls{
        {WM_HSCROLL, SB_LINERIGHT, L"list WM_HSCROLL"},
        {WM_VSCROLL, SB_LINEDOWN, L"list WM_VSCROLL"},
        {WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-WHEEL_DELTA)), L"list WM_MOUSEWHEEL"},
    };
    for (const Scroll& scroll : scrolls) {
        const std::wstring typed = std::wstring(L"over ") + scroll.line;
        const Texts expected = Texts{scroll.line} + kEditorLeft +
                               End(L"column 2 \"" + typed + L"\" length " + std::to_wstring(typed.size())) +
                               kEditorGone;
        Texts lines =
            AfterEdit(2, typed, [&] { m_window.m_list.SendMessage(scroll.message, scroll.wParam); });
        ASSERT_GE(lines.size(), expected.size()) << testing::PrintToString(lines);
        EXPECT_EQ(lines.back(), kChanged.front());
        // The control may send itself more messages while it scrolls.
        lines.resize(expected.size());
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(m_window.m_list.GetItemText(1, 2), typed);
    }
}

TEST_F(ConvListMessages, OfScrollingWithoutAnEdit)
{
    const auto scroll = [this] { m_window.m_list.SendMessage(WM_VSCROLL, SB_LINEDOWN); };
    EXPECT_EQ(From(scroll), Texts{L"list WM_VSCROLL"});
}

TEST_F(ConvListMessages, OfTheWheelOverTheEditor)
{
    const auto turn = [this] {
        SendMessageW(m_window.Editor(), WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-WHEEL_DELTA)), 0);
    };
    EXPECT_EQ(AfterEdit(2, L"x", turn), Texts{L"list WM_MOUSEWHEEL"} + kEditorLeft +
                                            End(L"column 2 \"x\" length 1") + kEditorGone + kChanged);
}

TEST_F(ConvListMessages, OfTheWheelWhileTheFocusIsElsewhere)
{
    const HWND other = m_window.m_parent.AddControl(WC_EDITW, 5, 0, {0, 320, 100, 340});
    SetFocus(other);
    const auto turn = [this] {
        m_window.m_list.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-WHEEL_DELTA)));
    };
    EXPECT_EQ(From(turn), Texts{L"list WM_MOUSEWHEEL"});
    EXPECT_EQ(GetFocus(), other);
}

TEST_F(ConvListMessages, OfAHeaderDragDuringAnEdit)
{
    const HWND header = m_window.m_list.GetHeader();
    const auto press = [header] {
        PostMessageW(header, WM_LBUTTONUP, 0, MAKELPARAM(174, 5));
        SendMessageW(header, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(174, 5));
    };
    EXPECT_EQ(AfterEdit(1, L"M8x20", press),
              kEditorLeft + End(L"column 1 \"M8x20\" length 5") + kEditorGone + kChanged);
}

// The parent's window is destroyed during an edit, so nobody is left to notify of the end of the edit.
TEST_F(ConvListMessages, OfTheListGoingAwayDuringAnEdit)
{
    m_window.m_list.EditCell(1, 1);
    const HWND editor = m_window.Editor();
    m_window.m_parent.CWnd::DestroyWindow();
    EXPECT_FALSE(IsWindow(editor));
    EXPECT_EQ(m_window.m_list.m_hWnd, nullptr);
}

}  // namespace
