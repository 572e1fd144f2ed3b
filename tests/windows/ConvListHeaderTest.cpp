#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "framework/Handles.h"
#include "tests/support/Input.h"
#include "tests/support/WaitFor.h"
#include "tests/windows/ConvListScopes.h"

// The widths and order of the columns, the column lines below the rows, and the keys of the list.

namespace {

// Drags the right divider of the first column to these widths, one after the other.
void DragFirstColumn(const CListWindow& window, const std::vector<int>& widths)
{
    const HWND header = window.m_list.GetHeader();
    const auto at = [](int x) { return MAKELPARAM(x, 5); };
    const int start = window.m_list.GetColumnWidth(0);
    SendMessageW(header, WM_LBUTTONDOWN, MK_LBUTTON, at(start - 1));
    for (const int width : widths) {
        SendMessageW(header, WM_MOUSEMOVE, MK_LBUTTON, at(width - 1));
    }
    SendMessageW(header, WM_LBUTTONUP, 0, at(widths.back() - 1));
    DrainMessages();
}

// Widths

std::vector<int> Widths(const CListWindow& window)
{
    std::vector<int> widths;
    for (const int column : {0, 1, 2}) {
        widths.push_back(window.m_list.GetColumnWidth(column));
    }
    return widths;
}

TEST(ConvListWidths, AnExtraWidthIsSharedInProportionUpToTheLimit)
{
    CListWindow window({600, 300}, {{100}, {100}, {200}});
    window.m_list.ShareExtraWidth(80);
    EXPECT_EQ(Widths(window), (std::vector<int>{120, 120, 240}));
    window.m_list.ShareExtraWidth(800);
    EXPECT_EQ(Widths(window), (std::vector<int>{300, 300, 400}));
    window.m_list.ShareExtraWidth(40);
    EXPECT_EQ(Widths(window), (std::vector<int>{110, 110, 220}));
    window.m_list.ShareExtraWidth(0);
    EXPECT_EQ(Widths(window), (std::vector<int>{100, 100, 200}));
}

TEST(ConvListWidths, AWidthSetByHandStaysUntilTheWindowsWidthChanges)
{
    CListWindow window({600, 300}, {{100}, {100}, {200}});
    window.m_list.ShareExtraWidth(80);
    window.m_list.SetColumnWidth(0, 150);
    window.m_list.ShareExtraWidth(80);
    EXPECT_EQ(Widths(window), (std::vector<int>{150, 120, 240}));
    window.m_list.ShareExtraWidth(0);
    EXPECT_EQ(Widths(window), (std::vector<int>{130, 100, 200}));
}

TEST(ConvListWidths, TakingBackAShareStopsAtTheLimit)
{
    CListWindow window({600, 300}, {{100}, {100}, {200}});
    window.m_list.ShareExtraWidth(200);
    EXPECT_EQ(Widths(window), (std::vector<int>{150, 150, 300}));
    window.m_list.SetColumnWidth(0, 90);
    window.m_list.ShareExtraWidth(0);
    EXPECT_EQ(Widths(window), (std::vector<int>{80, 100, 200}));
}

TEST(ConvListWidths, ScalingIncludesTheShares)
{
    CListWindow window({600, 300}, {{100}, {100}, {200}});
    window.m_list.ShareExtraWidth(40);
    window.m_list.ScaleColumns(window.m_list.ColumnWidths(), 3, 2);
    EXPECT_EQ(Widths(window), (std::vector<int>{165, 165, 330}));
    window.m_list.ShareExtraWidth(0);
    EXPECT_EQ(Widths(window), (std::vector<int>{150, 150, 300}));
}

TEST(ConvListHeader, ADragBeyondTheLimitsIsIgnored)
{
    const std::vector<std::pair<int, int>> draggedAndResult{{79, 175}, {80, 80}, {401, 175}, {400, 400},
                                                            {0, 175},  {81, 81}, {399, 399}, {450, 175}};
    for (const auto& [dragged, after] : draggedAndResult) {
        const CListWindow window;
        DragFirstColumn(window, {dragged});
        EXPECT_EQ(window.m_list.GetColumnWidth(0), after) << dragged;
        EXPECT_EQ(window.m_list.GetColumnWidth(1), 175);
    }
}

TEST(ConvListHeader, ADragKeepsTheLastWidthWithinTheLimits)
{
    const CListWindow window;
    DragFirstColumn(window, {150, 100, 60, 40});
    EXPECT_EQ(window.m_list.GetColumnWidth(0), 100) << "the last accepted width";
}

TEST(ConvListHeader, TheLimitsHoldForEveryColumn)
{
    const CListWindow window;
    for (const int column : {0, 1, 2}) {
        for (const int width : {79, 401}) {
            window.m_list.SetColumnWidth(column, width);
            EXPECT_EQ(window.m_list.GetColumnWidth(column), 175);
        }
        for (const int width : {80, 400}) {
            window.m_list.SetColumnWidth(column, width);
            EXPECT_EQ(window.m_list.GetColumnWidth(column), width);
        }
    }
}

TEST(ConvListHeader, OtherChangesToAColumnAreAccepted)
{
    const CListWindow window;
    std::wstring text = L"Name";
    HDITEMW item{};
    item.mask = HDI_TEXT;
    item.cxy = 5;  // not in the mask
    item.pszText = text.data();
    ASSERT_TRUE(SendMessageW(window.m_list.GetHeader(), HDM_SETITEMW, 1, reinterpret_cast<LPARAM>(&item)));
    wchar_t read[16] = {};
    item.pszText = read;
    item.cchTextMax = 16;
    ASSERT_TRUE(SendMessageW(window.m_list.GetHeader(), HDM_GETITEMW, 1, reinterpret_cast<LPARAM>(&item)));
    EXPECT_EQ(read, text);
    EXPECT_EQ(window.m_list.GetColumnWidth(1), 175);
}

void ReleaseKey(int key)
{
    std::array<BYTE, 256> state{};
    GetKeyboardState(state.data());
    state[static_cast<std::size_t>(key)] = 0;
    SetKeyboardState(state.data());
}

// A press on the header ends the open edit. The typed text is another row's name, so a message box opens
// during the press.
TEST(ConvListHeader, ADragDoesNotBeginIfTheButtonWasReleasedInAMessageBox)
{
    CListWindow window;
    const CHeldKeys button{VK_LBUTTON};
    const CMessageRecorder user([] {
        ReleaseKey(VK_LBUTTON);
        return IDOK;
    });
    window.m_list.EditCell(1, 1);
    window.Retype(L"M2");
    DragFirstColumn(window, {200});
    EXPECT_EQ(user.m_boxes.size(), 1U);
    EXPECT_EQ(window.m_list.GetColumnWidth(0), 175);
}

TEST(ConvListHeader, ADragContinuesAfterAMessageIfTheButtonIsStillDown)
{
    CListWindow window;
    const CHeldKeys button{VK_LBUTTON};
    const CMessageRecorder user;
    window.m_list.EditCell(1, 1);
    window.Retype(L"M2");
    DragFirstColumn(window, {200});
    EXPECT_EQ(user.m_boxes.size(), 1U);
    EXPECT_EQ(window.m_list.GetColumnWidth(0), 200);
}

TEST(ConvListHeader, APressOnARowDoesNotDragIfTheButtonWasReleasedInAMessageBox)
{
    for (const bool released : {true, false}) {
        CListWindow window;
        const CHeldKeys button{VK_LBUTTON};
        const CMessageRecorder user([released] {
            if (released) {
                ReleaseKey(VK_LBUTTON);
            }
            return IDOK;
        });
        window.m_list.EditCell(1, 1);
        window.Retype(L"M2");
        window.Click(window.At(20, 3));
        EXPECT_EQ(user.m_boxes.size(), 1U);
        EXPECT_EQ(window.m_list.GetNextItem(-1, LVNI_SELECTED), released ? -1 : 3);
    }
}

// Whether a point of the list waits to be repainted.
bool IsInvalidated(const CListWindow& window, int x, int y)
{
    const UniqueGdiObject<HRGN> region(CreateRectRgn(0, 0, 0, 0));
    GetUpdateRgn(window.m_list.m_hWnd, region.get(), FALSE);
    return PtInRegion(region.get(), x, y) != FALSE;
}

TEST(ConvListHeader, ANewWidthInvalidatesTheAreaBelowTheRows)
{
    for (const int rows : {0, 5}) {
        const CListWindow window({600, 300}, {{}, {}, {}}, rows);
        const RECT header = ClientRectOf(window.m_list.GetHeader());
        const LONG top = rows > 0 ? window.m_list.GetRowRect(rows - 1).bottom : header.bottom;
        UpdateWindow(window.m_list.m_hWnd);
        ValidateRect(window.m_list.m_hWnd, nullptr);
        window.m_list.SetColumnWidth(1, 401);
        EXPECT_FALSE(IsInvalidated(window, 0, 299)) << "the width was refused";
        window.m_list.SetColumnWidth(1, 200);
        for (const int x : {0, 100, 300, 599}) {
            EXPECT_TRUE(IsInvalidated(window, x, top)) << rows << " " << x;
            EXPECT_TRUE(IsInvalidated(window, x, 299)) << rows << " " << x;
        }
    }
}

// Lines

class ConvListLines : public testing::Test
{
protected:
    // At the height y, exactly these pixels must have the colour of the lines. Redraw the list first.
    static void ExpectLines(const CListWindow& window, const std::vector<int>& expected, LONG y)
    {
        const HDC dc = GetDC(window.m_list.m_hWnd);
        const COLORREF line = GetSysColor(COLOR_3DFACE);
        EXPECT_NE(line, GetSysColor(COLOR_WINDOW));
        std::vector<int> found;
        for (int x = 0; x < window.m_list.GetClientRect().right; ++x) {
            if (GetPixel(dc, x, y) == line) {
                found.push_back(x);
            }
        }
        ReleaseDC(window.m_list.m_hWnd, dc);
        EXPECT_EQ(found, expected) << "at the height " << y;
    }
    static LONG HeaderBottom(const CListWindow& window)
    {
        const RECT header = ClientRectOf(window.m_list.GetHeader());
        EXPECT_GT(header.bottom, 0);
        return header.bottom;
    }
    static void Redraw(const CListWindow& window)
    {
        DrainMessages();
        RedrawWindow(window.m_list.m_hWnd, nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    }
};

TEST_F(ConvListLines, ReachFromBelowTheHeaderToTheBottom)
{
    const CListWindow window({600, 300}, {{}, {}, {}}, 0);
    const LONG top = HeaderBottom(window);
    Redraw(window);
    ExpectLines(window, {}, top);
    ExpectLines(window, {}, top + 1);
    for (const LONG y : {top + 2, top + 3, 150L, 298L, 299L}) {
        ExpectLines(window, {174, 349, 524}, y);
    }
}

TEST_F(ConvListLines, ContinueBelowTheLastRow)
{
    const CListWindow window;
    Redraw(window);
    ExpectLines(window, {174, 349, 524}, window.m_list.GetRowRect(4).bottom);
    ExpectLines(window, {174, 349, 524}, 299);
}

TEST_F(ConvListLines, AreDrawnAtTheColumnsRightEdges)
{
    const CListWindow window({600, 300}, {{100}, {150}, {200}});
    window.m_list.SetColumnOrder({2, 0, 1});
    Redraw(window);
    ExpectLines(window, {199, 299, 449}, 299);
}

TEST_F(ConvListLines, MoveWhenTheListScrolls)
{
    const CListWindow window({500, 300});
    const LONG bottom = window.m_list.GetClientRect().bottom;
    Redraw(window);
    ExpectLines(window, {174, 349}, bottom - 1);  // the third line would be at 524
    window.m_list.ScrollHorizontally(25);
    ASSERT_EQ(GetScrollPos(window.m_list.m_hWnd, SB_HORZ), 25);
    Redraw(window);
    ExpectLines(window, {149, 324, 499}, bottom - 1);
}

TEST_F(ConvListLines, AreDrawnWithinWhatIsToBePaintedOnly)
{
    const CListWindow window({600, 300}, {{}, {}, {}}, 0);
    Redraw(window);
    const HDC dc = GetDC(window.m_list.m_hWnd);
    const RECT everything = window.m_list.GetClientRect();
    FillRect(dc, &everything, GetSysColorBrush(COLOR_WINDOW));
    ReleaseDC(window.m_list.m_hWnd, dc);
    const RECT part{100, 150, 400, 200};
    RedrawWindow(window.m_list.m_hWnd, &part, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    ExpectLines(window, {}, 149);
    ExpectLines(window, {174, 349}, 150);
    ExpectLines(window, {174, 349}, 199);
    ExpectLines(window, {}, 200);
}

TEST_F(ConvListLines, AreDrawnInReportViewOnly)
{
    const CListWindow window({600, 300}, {{}, {}, {}}, 0);
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(window.m_list.m_hWnd, GWL_STYLE));
    SetWindowLongPtrW(window.m_list.m_hWnd, GWL_STYLE,
                      static_cast<LONG_PTR>((style & ~static_cast<DWORD>(LVS_TYPEMASK)) | LVS_LIST));
    Redraw(window);
    ExpectLines(window, {}, 299);
}

// Keys

TEST(ConvListKeys, CtrlAndTheNumberWidensAColumn)
{
    const CListWindow window;
    {
        const CHeldKeys control{VK_CONTROL};
        for (const int key : {'1', '2', '2', '3', '3', '3'}) {
            PressKey(static_cast<WPARAM>(key));
        }
    }
    EXPECT_EQ(window.m_list.GetColumnWidth(0), 185);
    EXPECT_EQ(window.m_list.GetColumnWidth(1), 195);
    EXPECT_EQ(window.m_list.GetColumnWidth(2), 205);
}

TEST(ConvListKeys, CtrlShiftAndTheNumberNarrowsAColumn)
{
    const CListWindow window;
    const CHeldKeys keys{VK_CONTROL, VK_SHIFT};
    for (const int key : {'1', '2', '2', '3', '3', '3'}) {
        PressKey(static_cast<WPARAM>(key));
    }
    EXPECT_EQ(window.m_list.GetColumnWidth(0), 165);
    EXPECT_EQ(window.m_list.GetColumnWidth(1), 155);
    EXPECT_EQ(window.m_list.GetColumnWidth(2), 145);
}

TEST(ConvListKeys, WidthsStopAtTheLimits)
{
    const CListWindow window({600, 300}, {{395}, {85}, {}});
    {
        const CHeldKeys control{VK_CONTROL};
        PressKey('1');
        PressKey('1');
    }
    EXPECT_EQ(window.m_list.GetColumnWidth(0), 400);
    const CHeldKeys keys{VK_CONTROL, VK_SHIFT};
    PressKey('2');
    PressKey('2');
    EXPECT_EQ(window.m_list.GetColumnWidth(1), 80);
}

TEST(ConvListKeys, AltAndTheNumberMovesAColumnToTheRight)
{
    const CListWindow window;
    const CHeldKeys alt{VK_MENU};
    PressKey('1');
    EXPECT_EQ(window.m_list.GetColumnOrder(), (std::vector<int>{1, 0, 2}));
    PressKey('1');
    EXPECT_EQ(window.m_list.GetColumnOrder(), (std::vector<int>{1, 2, 0}));
    PressKey('1');
    EXPECT_EQ(window.m_list.GetColumnOrder(), (std::vector<int>{0, 1, 2}))
        << "from the last position to the first";
    PressKey('3');
    EXPECT_EQ(window.m_list.GetColumnOrder(), (std::vector<int>{2, 0, 1}));
    PressKey('2');
    EXPECT_EQ(window.m_list.GetColumnOrder(), (std::vector<int>{1, 2, 0}))
        << "the key names the column, not the position";
}

// Offers a key message to the list. Returns whether the list handles the message and so keeps it from the
// default handling.
bool IsHandled(const CListWindow& window, UINT message, WPARAM key)
{
    const LPARAM transition = message == WM_SYSKEYUP || message == WM_KEYUP ? 0xC0000001 : 1;
    MSG keyMessage{window.m_list.m_hWnd, message, key, transition, 0, {}};
    CWnd* const list = CWnd::FromHandle(window.m_list.m_hWnd);
    return list->PreTranslateMessage(keyMessage);
}

// The release of Alt opens the system menu, unless the default handling has seen another key since Alt was
// pressed.
TEST(ConvListKeys, AltAfterADigitDoesNotOpenTheSystemMenu)
{
    const CListWindow window;
    const auto press = [&window](WPARAM digit) {
        EXPECT_FALSE(IsHandled(window, WM_SYSKEYDOWN, VK_MENU));
        const CHeldKeys alt{VK_MENU};
        EXPECT_TRUE(IsHandled(window, WM_SYSKEYDOWN, digit));
    };
    press('1');
    EXPECT_FALSE(IsHandled(window, WM_SYSKEYUP, '1'));
    EXPECT_TRUE(IsHandled(window, WM_SYSKEYUP, VK_MENU)) << "the digit is released first";
    press('2');
    EXPECT_TRUE(IsHandled(window, WM_SYSKEYUP, VK_MENU)) << "Alt is released first";
    EXPECT_FALSE(IsHandled(window, WM_KEYUP, '2'));
    press('1');
    EXPECT_TRUE(IsHandled(window, WM_KEYUP, VK_MENU)) << "Ctrl was held in between";
}

TEST(ConvListKeys, AltAloneStillOpensTheSystemMenu)
{
    const CListWindow window;
    EXPECT_FALSE(IsHandled(window, WM_SYSKEYDOWN, VK_MENU));
    EXPECT_FALSE(IsHandled(window, WM_SYSKEYUP, VK_MENU));
    {
        const CHeldKeys alt{VK_MENU};
        EXPECT_TRUE(IsHandled(window, WM_SYSKEYDOWN, '1'));
    }
    // The user releases this Alt in another window, so the list sees no release.
    EXPECT_FALSE(IsHandled(window, WM_SYSKEYDOWN, VK_MENU));
    EXPECT_FALSE(IsHandled(window, WM_SYSKEYUP, VK_MENU));
}

// Uses real keyboard input through the message queue.
TEST(ConvListKeys, AltAndADigitOpenNoMenuWhicheverIsReleasedFirst)
{
    const CListWindow window;
    const auto waitForRelease = [&window](const std::vector<int>& order) {
        EXPECT_TRUE(WaitFor([&] {
            DrainMessages();
            return window.m_list.GetColumnOrder() == order && GetKeyState(VK_MENU) >= 0 &&
                   GetKeyState('1') >= 0;
        }));
    };
    PressKeys({VK_MENU, '1'});
    waitForRelease({1, 0, 2});
    PressKeysReleasingFirstFirst({VK_MENU, '1'});
    waitForRelease({1, 2, 0});
    EXPECT_EQ(window.m_parent.m_keyMenus, 0);
    PressKeys({VK_MENU});
    EXPECT_TRUE(WaitFor([&] {
        DrainMessages();
        return window.m_parent.m_keyMenus == 1;
    })) << "Alt alone";
}

TEST(ConvListKeys, TabOnTheHeaderOpensNoEditor)
{
    const CListWindow window;
    window.Focus(1);
    MSG tab{window.m_list.GetHeader(), WM_KEYDOWN, VK_TAB, 1, 0, {}};
    CWnd* const list = CWnd::FromHandle(window.m_list.m_hWnd);
    EXPECT_FALSE(list->PreTranslateMessage(tab));
    EXPECT_EQ(window.Editor(), nullptr);
}

TEST(ConvListKeys, OtherKeysDoNotChangeTheColumns)
{
    const CListWindow window;
    const auto expectUnchanged = [&window](const char* keys) {
        EXPECT_EQ(window.m_list.GetColumnOrder(), (std::vector<int>{0, 1, 2})) << keys;
        for (const int column : {0, 1, 2}) {
            EXPECT_EQ(window.m_list.GetColumnWidth(column), 175) << keys;
        }
    };
    PressKey('1');
    expectUnchanged("1");
    {
        const CHeldKeys control{VK_CONTROL};
        PressKey('4');
        PressKey('0');
        expectUnchanged("Ctrl+4, Ctrl+0");
    }
    const CHeldKeys altGr{VK_CONTROL, VK_MENU};
    PressKey('1');
    expectUnchanged("AltGr+1");
}

TEST(ConvListKeys, CtrlASelectsAllRows)
{
    const CListWindow window;
    window.Focus(2);
    PressKey('A');
    EXPECT_EQ(window.SelectedRows(), std::vector<int>{2}) << "without Ctrl";
    const CHeldKeys control{VK_CONTROL};
    PressKey('A');
    EXPECT_EQ(window.SelectedRows(), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(window.FocusedRow(), 2);
}

}  // namespace
