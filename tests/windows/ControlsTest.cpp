#include "framework/Controls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "framework/Clipboard.h"
#include "resources/resource.h"
#include "tests/support/WindowScopes.h"
#include "ui/EditSourceDir.h"

namespace {

constexpr int kControl = 700;
constexpr COLORREF kMask = RGB(255, 0, 255);

template <class Control>
class CControlWindow
{
public:
    explicit CControlWindow(const wchar_t* controlClass, DWORD style = 0)
    {
        const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
        ::InitCommonControlsEx(&controls);
        EXPECT_TRUE(m_control.SubclassWindow(m_window.AddControl(controlClass, kControl, style)));
    }

    CPlainWindow m_window;
    Control m_control;
};

TEST(Controls, AButtonReturnsWhetherItIsChecked)
{
    const CControlWindow<CButton> box(L"BUTTON", BS_AUTOCHECKBOX);
    EXPECT_FALSE(box.m_control.IsChecked());
    box.m_control.SendMessage(BM_SETCHECK, BST_CHECKED);
    EXPECT_TRUE(box.m_control.IsChecked());
}

TEST(Controls, AnEditGetsTheFocusAndSelectsItsText)
{
    const CControlWindow<CEdit> edit(L"EDIT", ES_AUTOHSCROLL);
    edit.m_control.SetWindowText(L"%5%3_%4.changed.%6");
    SetFocus(edit.m_window.m_hWnd);
    edit.m_control.FocusAndSelectAll();
    EXPECT_EQ(GetFocus(), edit.m_control.m_hWnd);
    EXPECT_EQ(edit.m_control.SendMessage(EM_GETSEL), MAKELRESULT(0, 18));
    edit.m_control.SetSel(2, 4);
    EXPECT_EQ(edit.m_control.SendMessage(EM_GETSEL), MAKELRESULT(2, 4));
}

// Pastes a text over "old" in "an old name". Undoes the paste and returns the text before the undo.
template <class Edit>
std::wstring PasteInto(const std::wstring& text)
{
    const CControlWindow<Edit> edit(L"EDIT", ES_AUTOHSCROLL);
    edit.m_control.SetWindowText(L"an old name");
    edit.m_control.SetSel(3, 6);
    EXPECT_TRUE(WriteClipboard(edit.m_window.m_hWnd, text));
    edit.m_control.SendMessage(WM_PASTE);
    const std::wstring pasted = edit.m_control.GetWindowText();
    edit.m_control.SendMessage(EM_UNDO);
    EXPECT_EQ(edit.m_control.GetWindowText(), L"an old name");
    return pasted;
}

TEST(Controls, AnEditPastesOneLineWithoutTabs)
{
    EXPECT_EQ(PasteInto<CEdit>(L"M8\tx\t20"), L"an M8 x 20 name");
    EXPECT_EQ(PasteInto<CEdit>(L"M8\r\nM10"), L"an M8 name");
    EXPECT_EQ(PasteInto<CEdit>(L"M8\nM10"), L"an M8 name");
    EXPECT_EQ(PasteInto<CEdit>(L"\u00DC \U0001F529 \x7F \x01."), L"an \u00DC \U0001F529    . name");
    EXPECT_EQ(PasteInto<CEdit>(L"\"M8\""), L"an \"M8\" name");
}

// The file system allows surrogates without a partner.
TEST(Controls, AnEditPastesSurrogatesAsTheyAre)
{
    EXPECT_EQ(PasteInto<CEdit>(L"\U0001F529\U0001F9F0"), L"an \U0001F529\U0001F9F0 name");
    EXPECT_EQ(PasteInto<CEdit>(L"\xD83Dx\xDD29"), L"an \xD83Dx\xDD29 name");
    EXPECT_EQ(PasteInto<CEdit>(L"\U0001F529\n\U0001F9F0"), L"an \U0001F529 name");
}

TEST(Controls, AnEditPastesNoHalfOfACharacterAtItsLimit)
{
    const auto pasteUpTo = [](WPARAM limit) {
        const CControlWindow<CEdit> edit(L"EDIT", ES_AUTOHSCROLL);
        edit.m_control.SetWindowText(L"an old name");
        edit.m_control.SetSel(3, 6);
        edit.m_control.SendMessage(EM_SETLIMITTEXT, limit);
        EXPECT_TRUE(WriteClipboard(edit.m_window.m_hWnd, L"M8 \U0001F529\U0001F9F0"));
        edit.m_control.SendMessage(WM_PASTE);
        return edit.m_control.GetWindowText();
    };
    EXPECT_EQ(pasteUpTo(15), L"an M8 \U0001F529\U0001F9F0 name");
    EXPECT_EQ(pasteUpTo(14), L"an M8 \U0001F529 name");
    EXPECT_EQ(pasteUpTo(13), L"an M8 \U0001F529 name");
    EXPECT_EQ(pasteUpTo(12), L"an M8  name");
    EXPECT_EQ(pasteUpTo(11), L"an M8  name");
    EXPECT_EQ(pasteUpTo(5), L"an  name") << "the text was longer than the limit before";
}

TEST(Controls, TheFolderFieldPastesAPathWithoutItsQuotes)
{
    EXPECT_EQ(PasteInto<CEditSourceDir>(L"\"D:\\ISO 4014\"\r\n"), L"an D:\\ISO 4014 name");
}

TEST(Controls, AnEditKeepsItsTextIfThereIsNothingToPaste)
{
    const CControlWindow<CEdit> edit(L"EDIT", ES_AUTOHSCROLL);
    edit.m_control.SetWindowText(L"a name");
    edit.m_control.SetSel(0, -1);
    ASSERT_TRUE(OpenClipboard(edit.m_window.m_hWnd));
    EmptyClipboard();
    CloseClipboard();
    edit.m_control.SendMessage(WM_PASTE);
    EXPECT_EQ(edit.m_control.GetWindowText(), L"a name");
}

TEST(Controls, CtrlBackspaceDeletesTheWordBeforeTheCaret)
{
    const CControlWindow<CEdit> edit(L"EDIT", ES_AUTOHSCROLL);
    const auto press = [&] { edit.m_control.SendMessage(WM_CHAR, 0x7F); };
    edit.m_control.SetWindowText(L"DIN 933  M8 x");
    edit.m_control.SetSel(11, 11);
    press();
    EXPECT_EQ(edit.m_control.GetWindowText(), L"DIN 933   x");
    press();
    EXPECT_EQ(edit.m_control.GetWindowText(), L"DIN  x");
    edit.m_control.SetSel(1, 3);
    press();
    EXPECT_EQ(edit.m_control.GetWindowText(), L"D  x") << "a selection is deleted instead";
    press();
    press();
    EXPECT_EQ(edit.m_control.GetWindowText(), L"  x") << "at the start nothing is left to delete";
    edit.m_control.SendMessage(WM_CHAR, L'N');
    EXPECT_EQ(edit.m_control.GetWindowText(), L"N  x");
    edit.m_control.SetWindowText(L"M8 \U0001F529\U0001F529");
    edit.m_control.SetSel(5, 5);
    press();
    EXPECT_EQ(edit.m_control.GetWindowText(), L"M8 \U0001F529")
        << "a character of two units is deleted whole";
}

TEST(Controls, TheWheelChangesNoClosedComboBox)
{
    const CControlWindow<CComboBox> box(L"COMBOBOX", CBS_DROPDOWNLIST);
    for (const wchar_t* year : {L"2022", L"2023", L"2024"}) {
        box.m_control.AddString(year);
    }
    box.m_control.SetCurSel(1);
    const auto turn = [&] { box.m_control.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA)); };
    turn();
    EXPECT_EQ(box.m_control.GetCurSel(), 1);
    box.m_control.SendMessage(CB_SHOWDROPDOWN, TRUE);
    turn();
    EXPECT_EQ(box.m_control.SendMessage(CB_GETDROPPEDSTATE), TRUE) << "an open list scrolls";
    box.m_control.SendMessage(CB_SHOWDROPDOWN, FALSE);
}

