#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "framework/Clipboard.h"
#include "framework/MessageBox.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/Languages.h"
#include "tests/windows/ConvListScopes.h"

// What the end of an edit does to the cell, and which messages appear.

namespace {

// What is typed over a cell of row 1, and the cell afterwards. One case of each kind: ConversionTableTest.cpp
// has the others.
struct Commit
{
    int column;
    const wchar_t* typed;
    const wchar_t* cell;
    bool changed;
    const Text* message = nullptr;
};

constexpr Commit kCommits[] = {
    {1, L"  M8x20 ", L"M8x20.sldprt", true},
    {1, L"", L"M1.sldprt", false},
    {1, L"M1", L"M1.sldprt", false},
    {1, L"M2", L"M1.sldprt", false, &expected::kNameTaken},  // row 2 has this name
    {1, L"a|b<c>", L"a_b_c_.sldprt", true, &expected::kForbiddenInFileName},
    {2, L" Bolt %2", L" Bolt %2", true},
    {2, L"", L"", true},
    {2, L"Norm 1", L"Norm 1", false},
    {2, L"x/y", L"x_y", true, &expected::kForbiddenInBomName},
};

class ConvListCommit : public LanguageTest
{
protected:
    // Edits the cell of row 1 in a fresh list.
    void Try(const Commit& commit)
    {
        CListWindow window;
        CMessageTrace trace(window);
        window.m_list.EditCell(1, commit.column);
        window.Retype(commit.typed);
        static_cast<void>(trace.Take());
        PressKey(VK_RETURN);
        EXPECT_EQ(m_messages.TakeTexts(),
                  commit.message != nullptr ? Texts{commit.message->Current()} : Texts{});
        EXPECT_EQ(window.m_list.GetItemText(1, commit.column), commit.cell);
        EXPECT_EQ(window.m_list.GetItemText(1, 0), L"N_1.sldprt");
        EXPECT_EQ(window.m_list.GetItemData(1), commit.changed ? 1 : 0);
        EXPECT_EQ(window.m_list.GetItemState(1, LVIS_STATEIMAGEMASK), commit.changed ? 0x1000U : 0x2000U);
        EXPECT_EQ(window.m_list.CountPendingRows(), commit.changed ? 1 : 0) << "another row is pending";
        EXPECT_EQ(window.Editor(), nullptr);
        EXPECT_EQ(ChangesIn(trace.Take()), commit.changed ? 1 : 0);
    }

    static int ChangesIn(const Texts& lines)
    {
        return static_cast<int>(std::ranges::count(lines, L"parent WM_LISTCHANGED 0 0"));
    }

