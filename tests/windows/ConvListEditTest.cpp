#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <vector>

#include "framework/Handles.h"
#include "tests/windows/ConvListScopes.h"

// The editor of a cell: what opens the editor, how it looks, where it is and how it grows.

namespace {

UniqueGdiObject<HFONT> MakeFont(int height)
{
    return UniqueGdiObject<HFONT>(CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                                              DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                                              DEFAULT_QUALITY, DEFAULT_PITCH, L"Tahoma"));
}

int TextWidth(HFONT font, const std::wstring& text)
{
    const HDC dc = CreateCompatibleDC(nullptr);
    SelectObject(dc, font);
    SIZE size{};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    DeleteDC(dc);
    return size.cx;
}

// Opening by double-click

TEST(ConvListEdit, ADoubleClickOnTheFocusedRowEditsTheNewName)
{
    const CListWindow window;
    window.Focus(1);
    window.DoubleClick(window.At(175, 1));  // the first pixel of column 1
    ASSERT_NE(window.Editor(), nullptr);
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"M1.sldprt");
    EXPECT_EQ(GetFocus(), window.Editor());
    EXPECT_EQ(window.FocusedRow(), 1);
}

TEST(ConvListEdit, ADoubleClickOnTheFocusedRowEditsTheBomName)
{
    const CListWindow window;
    window.Focus(2);
    window.DoubleClick(window.At(524, 2));  // the last pixel of column 2
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"Norm 2");
}

TEST(ConvListEdit, TheOriginalNameIsNeverEdited)
{
    const CListWindow window;
    window.Focus(1);
    for (const int x : {0, 20, 174}) {
        window.DoubleClick(window.At(x, 1));
        EXPECT_EQ(window.Editor(), nullptr) << x;
    }
    EXPECT_EQ(window.SelectedRows(), std::vector<int>{1});
}

// The double-click comes without a first click. Under Wine, its default handling does not move the focus. If
// the default handling of Windows does, the first double-click opens the editor and this test fails there.
TEST(ConvListEdit, ADoubleClickOnARowWithoutTheFocusSelectsAndFocusesIt)
{
    for (const int x : {20, 200, 400}) {
        const CListWindow window;
        window.Focus(0);
        window.DoubleClick(window.At(x, 3));
        EXPECT_EQ(window.Editor(), nullptr) << x;
        EXPECT_EQ(window.FocusedRow(), 3) << x;
        EXPECT_NE(window.m_list.GetItemState(3, LVIS_SELECTED), 0U) << x;
        window.DoubleClick(window.At(x, 3));
        EXPECT_EQ(window.Editor() != nullptr, x != 20) << "the row has the focus now";
    }
}

TEST(ConvListEdit, TheFocusCountsAndNotTheSelection)
{
    const CListWindow window;
    window.Focus(0);
    window.m_list.SetItemState(3, LVIS_SELECTED, LVIS_SELECTED);
    window.DoubleClick(window.At(200, 3));
    EXPECT_EQ(window.Editor(), nullptr);
    window.m_list.SetItemState(-1, 0, LVIS_SELECTED);
    window.DoubleClick(window.At(200, 3));
    EXPECT_NE(window.Editor(), nullptr);
}

TEST(ConvListEdit, ADoubleClickOutsideTheCellsOpensNothing)
{
    const CListWindow window;
    window.Focus(1);
    for (const POINT point : {window.At(525, 1), window.BelowRows(200), window.BelowRows(590)}) {
        window.DoubleClick(point);
        EXPECT_EQ(window.Editor(), nullptr) << point.x << " " << point.y;
    }
}

TEST(ConvListEdit, TheColumnsAreFoundWhereTheyAreShown)
{
    const CListWindow window({600, 300}, {{100}, {150}, {200}});
    window.m_list.SetColumnOrder({2, 0, 1});
    window.Focus(1);
    window.DoubleClick(window.At(199, 1));
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"Norm 1");
    window.m_list.SetFocus();
    window.DoubleClick(window.At(200, 1));
    EXPECT_EQ(window.Editor(), nullptr) << "column 0";
    window.DoubleClick(window.At(300, 1));
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"M1.sldprt");
}