TEST(Controls, AComboBoxHoldsEntries)
{
    const CControlWindow<CComboBox> box(L"COMBOBOX", CBS_DROPDOWNLIST);
    EXPECT_EQ(box.m_control.GetCurSel(), -1);
    EXPECT_EQ(box.m_control.AddString(L"2019"), 0);
    EXPECT_EQ(box.m_control.AddString(L"2024 (größer)"), 1);
    box.m_control.SetCurSel(1);
    EXPECT_EQ(box.m_control.GetCurSel(), 1);
    EXPECT_EQ(box.m_control.GetLBText(0), L"2019");
    EXPECT_EQ(box.m_control.GetLBText(1), L"2024 (größer)");
    EXPECT_EQ(box.m_control.GetLBText(2), L"");
    EXPECT_EQ(box.m_control.GetLBText(-1), L"");
    box.m_control.SetCurSel(-1);
    EXPECT_EQ(box.m_control.GetCurSel(), -1);
    box.m_control.ResetContent();
    EXPECT_EQ(box.m_control.GetLBText(0), L"");
}

TEST(Controls, AProgressBarMovesInItsRange)
{
    CControlWindow<CProgressCtrl> bar(PROGRESS_CLASSW);
    bar.m_control.SetRange(10, 200);
    PBRANGE range{};
    bar.m_control.SendMessage(PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
    EXPECT_EQ(range.iLow, 10);
    EXPECT_EQ(range.iHigh, 200);
    bar.m_control.SetPos(150);
    EXPECT_EQ(bar.m_control.GetPos(), 150);
}

// On Windows, a themed bar moves gradually to a greater position and at once to a smaller one. So SetPos goes
// one position too far and back. It cannot go beyond the end of the range: there it goes one position back,
// and only the last step is gradual. Wine's bar always moves at once.
TEST(Controls, AProgressBarReachesAGreaterPositionFromAboveOrByItsLastStep)
{
    CControlWindow<CProgressCtrl> bar(PROGRESS_CLASSW);
    bar.m_control.SetRange(0, 100);
    std::vector<int> positions;
    const CSentMessageHook hook([&](const CWPSTRUCT& sent) {
        if (sent.message == PBM_SETPOS) {
            positions.push_back(static_cast<int>(sent.wParam));
        } else if (sent.message == PBM_DELTAPOS) {
            positions.push_back(bar.m_control.GetPos() + static_cast<int>(sent.wParam));
        }
    });
    const auto sentFor = [&](int position) {
        positions.clear();
        bar.m_control.SetPos(position);
        EXPECT_EQ(bar.m_control.GetPos(), position);
        return positions;
    };
    using Positions = std::vector<int>;
    EXPECT_EQ(sentFor(50), (Positions{51, 50}));
    EXPECT_EQ(sentFor(50), (Positions{50}));
    EXPECT_EQ(sentFor(100), (Positions{101, 99, 100}));
    EXPECT_EQ(sentFor(0), (Positions{0}));
}

TEST(Controls, AProgressBarPaintsOnlyThePositionThatItReaches)
{
    CControlWindow<CProgressCtrl> bar(PROGRESS_CLASSW);
    bar.m_control.SetRange(0, 100);
    bar.m_control.ShowWindow(SW_SHOW);
    ShowWindow(GetParent(bar.m_control.m_hWnd), SW_SHOW);
    UpdateWindow(bar.m_control.m_hWnd);
    std::vector<int> painted;
    const CSentMessageHook hook([&](const CWPSTRUCT& sent) {
        if (sent.message == WM_ERASEBKGND && sent.hwnd == bar.m_control.m_hWnd) {
            painted.push_back(bar.m_control.GetPos());
        }
    });
    bar.m_control.SetPos(50);
    bar.m_control.SetPos(100);
    UpdateWindow(bar.m_control.m_hWnd);
    EXPECT_TRUE(std::ranges::all_of(painted, [](int position) { return position == 50 || position == 100; }))
        << testing::PrintToString(painted);
    EXPECT_FALSE(GetUpdateRect(bar.m_control.m_hWnd, nullptr, FALSE));
    EXPECT_FALSE(painted.empty());
}

class ListCtrlTest : public testing::Test
{
protected:
    ListCtrlTest()
    {
        m_list.InsertColumn(0, L"Original", 175);
        m_list.InsertColumn(1, L"Umbenannt", 120, LVCFMT_RIGHT);
    }

    void Insert(int row, const wchar_t* text) const
    {
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iItem = row;
        item.pszText = const_cast<wchar_t*>(text);
        EXPECT_EQ(m_list.InsertItem(item), row);
    }

    CControlWindow<CListCtrl> m_host{WC_LISTVIEWW, LVS_REPORT | WS_CLIPCHILDREN};
    CListCtrl& m_list = m_host.m_control;
};

TEST_F(ListCtrlTest, HasColumns)
{
    wchar_t text[32] = {};
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
    column.pszText = text;
    column.cchTextMax = 32;
    ASSERT_TRUE(m_list.SendMessage(LVM_GETCOLUMNW, 1, reinterpret_cast<LPARAM>(&column)));
    EXPECT_STREQ(text, L"Umbenannt");
    EXPECT_EQ(column.cx, 120);
    EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, LVCFMT_RIGHT);
    ASSERT_TRUE(m_list.SendMessage(LVM_GETCOLUMNW, 0, reinterpret_cast<LPARAM>(&column)));
    EXPECT_EQ(column.cx, 175);
    EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, LVCFMT_LEFT);
}

