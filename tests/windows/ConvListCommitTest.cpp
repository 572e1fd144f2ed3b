#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "framework/MessageBox.h"
#include "tests/support/CharacterMessages.h"
#include "tests/windows/ConvListScopes.h"

// What becomes of the text that was typed into a cell's editor.

namespace {

constexpr wchar_t kSame[] = L"M1.sldprt";

// What is typed over the text of row 1 and how the cell, the mark and the message come out.
struct Commit
{
    int column;
    std::wstring typed;
    std::wstring cell;
    bool changed;
    std::wstring german = {};  // the message; empty: none
    std::wstring english = {};
};

std::vector<Commit> FileNames()
{
    return {
        {1, L"M8x20", L"M8x20.sldprt", true},
        {1, L"  M8x20 ", L"M8x20.sldprt", true},
        {1, L"M8x20.SLDPRT", L"M8x20.SLDPRT", true},
        {1, L"M8x20sldprt", L"M8x20sldprt", true},
        {1, L"Frame.sldasm", L"Frame.sldasm.sldprt", true},
        {1, L"part...sldprt", L"part.sldprt", true},
        {1, L"", kSame, false},
        {1, L"   ", kSame, false},
        {1, L"M1.sldprt", kSame, false},
        {1, L"M1", kSame, false},
        {1, L"m1.sldprt", L"m1.sldprt", true},
        {1, L"m2.sldprt", L"m2.sldprt", true},  // row 2 is called M2.sldprt
        {1, L"M2", kSame, false, L"Der angegebene Dateiname ist schon vorhanden.",
         L"The file name is not unique."},
        {1, L"a|b<c>", L"a_b_c_.sldprt", true, kForbiddenGerman, kForbiddenEnglish},
        {1, L"/\\*:\"?;=", L"________.sldprt", true, kForbiddenGerman, kForbiddenEnglish},
    };
}

std::vector<Commit> BomNames()
{
    return {
        {2, L"Bolt %2", L"Bolt %2", true},
        {2, L"x/y", L"x_y", true, kFeatureGerman, kFeatureEnglish},
        {2, L"@/;=", L"____", true, kFeatureGerman, kFeatureEnglish},
        {2, L"a:b|c", L"a:b|c", true},
        {2, L" Norm 1 ", L" Norm 1 ", true},
        {2, L"norm 1", L"norm 1", true},
        {2, L"Norm 2", L"Norm 2", true},
        {2, L"", L"", true},
        {2, L"Norm 1", L"Norm 1", false},
    };
}

class ConvListCommit : public testing::TestWithParam<int>
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
        const std::wstring& message = GetParam() != 0 ? commit.german : commit.english;
        EXPECT_EQ(m_messages.TakeTexts(), message.empty() ? Texts{} : Texts{message});
        EXPECT_EQ(window.m_list.GetItemText(1, commit.column), commit.cell);
        EXPECT_EQ(window.m_list.GetItemText(1, 0), L"N_1.sldprt");
        EXPECT_EQ(window.m_list.GetItemData(1), commit.changed ? 1 : 0);
        EXPECT_EQ(window.m_list.GetItemState(1, LVIS_STATEIMAGEMASK), commit.changed ? 0x1000U : 0x2000U);
        EXPECT_EQ(window.m_list.CountPendingRows(), commit.changed ? 1 : 0) << "no other row";
        EXPECT_EQ(window.Editor(), nullptr);
        EXPECT_EQ(ChangesIn(trace.Take()), commit.changed ? 1 : 0);
    }

    void TryAll(const std::vector<Commit>& commits)
    {
        for (const Commit& commit : commits) {
            SCOPED_TRACE(testing::PrintToString(commit.typed));
            Try(commit);
        }
    }

    static int ChangesIn(const Texts& lines)
    {
        return static_cast<int>(std::ranges::count(lines, L"parent WM_LISTCHANGED 0 0"));
    }

    const CLanguageScope m_language{GetParam()};
    CMessageRecorder m_messages;
};

INSTANTIATE_TEST_SUITE_P(Languages, ConvListCommit, testing::Values(1, 0),
                         [](const auto& flag) { return flag.param != 0 ? "German" : "English"; });

TEST_P(ConvListCommit, AFileNameFollowsTheRules)
{
    TryAll(FileNames());
}

TEST_P(ConvListCommit, ABomNameFollowsTheRules)
{
    TryAll(BomNames());
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

// An edit that is left as it was gains the extension all the same.
TEST_P(ConvListCommit, AnAssemblysNewNameGetsItsExtensionEvenUnedited)
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

TEST_P(ConvListCommit, ALongTextIsTakenInFull)
{
    const std::wstring text(700, L'ü');
    CListWindow window;
    window.m_list.EditCell(1, 2);
    CWnd::FromHandle(window.Editor())->SetWindowText(text);
    PressKey(VK_RETURN);
    EXPECT_EQ(window.m_list.GetItemText(1, 2), text);
}

TEST_P(ConvListCommit, TheListTakesNoLabelItself)
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

// Until the end of the scope, message boxes are answered by a function.
class CListenerScope
{
public:
    explicit CListenerScope(MessageListener listener) : m_before(SetMessageListener(std::move(listener))) {}
    ~CListenerScope() { SetMessageListener(std::move(m_before)); }
    CListenerScope(const CListenerScope&) = delete;
    CListenerScope& operator=(const CListenerScope&) = delete;

private:
    MessageListener m_before;
};

// The boxes of two messages that come while the focus is on its way: the program may have been left for
// another one in the middle of an edit. The first box gives the focus back to the editor as it closes, the
// second one takes it away again.
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
        EXPECT_TRUE(IsWindow(editor)) << "its end is still being dealt with";
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

TEST_P(ConvListCommit, AnotherEditorOpensBehindTheMessageAboutTheFirst)
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

// The box of a real message takes the focus and gives it back.
TEST_P(ConvListCommit, ARealMessageBoxMayComeWhileTheFocusMoves)
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
        const HWND box = GetLastActivePopup(CWinApp::Get()->m_pMainWnd->m_hWnd);
        if (box != CWinApp::Get()->m_pMainWnd->m_hWnd && IsWindowVisible(box) != FALSE) {
            closed += PostMessageW(box, WM_COMMAND, IDOK, 0) != FALSE && closed == 0 ? 1 : 0;
        }
    });
    PressKey(VK_RETURN);
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(window.Editor(), nullptr);
    Texts lines = trace.Take();
    std::erase(lines, L"list WM_SETFOCUS");  // where the focus goes from the box is the system's affair
    EXPECT_EQ(lines,
              (Texts{L"editor WM_KEYDOWN", L"editor WM_CHAR", L"editor WM_KILLFOCUS",
                     L"parent LVN_ENDLABELEDIT row 1 column 1 \"M2\" length 2", L"editor WM_NCDESTROY"}));
    EXPECT_EQ(window.m_list.GetItemText(1, 1), L"M1.sldprt");
}

}  // namespace