TEST(ConvListEdit, TheColumnsAreFoundInAScrolledList)
{
    const CListWindow window({300, 300});
    window.Focus(1);
    window.m_list.ScrollHorizontally(150);
    ASSERT_EQ(GetScrollPos(window.m_list.m_hWnd, SB_HORZ), 150);
    window.DoubleClick(window.At(24, 1));
    EXPECT_EQ(window.Editor(), nullptr) << "column 0 ends at 25";
    window.DoubleClick(window.At(25, 1));
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"M1.sldprt");
}

// Opening by key

TEST(ConvListEdit, F2EditsTheNewNameOfTheFocusedRow)
{
    const CListWindow window;
    window.Focus(3);
    PressKey(VK_F2);
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"M3.sldprt");
}

TEST(ConvListEdit, ShiftF2EditsTheBomNameOfTheFocusedRow)
{
    const CListWindow window;
    window.Focus(3);
    const CHeldKeys shift{VK_SHIFT};
    PressKey(VK_F2);
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"Norm 3");
}

TEST(ConvListEdit, F2WithoutAFocusedRowOrWithAnotherKeyEditsNothing)
{
    const CListWindow empty({600, 300}, {{}, {}, {}}, 0);
    PressKey(VK_F2);
    EXPECT_EQ(empty.Editor(), nullptr);
    const CListWindow window;
    window.m_list.SetItemState(-1, 0, LVIS_FOCUSED);
    PressKey(VK_F2);
    EXPECT_EQ(window.Editor(), nullptr);
    window.Focus(1);
    for (const int held : {VK_CONTROL, VK_MENU}) {
        const CHeldKeys keys{held};
        PressKey(VK_F2);
        EXPECT_EQ(window.Editor(), nullptr) << held;
    }
}

TEST(ConvListEdit, TabCommitsAndEditsTheOtherColumn)
{
    const CListWindow window;
    window.Focus(3);
    PressKey(VK_F2);
    window.Retype(L"Frame");
    PressKey(VK_TAB);
    EXPECT_EQ(window.m_list.GetItemText(3, 1), L"Frame.sldprt");
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"Norm 3");
    EXPECT_EQ(GetFocus(), window.Editor());
    window.Retype(L"x");
    PressKey(VK_TAB);
    EXPECT_EQ(window.m_list.GetItemText(3, 2), L"x");
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"Frame.sldprt");
}

TEST(ConvListEdit, TabInTheListEditsNothing)
{
    const CListWindow window;
    window.Focus(3);
    PressKey(VK_TAB);
    EXPECT_EQ(window.Editor(), nullptr);
}

// The editor keeps Enter, Escape, Delete and every key with Ctrl. The parent, which filters messages before
// dispatch, must not see them: in a dialog, Enter would press the default button.
TEST(ConvListEdit, TheEditorsKeysAreNotOfferedToTheParent)
{
    CListWindow window;
    const auto offered = [&window](WPARAM key) {
        window.m_list.EditCell(1, 2);
        window.m_parent.m_offeredKeys.clear();
        PressKey(key);
        return window.m_parent.m_offeredKeys;
    };
    for (const WPARAM key : std::initializer_list<WPARAM>{VK_RETURN, VK_ESCAPE, VK_DELETE}) {
        EXPECT_TRUE(offered(key).empty()) << key;
    }
    for (const WPARAM key : {WPARAM{VK_LEFT}, WPARAM{VK_F5}, WPARAM{'C'}}) {
        EXPECT_EQ(offered(key), std::vector<WPARAM>{key}) << key;
        const CHeldKeys control{VK_CONTROL};
        EXPECT_TRUE(offered(key).empty()) << "Ctrl and " << key;
    }
}

// The editor at the start of an edit