TEST_F(ListCtrlTest, HoldsTextsOfAnyLength)
{
    Insert(0, L"N_ISO_4017_M8.sldprt");
    for (const std::size_t length : {0U, 1U, 258U, 259U, 260U, 261U, 519U, 520U, 5000U}) {
        const std::wstring text(length, L'ü');
        m_list.SetItemText(0, 1, text);
        EXPECT_EQ(m_list.GetItemText(0, 1), text) << length;
    }
    EXPECT_EQ(m_list.GetItemText(0, 0), L"N_ISO_4017_M8.sldprt");
    EXPECT_EQ(m_list.GetItemText(1, 0), L"");
}

TEST_F(ListCtrlTest, HoldsDataAndStates)
{
    Insert(0, L"a");
    Insert(1, L"b");
    EXPECT_EQ(m_list.GetItemData(1), 0);
    LVITEMW item{};
    item.mask = LVIF_PARAM;
    item.iItem = 1;
    item.lParam = static_cast<LPARAM>(0x123456789);
    m_list.SetItem(item);
    EXPECT_EQ(m_list.GetItemData(1), static_cast<LPARAM>(0x123456789));
    EXPECT_EQ(m_list.GetItemData(0), 0);
    m_list.SetItemState(1, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    EXPECT_EQ(m_list.GetItemState(1, LVIS_SELECTED), static_cast<UINT>(LVIS_SELECTED));
    EXPECT_EQ(m_list.GetItemState(0, LVIS_SELECTED), 0U);
    m_list.SetItemState(-1, LVIS_SELECTED, LVIS_SELECTED);
    EXPECT_EQ(m_list.GetItemState(0, LVIS_SELECTED), static_cast<UINT>(LVIS_SELECTED));
}

TEST_F(ListCtrlTest, IteratesOverItsRows)
{
    EXPECT_EQ(m_list.GetNextItem(-1, LVNI_ALL), -1);
    for (const int row : {0, 1, 2}) {
        Insert(row, L"x");
    }
    EXPECT_EQ(m_list.GetItemCount(), 3);
    m_list.SetItemState(0, LVIS_SELECTED, LVIS_SELECTED);
    m_list.SetItemState(2, LVIS_SELECTED, LVIS_SELECTED);
    EXPECT_EQ(m_list.GetNextItem(-1, LVNI_ALL), 0);
    EXPECT_EQ(m_list.GetNextItem(-1, LVNI_SELECTED), 0);
    EXPECT_EQ(m_list.GetNextItem(0, LVNI_SELECTED), 2);
    EXPECT_EQ(m_list.GetNextItem(2, LVNI_SELECTED), -1);
    EXPECT_TRUE(m_list.DeleteItem(1));
    EXPECT_FALSE(m_list.DeleteItem(2));
    EXPECT_EQ(m_list.GetItemCount(), 2);
    EXPECT_TRUE(m_list.DeleteAllItems());
    EXPECT_EQ(m_list.GetItemCount(), 0);
}

TEST_F(ListCtrlTest, ScrollsARowIntoView)
{
    for (int row = 0; row < 50; ++row) {
        Insert(row, L"x");
    }
    ASSERT_EQ(ListView_GetTopIndex(m_list.m_hWnd), 0);
    m_list.EnsureVisible(49);
    EXPECT_EQ(ListView_GetTopIndex(m_list.m_hWnd) + ListView_GetCountPerPage(m_list.m_hWnd), 50);
}

TEST_F(ListCtrlTest, APartlyVisibleRowIsNotScrolled)
{
    for (int row = 0; row < 50; ++row) {
        Insert(row, L"x");
    }
    const RECT first = m_list.GetRowRect(0);
    const LONG height = first.bottom - first.top;
    SetWindowPos(m_list.m_hWnd, nullptr, 0, 0, 400, first.top + 4 * height + height / 2,
                 SWP_NOMOVE | SWP_NOZORDER);
    m_list.EnsureVisible(4, true);
    EXPECT_EQ(m_list.GetTopIndex(), 0);
    m_list.EnsureVisible(4);
    EXPECT_EQ(m_list.GetTopIndex(), 1);
}

TEST_F(ListCtrlTest, ReturnsAndSetsItsColumns)
{
    EXPECT_EQ(m_list.GetColumnCount(), 2);
    m_list.InsertColumn(2, L"Benennung", 90, LVCFMT_CENTER);
    EXPECT_EQ(m_list.GetColumnCount(), 3);
    EXPECT_EQ(m_list.GetColumnWidth(0), 175);
    EXPECT_EQ(m_list.GetColumnWidth(2), 90);
    m_list.SetColumnWidth(2, 33);
    EXPECT_EQ(m_list.GetColumnWidth(2), 33);
    EXPECT_EQ(m_list.GetColumnWidth(1), 120);
    EXPECT_EQ(m_list.GetColumnFormat(0), LVCFMT_LEFT);
    EXPECT_EQ(m_list.GetColumnFormat(1), LVCFMT_RIGHT);
    EXPECT_EQ(m_list.GetColumnFormat(2), LVCFMT_CENTER);
}

TEST_F(ListCtrlTest, ShowsItsColumnsInAnOrder)
{
    m_list.InsertColumn(2, L"Benennung", 90);
    EXPECT_EQ(m_list.GetColumnOrder(), (std::vector<int>{0, 1, 2}));
    m_list.SetColumnOrder({2, 0, 1});
    EXPECT_EQ(m_list.GetColumnOrder(), (std::vector<int>{2, 0, 1}));
    EXPECT_EQ(m_list.GetColumnWidth(2), 90) << "a column keeps its number";
    const CControlWindow<CListCtrl> empty(WC_LISTVIEWW, LVS_REPORT);
    EXPECT_TRUE(empty.m_control.GetColumnOrder().empty());
}

TEST_F(ListCtrlTest, ReturnsTheRectanglesOfItsRows)
{
    for (int row = 0; row < 3; ++row) {
        Insert(row, L"x");
    }
    const RECT first = m_list.GetRowRect(0);
    const RECT header = ClientRectOf(m_list.GetHeader());
    EXPECT_EQ(first.left, 0);
    EXPECT_EQ(first.right, 295);  // 175 + 120
    EXPECT_EQ(first.top, header.bottom);
    EXPECT_EQ(m_list.GetRowRect(2).top, first.top + 2 * (first.bottom - first.top));
    const RECT none = m_list.GetRowRect(3);
    EXPECT_TRUE(IsRectEmpty(&none));
}

TEST_F(ListCtrlTest, ScrollsToTheRightAndBack)
{
    Insert(0, L"x");  // the list is 200 wide, its columns 295
    m_list.ScrollHorizontally(60);
    EXPECT_EQ(GetScrollPos(m_list.m_hWnd, SB_HORZ), 60);
    EXPECT_EQ(m_list.GetRowRect(0).left, -60);
    m_list.ScrollHorizontally(-20);
    EXPECT_EQ(m_list.GetRowRect(0).left, -40);
}

TEST_F(ListCtrlTest, ExtendedStylesAreSetUnderTheirMask)
{
    m_list.SetExtendedStyle(LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
    m_list.SetExtendedStyle(LVS_EX_GRIDLINES, 0);
    EXPECT_EQ(ListView_GetExtendedListViewStyle(m_list.m_hWnd), static_cast<DWORD>(LVS_EX_FULLROWSELECT));
}

TEST_F(ListCtrlTest, ShowsTheStateImagesOfABitmap)
{
    const CResourceScope resources;
    CImageList images;
    EXPECT_FALSE(images.Create(9999, 12, 0, kMask));
    EXPECT_EQ(images.GetHandle(), nullptr);
    ASSERT_TRUE(images.Create(IDB_STATES, 12, 0, kMask));
    EXPECT_EQ(ImageList_GetImageCount(images.GetHandle()), 2);
    int width = 0;
    int height = 0;
    ASSERT_TRUE(ImageList_GetIconSize(images.GetHandle(), &width, &height));
    EXPECT_EQ(width, 12);
    EXPECT_EQ(height, 12);
    m_list.SetImageList(images, LVSIL_STATE);
    EXPECT_EQ(ListView_GetImageList(m_list.m_hWnd, LVSIL_STATE), images.GetHandle());
    ListView_SetImageList(m_list.m_hWnd, nullptr, LVSIL_STATE);
}

LRESULT CALLBACK NoteRedraw(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR log)
{
    if (message == WM_SETREDRAW) {
        reinterpret_cast<std::vector<WPARAM>*>(log)->push_back(wParam);
    }
    return DefSubclassProc(window, message, wParam, lParam);
}

TEST_F(ListCtrlTest, ARedrawPauseEndsWithARedraw)
{
    std::vector<WPARAM> log;
    ASSERT_TRUE(SetWindowSubclass(m_list.m_hWnd, &NoteRedraw, 2, reinterpret_cast<DWORD_PTR>(&log)));
    UpdateWindow(m_list.m_hWnd);
    {
        const CRedrawPause pause(m_list);
        EXPECT_EQ(log, std::vector<WPARAM>{FALSE});
        Insert(0, L"a");
    }
    EXPECT_EQ(log, (std::vector<WPARAM>{FALSE, TRUE}));
    EXPECT_TRUE(GetUpdateRect(m_list.m_hWnd, nullptr, FALSE));
    RemoveWindowSubclass(m_list.m_hWnd, &NoteRedraw, 2);
}

TEST_F(ListCtrlTest, ARedrawPauseInsideAnotherLeavesTheRedrawToThatOne)
{
    std::vector<WPARAM> log;
    ASSERT_TRUE(SetWindowSubclass(m_list.m_hWnd, &NoteRedraw, 2, reinterpret_cast<DWORD_PTR>(&log)));
    UpdateWindow(m_list.m_hWnd);
    {
        const CRedrawPause outer(m_list);
        {
            const CRedrawPause inner(m_list);
            Insert(0, L"a");
        }
        EXPECT_EQ(log, std::vector<WPARAM>{FALSE});
        EXPECT_FALSE(GetUpdateRect(m_list.m_hWnd, nullptr, FALSE));
    }
    EXPECT_EQ(log, (std::vector<WPARAM>{FALSE, TRUE}));
    EXPECT_TRUE(GetUpdateRect(m_list.m_hWnd, nullptr, FALSE));
    {
        const CRedrawPause later(m_list);
    }
    EXPECT_EQ(log, (std::vector<WPARAM>{FALSE, TRUE, FALSE, TRUE}));
    RemoveWindowSubclass(m_list.m_hWnd, &NoteRedraw, 2);
}

TEST_F(ListCtrlTest, ARedrawPauseDoesNotInvalidateAnUnchangedHeader)
{
    const HWND header = ListView_GetHeader(m_list.m_hWnd);
    UpdateWindow(header);
    {
        const CRedrawPause pause(m_list);
        Insert(0, L"a");
    }
    EXPECT_FALSE(GetUpdateRect(header, nullptr, FALSE));
}

TEST_F(ListCtrlTest, ARedrawPauseKeepsAPendingRedrawOfTheHeader)
{
    const HWND header = ListView_GetHeader(m_list.m_hWnd);
    InvalidateRect(header, nullptr, TRUE);
    {
        const CRedrawPause pause(m_list);
        ValidateRect(header, nullptr);  // as the system may do during the pause
    }
    EXPECT_TRUE(GetUpdateRect(header, nullptr, FALSE));
}

// Moves the list view's header, without a redraw, when a redraw pause ends.
LRESULT CALLBACK MoveHeaderOnRedraw(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                    DWORD_PTR)
{
    const LRESULT result = DefSubclassProc(window, message, wParam, lParam);
    if (message == WM_SETREDRAW && wParam == TRUE) {
        const HWND header = ListView_GetHeader(window);
        SetWindowPos(header, nullptr, 0, 0, 50, 20, SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOREDRAW);
        ValidateRect(header, nullptr);
    }
    return result;
}

TEST_F(ListCtrlTest, ARedrawPauseInvalidatesAMovedHeader)
{
    ASSERT_TRUE(SetWindowSubclass(m_list.m_hWnd, &MoveHeaderOnRedraw, 2, 0));
    const HWND header = ListView_GetHeader(m_list.m_hWnd);
    UpdateWindow(header);
    {
        const CRedrawPause pause(m_list);
    }
    EXPECT_TRUE(GetUpdateRect(header, nullptr, FALSE));
    RemoveWindowSubclass(m_list.m_hWnd, &MoveHeaderOnRedraw, 2);
}

}  // namespace
