#include "ui/InPlaceList.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "tests/windows/ConvListScopes.h"

// Tests of the drop-down list that edits a cell of the conversion list. The program itself never opens this
// editor.

namespace {

const std::vector<std::wstring> kChoices{L"Norm 0", L"Norm 1", L"Bolt; big"};

class InPlaceList : public testing::Test
{
protected:
    // Opens the editor for a cell of row 1.
    void Open(int column = 2)
    {
        m_window.m_list.EditCellFromList(1, column, kChoices);
        ASSERT_NE(m_window.ListEditor(), nullptr);
        static_cast<void>(m_trace.Take());
    }
    LRESULT Send(UINT message, WPARAM wParam = 0) const
    {
        return SendMessageW(m_window.ListEditor(), message, wParam, 0);
    }
    // The messages to the parent since the last call.
    [[nodiscard]] Texts TakeEnds()
    {
        Texts lines = m_trace.Take();
        std::erase_if(lines, [](const std::wstring& line) { return !line.starts_with(L"parent "); });
        return lines;
    }
    // Expects that the edit has ended with these messages to the parent and has left this text in the cell.
    void ExpectEnd(const Texts& ends, const std::wstring& text)
    {
        EXPECT_EQ(TakeEnds(), ends);
        EXPECT_EQ(m_window.ListEditor(), nullptr);
        EXPECT_EQ(m_window.m_list.GetItemText(1, 2), text);
        EXPECT_EQ(m_window.m_list.CountPendingRows(), text == L"Norm 1" ? 0 : 1);
    }

    const Texts m_taken{L"parent LVN_ENDLABELEDIT row 1 column 2 \"Norm 0\" length 6",
                        L"parent WM_LISTCHANGED 0 0"};
    const Texts m_cancelled{L"parent LVN_ENDLABELEDIT row 1 column 2 no text"};
    CMessageRecorder m_messages;
    CListWindow m_window;
    CMessageTrace m_trace{m_window};
};

TEST_F(InPlaceList, BeginsWithTheCellsTextChosen)
{
    Open();
    EXPECT_EQ(GetFocus(), m_window.ListEditor());
    EXPECT_EQ(Send(CB_GETCOUNT), 3);
    EXPECT_EQ(Send(CB_GETCURSEL), 1);
    EXPECT_EQ(CWnd::TextOf(m_window.ListEditor()), L"Norm 1");
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(m_window.ListEditor(), GWL_STYLE));
    EXPECT_EQ(style & CBS_DROPDOWNLIST, static_cast<DWORD>(CBS_DROPDOWNLIST));
    EXPECT_EQ(GetParent(m_window.ListEditor()), m_window.m_list.m_hWnd);
}

TEST_F(InPlaceList, LiesInItsCell)
{
    Open();
    const RECT rect = RectIn(m_window.m_list.m_hWnd, m_window.ListEditor());
    EXPECT_EQ(rect.left, 354);   // 350, where the column begins, and the indent of 4
    EXPECT_EQ(rect.right, 526);  // 354 and the column's width of 175, less the gap of 3
    EXPECT_EQ(rect.top, m_window.m_list.GetRowRect(1).top);
}

TEST_F(InPlaceList, EnterCommitsTheChoice)
{
    Open();
    PressKey(VK_UP);
    PressKey(VK_RETURN);
    ExpectEnd(m_taken, L"Norm 0");
    EXPECT_EQ(GetFocus(), m_window.m_list.m_hWnd);
}

TEST_F(InPlaceList, EscapeDropsTheChoice)
{
    Open();
    PressKey(VK_UP);
    PressKey(VK_ESCAPE);
    ExpectEnd(m_cancelled, L"Norm 1");
    EXPECT_EQ(GetFocus(), m_window.m_list.m_hWnd);
}

TEST_F(InPlaceList, LosingTheFocusCommitsTheChoice)
{
    Open();
    PressKey(VK_UP);
    m_window.m_list.SetFocus();
    ExpectEnd(m_taken, L"Norm 0");
}