TEST(ConvListEdit, TheTextIsSelectedInTheListsFont)
{
    const UniqueGdiObject<HFONT> font = MakeFont(-13);
    CListWindow window;
    window.m_list.SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(font.get()));
    window.m_list.SetItemText(1, 1, L"A file name that is a good deal longer than its column is wide.sldprt");
    window.m_list.EditCell(1, 1);
    const HWND editor = window.Editor();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(SendMessageW(editor, WM_GETFONT, 0, 0), reinterpret_cast<LRESULT>(font.get()));
    EXPECT_EQ(CWnd::TextOf(editor), window.m_list.GetItemText(1, 1));
    EXPECT_EQ(GetFocus(), editor);
    const std::size_t length = window.m_list.GetItemText(1, 1).size();
    EXPECT_EQ(SelectionOf(editor), (std::array<DWORD, 2>{0, static_cast<DWORD>(length)}));
    const LRESULT last = SendMessageW(editor, EM_POSFROMCHAR, length - 1, 0);
    const int x = static_cast<short>(LOWORD(last));
    EXPECT_GE(x, 0) << "the caret is in view";
    EXPECT_LT(x, ClientRectOf(editor).right);
}

// The style that the thread's newest window was created with.
DWORD g_madeWith = 0;

LRESULT CALLBACK NoteStyle(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == HCBT_CREATEWND) {
        g_madeWith = static_cast<DWORD>(reinterpret_cast<const CBT_CREATEWNDW*>(lParam)->lpcs->style);
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

// The style is checked at creation: later, Wine's edits remove the border style and draw the border
// themselves.
TEST(ConvListEdit, TheEditorIsABorderedChildEditThatScrolls)
{
    CListWindow window;
    const HHOOK hook = SetWindowsHookExW(WH_CBT, &NoteStyle, nullptr, GetCurrentThreadId());
    window.m_list.EditCell(1, 2);
    UnhookWindowsHookEx(hook);
    ASSERT_TRUE(IsOfClass(window.Editor(), WC_EDITW));
    EXPECT_EQ(g_madeWith, static_cast<DWORD>(WS_CHILD | WS_VISIBLE | WS_BORDER | ES_AUTOHSCROLL));
    EXPECT_EQ(GetParent(window.Editor()), window.m_list.m_hWnd);
}

TEST(ConvListEdit, TheEditorIsAlignedAsItsColumn)
{
    CListWindow window({600, 300}, {{}, {175, LVCFMT_RIGHT}, {175, LVCFMT_CENTER}, {50, LVCFMT_LEFT}});
    const std::vector<DWORD> alignments{ES_RIGHT, ES_CENTER, ES_LEFT};
    for (const int column : {1, 2, 3}) {
        window.m_list.EditCell(0, column);
        ASSERT_NE(window.Editor(), nullptr) << column;
        const auto style = static_cast<DWORD>(GetWindowLongPtrW(window.Editor(), GWL_STYLE));
        EXPECT_EQ(style & (ES_LEFT | ES_RIGHT | ES_CENTER), alignments[static_cast<std::size_t>(column - 1)]);
        window.m_list.SetFocus();
    }
}

// The editor's position

class ConvListEditPosition : public testing::Test
{
protected:
    // Opens the editor of a cell. The editor must reach from `left` to `right` and be as high as the row.
    static void ExpectEdges(CListWindow& window, int row, int column, LONG left, LONG right)
    {
        window.m_list.EditCell(row, column);
        ASSERT_NE(window.Editor(), nullptr);
        const RECT bounds = window.m_list.GetRowRect(row);
        EXPECT_GT(bounds.bottom, bounds.top);
        EXPECT_EQ(window.EditorEdges(), (Edges{left, bounds.top, right, bounds.bottom}));
    }
};

TEST_F(ConvListEditPosition, IsTheCellsAndScrollsIntoView)
{
    struct Case
    {
        const char* what;
        LONG listWidth;
        std::array<int, 3> columns;
        std::array<int, 3> order;
        int scrolled;
        int row;
        int column;
        LONG left;
        LONG right;
        int scrolledAfter;
    };
    const Case cases[] = {
        // left: 175 + 4; right: 179 - 3 + 175
        {"column 1", 600, {175, 175, 175}, {0, 1, 2}, 0, 0, 1, 179, 351, 0},
        {"column 2", 600, {175, 175, 175}, {0, 1, 2}, 0, 4, 2, 354, 526, 0},
        {"dragged to the front", 600, {100, 150, 200}, {2, 0, 1}, 0, 1, 2, 4, 201, 0},
        // left: 200 + 100 + 4; right: 304 - 3 + 150
        {"dragged to the end", 600, {100, 150, 200}, {2, 0, 1}, 0, 1, 1, 304, 451, 0},
        {"another order", 600, {100, 150, 200}, {1, 2, 0}, 0, 1, 1, 4, 151, 0},
        {"another order", 600, {100, 150, 200}, {1, 2, 0}, 0, 1, 2, 154, 351, 0},
        {"ends at the client's right edge", 525, {175, 175, 175}, {0, 1, 2}, 0, 1, 2, 354, 525, 0},
        // left: 350 - 25 + 4; right: 500, as 329 - 3 + 175 = 501 is beyond the list
        {"beyond the right edge", 500, {175, 175, 175}, {0, 1, 2}, 0, 1, 2, 329, 500, 25},
        {"beyond the left edge", 500, {300, 300, 300}, {0, 1, 2}, 400, 1, 1, 4, 301, 300},
        // left: 300 - 150 + 4; right: 154 - 3 + 300
        {"in view", 500, {300, 300, 300}, {0, 1, 2}, 150, 1, 1, 154, 451, 150},
        // right: 300, as 4 - 3 + 390 is beyond the list
        {"wider than the list", 300, {100, 390, 100}, {0, 1, 2}, 0, 1, 1, 4, 300, 100},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        CListWindow window({test.listWidth, 300}, {{test.columns[0]}, {test.columns[1]}, {test.columns[2]}});
        window.m_list.SetColumnOrder({test.order.begin(), test.order.end()});
        window.m_list.ScrollHorizontally(test.scrolled);
        ASSERT_EQ(GetScrollPos(window.m_list.m_hWnd, SB_HORZ), test.scrolled);
        ExpectEdges(window, test.row, test.column, test.left, test.right);
        EXPECT_EQ(GetScrollPos(window.m_list.m_hWnd, SB_HORZ), test.scrolledAfter);
    }
}

TEST_F(ConvListEditPosition, ARowOutOfViewIsScrolledIn)
{
    CListWindow window({600, 200}, {{}, {}, {}}, 100);
    ExpectEdges(window, 60, 1, 179, 351);
    const Edges edges = window.EditorEdges();
    EXPECT_GE(edges[1], 0);
    EXPECT_LE(edges[1], window.m_list.GetClientRect().bottom);
    window.m_list.SetFocus();
    ExpectEdges(window, 3, 2, 354, 526);
}

TEST_F(ConvListEditPosition, APartlyVisibleRowIsNotScrolled)
{
    CListWindow window({600, 200}, {{}, {}, {}}, 100);
    // Half of row 5 is visible, at the bottom.
    const RECT first = window.m_list.GetRowRect(0);
    const LONG height = first.bottom - first.top;
    SetWindowPos(window.m_list.m_hWnd, nullptr, 0, 0, 600, first.top + 5 * height + height / 2,
                 SWP_NOMOVE | SWP_NOZORDER);
    ASSERT_LT(window.m_list.GetRowRect(5).top, window.m_list.GetClientRect().bottom);
    ASSERT_GT(window.m_list.GetRowRect(5).bottom, window.m_list.GetClientRect().bottom);
    ExpectEdges(window, 5, 1, 179, 351);
    EXPECT_EQ(window.m_list.GetTopIndex(), 0);
}

TEST_F(ConvListEditPosition, AColumnOfFewerThanFivePixelsHasNoEditor)
{
    CListWindow window({600, 300}, {{100}, {4}, {5}});
    window.m_list.EditCell(1, 1);
    EXPECT_EQ(window.Editor(), nullptr);
    ExpectEdges(window, 1, 2, 108, 110);  // left: 100 + 4 + 4; right: 108 - 3 + 5
}

TEST_F(ConvListEditPosition, AMissingCellHasNoEditor)
{
    CListWindow window;
    for (const auto& [row, column] : {std::pair{-1, 1}, {5, 1}, {1, -1}, {1, 3}}) {
        window.m_list.EditCell(row, column);
        EXPECT_EQ(window.Editor(), nullptr) << row << " " << column;
        EXPECT_EQ(GetFocus(), window.m_list.m_hWnd);
    }
}

TEST_F(ConvListEditPosition, AnotherCellsEditorReplacesTheOpenOne)
{
    CListWindow window;
    window.m_list.EditCell(1, 1);
    window.Retype(L"Frame");
    const HWND first = window.Editor();
    window.m_list.EditCell(3, 2);
    EXPECT_FALSE(IsWindow(first));
    EXPECT_EQ(window.m_list.GetItemText(1, 1), L"Frame.sldprt");
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"Norm 3");
    window.Retype(L"x");
    window.m_list.SetFocus();
    EXPECT_EQ(window.m_list.GetItemText(3, 2), L"x");
}