    CMessageRecorder m_messages;
};

INSTANTIATE_TEST_SUITE_P(Languages, ConvListCommit, testing::Values(1, 0),
                         [](const auto& flag) { return flag.param != 0 ? "German" : "English"; });

TEST_P(ConvListCommit, ACellFollowsTheNameRules)
{
    for (const Commit& commit : kCommits) {
        SCOPED_TRACE(testing::PrintToString(commit.typed));
        Try(commit);
    }
}

TEST_P(ConvListCommit, AnAssemblysNewNameGetsThePartsExtension)
{
    CListWindow window;
    window.m_list.SetItemText(1, 0, L"N_1.sldasm");
    window.m_list.SetItemText(1, 1, L"M1.sldasm");
    window.m_list.EditCell(1, 1);
    window.Retype(L"Frame");
    PressKey(VK_RETURN);
    EXPECT_EQ(window.m_list.GetItemText(1, 1), L"Frame.sldprt");
}

TEST_P(ConvListCommit, AnAssemblysUneditedNewNameGetsThePartsExtensionToo)
{
    CListWindow window;
    window.m_list.SetItemText(1, 1, L"M1.sldasm");
    window.m_list.EditCell(1, 1);
    PressKey(VK_RETURN);
    EXPECT_EQ(window.m_list.GetItemText(1, 1), L"M1.sldasm.sldprt");
}

TEST_P(ConvListCommit, AnAdditionToTheTextKeepsTheRest)
{
    CListWindow window;
    window.m_list.EditCell(1, 2);
    SendMessageW(window.Editor(), EM_SETSEL, 6, 6);
    Type(L"0 %2");
    PressKey(VK_RETURN);
    EXPECT_EQ(window.m_list.GetItemText(1, 2), L"Norm 10 %2");
}

TEST_P(ConvListCommit, ALongTextIsKeptWhole)
{
    const std::wstring text(700, L'ü');
    CListWindow window;
    window.m_list.EditCell(1, 2);
    CWnd::FromHandle(window.Editor())->SetWindowText(text);
    PressKey(VK_RETURN);
    EXPECT_EQ(window.m_list.GetItemText(1, 2), text);
}

// Pastes over the text of a cell of row 1 and returns the cell after Enter.
std::wstring PasteIntoCell(int column, const std::wstring& text)
{
    CListWindow window;
    window.m_list.EditCell(1, column);
    EXPECT_TRUE(WriteClipboard(window.m_list.m_hWnd, text));
    SendMessageW(window.Editor(), WM_PASTE, 0, 0);
    PressKey(VK_RETURN);
    return window.m_list.GetItemText(1, column);
}

TEST_P(ConvListCommit, APastedTextBecomesOneLineOfWholeCharacters)
{
    EXPECT_EQ(PasteIntoCell(1, L"M8\r\nM10"), L"M8.sldprt");
    EXPECT_EQ(PasteIntoCell(1, L"M8\u2028\x0B\x7F\u0085\U0001F529"), L"M8\u2028   \U0001F529.sldprt");
    EXPECT_EQ(PasteIntoCell(2, L"\tNut \U0001F529\nM8"), L" Nut \U0001F529");
    EXPECT_EQ(PasteIntoCell(2, L"\xD83D"), L"\xD83D") << "the file system allows half a pair, too";
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

// A character of two units is typed as two messages.
TEST_P(ConvListCommit, ATypedTextKeepsItsCharactersWhole)
{
    CListWindow window;
    window.m_list.EditCell(1, 1);
    std::wstring name;
    for (int i = 0; i < 40; ++i) {
        name += L"\U0001F529";
    }
    window.Retype(name);
    PressKey(VK_RETURN);
    EXPECT_EQ(window.m_list.GetItemText(1, 1), name + L".sldprt");
}

TEST_P(ConvListCommit, TheListDoesNotSetTheLabelItself)
{
    CListWindow window;
    NMLVDISPINFOW end{};
    end.hdr = {window.m_list.m_hWnd, IDC_LIST, static_cast<UINT>(LVN_ENDLABELEDITW)};
    wchar_t text[] = L"x";
    for (wchar_t* const typed : {static_cast<wchar_t*>(nullptr), text}) {
        end.item.mask = LVIF_TEXT;
        end.item.iItem = 2;
        end.item.iSubItem = 2;
        end.item.pszText = typed;
        EXPECT_EQ(window.m_parent.SendMessage(WM_NOTIFY, IDC_LIST, reinterpret_cast<LPARAM>(&end)), 0);
    }
    EXPECT_EQ(window.m_list.GetItemText(2, 2), L"x");
}

// Two message boxes appear: "a/b" has a forbidden character, and row 2 has the cleaned name "a_b.sldprt".
// While each box is open, the focus goes to the editor, to the list and back to the editor, as when the user
// switches between programs.
TEST_P(ConvListCommit, TheFocusMayMoveWhileAMessageIsOpen)
{
    CListWindow window;
    window.m_list.SetItemText(2, 1, L"a_b.sldprt");
    CMessageTrace trace(window);
    window.m_list.EditCell(1, 1);
    window.Retype(L"a/b");
    static_cast<void>(trace.Take());
    const HWND editor = window.Editor();
    int boxes = 0;
    const CListenerScope listener([&](const MessageRequest&) -> std::optional<int> {
        ++boxes;
        SetFocus(editor);
        SetFocus(window.m_list.m_hWnd);
        EXPECT_TRUE(IsWindow(editor)) << "the end of the edit is still being handled";
        SetFocus(editor);
        return IDOK;
    });
    window.m_list.SetFocus();
    EXPECT_EQ(boxes, 2);
    EXPECT_FALSE(IsWindow(editor));
    EXPECT_EQ(window.m_list.GetItemText(1, 1), L"M1.sldprt");
    int ends = 0;
    for (const std::wstring& line : trace.Take()) {
        ends += line.starts_with(L"parent LVN_ENDLABELEDIT") ? 1 : 0;
    }
    EXPECT_EQ(ends, 1);
}

TEST_P(ConvListCommit, AnotherEditorOpensAfterTheMessageAboutTheFirst)
{
    CListWindow window;
    int boxes = 0;
    const CListenerScope listener([&](const MessageRequest&) -> std::optional<int> {
        ++boxes;
        EXPECT_EQ(CWnd::TextOf(window.Editor()), L"M2") << "no other editor is open yet";
        return IDOK;
    });
    window.m_list.EditCell(1, 1);
    window.Retype(L"M2");  // row 2 has this name
    window.m_list.EditCell(3, 2);
    EXPECT_EQ(boxes, 1);
    EXPECT_EQ(window.m_list.GetItemText(1, 1), L"M1.sldprt");
    EXPECT_EQ(CWnd::TextOf(window.Editor()), L"Norm 3");
    EXPECT_EQ(::GetFocus(), window.Editor());
}

// A real message box takes the focus and returns it.
TEST_P(ConvListCommit, ARealMessageBoxMayAppearWhileTheFocusMoves)
{
    CListWindow window;
    const CMainWindowScope mainWindow(&window.m_parent);
    const CListenerScope listener(nullptr);
    CMessageTrace trace(window);
    window.m_list.EditCell(1, 1);
    window.Retype(L"M2");
    static_cast<void>(trace.Take());
    int closed = 0;
    const CTimerScope user(30, [&closed] {
        const HWND box = GetLastActivePopup(CWinApp::Get()->m_mainWindow->m_hWnd);
        if (box != CWinApp::Get()->m_mainWindow->m_hWnd && IsWindowVisible(box) != FALSE) {
            closed += PostMessageW(box, WM_COMMAND, IDOK, 0) != FALSE && closed == 0 ? 1 : 0;
        }
    });
    PressKey(VK_RETURN);
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(window.Editor(), nullptr);
    Texts lines = trace.Take();
    std::erase(lines, L"list WM_SETFOCUS");  // the system decides where the focus goes
    EXPECT_EQ(lines,
              (Texts{L"editor WM_KEYDOWN", L"editor WM_CHAR", L"editor WM_KILLFOCUS",
                     L"parent LVN_ENDLABELEDIT row 1 column 1 \"M2\" length 2", L"editor WM_NCDESTROY"}));
    EXPECT_EQ(window.m_list.GetItemText(1, 1), L"M1.sldprt");
}

}  // namespace