TEST_F(InPlaceList, ClosingTheListCommitsTheChoice)
{
    Open();
    Send(CB_SHOWDROPDOWN, TRUE);
    EXPECT_EQ(Send(CB_GETDROPPEDSTATE), TRUE);
    PressKey(VK_UP);
    EXPECT_NE(m_window.ListEditor(), nullptr);
    Send(CB_SHOWDROPDOWN, FALSE);
    ExpectEnd(m_taken, L"Norm 0");
    EXPECT_EQ(GetFocus(), m_window.m_list.m_hWnd);
}

TEST_F(InPlaceList, EscapeInTheDroppedListDropsTheChoice)
{
    Open();
    Send(CB_SHOWDROPDOWN, TRUE);
    PressKey(VK_UP);
    PressKey(VK_ESCAPE);
    ExpectEnd(m_cancelled, L"Norm 1");
}

TEST_F(InPlaceList, TheFocusStaysWhereAClickOutsideTheDroppedListPutIt)
{
    const HWND other = m_window.m_parent.AddControl(WC_EDITW, 5, 0, {0, 320, 100, 340});
    Open();
    PressKey(VK_UP);
    Send(CB_SHOWDROPDOWN, TRUE);
    SetFocus(other);
    ExpectEnd(m_taken, L"Norm 0");
    EXPECT_EQ(GetFocus(), other);
}

TEST_F(InPlaceList, NothingChosenChangesNothing)
{
    m_window.m_list.SetItemText(1, 2, L"not among the choices");
    Open();
    EXPECT_EQ(Send(CB_GETCURSEL), CB_ERR);
    PressKey(VK_RETURN);
    EXPECT_EQ(TakeEnds(), m_cancelled);
    EXPECT_EQ(m_window.m_list.GetItemText(1, 2), L"not among the choices");
    EXPECT_EQ(m_window.m_list.CountPendingRows(), 0);
}

TEST_F(InPlaceList, TheRulesHoldForAChosenTextToo)
{
    Open();
    PressKey(VK_DOWN);
    PressKey(VK_RETURN);
    EXPECT_EQ(m_messages.TakeTexts().size(), 1U);
    EXPECT_EQ(m_window.m_list.GetItemText(1, 2), L"Bolt_ big");
}

TEST_F(InPlaceList, ScrollingEndsIt)
{
    Open();
    PressKey(VK_UP);
    m_window.m_list.SendMessage(WM_VSCROLL, SB_LINEDOWN);
    ExpectEnd(m_taken, L"Norm 0");
}

TEST_F(InPlaceList, TabEditsTheOtherColumn)
{
    Open();
    PressKey(VK_UP);
    PressKey(VK_TAB);
    ExpectEnd(m_taken, L"Norm 0");
    EXPECT_EQ(CWnd::TextOf(m_window.Editor()), L"M1.sldprt");
}

TEST_F(InPlaceList, ItsKeysAreOfferedToNoOneElse)
{
    for (const WPARAM key : std::initializer_list<WPARAM>{VK_RETURN, VK_ESCAPE, VK_DELETE}) {
        Open();
        m_window.m_parent.m_offeredKeys.clear();
        PressKey(key);
        EXPECT_TRUE(m_window.m_parent.m_offeredKeys.empty()) << key;
    }
    Open();
    PressKey(VK_UP);
    EXPECT_EQ(m_window.m_parent.m_offeredKeys, std::vector<WPARAM>{VK_UP});
}

TEST_F(InPlaceList, IsNotOpenedForACellThatHasNoPlace)
{
    m_window.m_list.EditCellFromList(5, 1, kChoices);
    m_window.m_list.EditCellFromList(1, 3, kChoices);
    EXPECT_EQ(m_window.ListEditor(), nullptr);
}

TEST_F(InPlaceList, NoColumnOpensIt)
{
    m_window.Focus(1);
    for (const int x : {20, 200, 400, 550}) {
        m_window.DoubleClick(m_window.At(x, 1));
        EXPECT_EQ(m_window.ListEditor(), nullptr) << x;
    }
    m_window.m_list.SetFocus();
    PressKey(VK_F2);
    EXPECT_EQ(m_window.ListEditor(), nullptr);
}

}  // namespace