// The editor's growth

class ConvListEditGrowth : public testing::Test
{
protected:
    explicit ConvListEditGrowth()
    {
        m_window.m_list.SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(m_font.get()));
        m_window.m_list.EditCell(1, 1);
        m_start = m_window.EditorEdges();
        m_border = m_start[2] - m_start[0] - ClientRectOf(m_window.Editor()).right;
    }

    // Types "x" over the old text, then `text`. After each character of `text`, the editor must be as wide as
    // the text needs, but never narrower than before or wider than the list.
    void ExpectGrowth(const std::wstring& text)
    {
        LONG right = m_window.EditorEdges()[2];
        m_window.Retype(L"x");
        std::wstring typed = L"x";
        for (const wchar_t character : text) {
            Type(std::wstring(1, character));
            typed += character;
            const LONG needed = m_start[0] + m_border + TextWidth(m_font.get(), typed) + 5;
            right = std::min(std::max(right, needed), 600L);
            EXPECT_EQ(m_window.EditorEdges(), (Edges{m_start[0], m_start[1], right, m_start[3]}))
                << testing::PrintToString(typed);
        }
    }

    const UniqueGdiObject<HFONT> m_font = MakeFont(-13);
    CListWindow m_window;
    Edges m_start{};
    LONG m_border = 0;
};

TEST_F(ConvListEditGrowth, AsFarAsTheTextNeedsAndTheListReaches)
{
    ExpectGrowth(std::wstring(70, L'm') + std::wstring(20, L'i'));
    EXPECT_EQ(m_window.EditorEdges()[2], 600);
}

TEST_F(ConvListEditGrowth, NotForATextThatFits)
{
    m_window.Retype(L"M8");
    EXPECT_EQ(m_window.EditorEdges(), m_start);
}

TEST_F(ConvListEditGrowth, NeverShrinks)
{
    ExpectGrowth(std::wstring(20, L'm'));
    const Edges wide = m_window.EditorEdges();
    ASSERT_GT(wide[2], m_start[2]);
    for (int i = 0; i < 15; ++i) {
        Type(L"\b");
    }
    EXPECT_EQ(m_window.EditorEdges(), wide);
}

// As it grows, the editor scrolls back to the beginning of its text. The margins of the editor may still hide
// one character.
TEST_F(ConvListEditGrowth, ShowsTheTextFromItsBeginning)
{
    ExpectGrowth(std::wstring(20, L'm'));
    ASSERT_LT(m_window.EditorEdges()[2], 600);
    EXPECT_LE(SendMessageW(m_window.Editor(), EM_GETFIRSTVISIBLELINE, 0, 0), 1)
        << "the first visible character of a single-line edit";
    EXPECT_EQ(SelectionOf(m_window.Editor()), (std::array<DWORD, 2>{21, 21})) << "the caret stays";
}

}  // namespace
