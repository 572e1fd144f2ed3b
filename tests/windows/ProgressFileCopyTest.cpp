#include "run/ProgressFileCopy.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestScopes.h"
#include "tests/support/UnderWine.h"
#include "tests/support/WindowScopes.h"

namespace {

const std::wstring kLead = expected::kCopy.german;

class ProgressFileCopyTest : public testing::TestWithParam<const wchar_t*>
{
protected:
    ProgressFileCopyTest() { m_progress = std::make_unique<CProgressFileCopy>(&m_owner, 0, 100, 0); }

    void PressCancel() const
    {
        ::SendMessageW(m_progress->GetDlgItem(IDCANCEL), BM_CLICK, 0, 0);
        DrainMessages();
    }

    [[nodiscard]] LRESULT AskBar(int id, UINT message) const
    {
        return ::SendMessageW(m_progress->GetDlgItem(id), message, 0, 0);
    }

    CResourceScope m_resources{GetParam()};
    CPlainWindow m_owner;
    std::unique_ptr<CProgressFileCopy> m_progress;
};

TEST_P(ProgressFileCopyTest, IsModelessAndOwned)
{
    EXPECT_TRUE(IsWindow(m_progress->m_hWnd));
    EXPECT_TRUE(IsWindowVisible(m_progress->m_hWnd));
    EXPECT_EQ(GetWindow(m_progress->m_hWnd, GW_OWNER), m_owner.m_hWnd);
    EXPECT_TRUE(m_owner.IsWindowEnabled());
    EXPECT_FALSE(m_progress->IsCancelled());
    EXPECT_TRUE(::IsWindowEnabled(m_progress->GetDlgItem(IDCANCEL)));
    for (const int id : {IDC_PROGRESS_FIRST, IDC_PROGRESS_SECOND, IDC_PROGRESS_THIRD}) {
        EXPECT_EQ(m_progress->GetDlgItemText(id), L"");
    }
}

TEST_P(ProgressFileCopyTest, TheConstructorShowsTheBars)
{
    const HWND plain =
        CreateDialogParamW(GetResourceHandle(), MAKEINTRESOURCEW(IDD_PROGRESS), nullptr, &IgnoreMessage, 0);
    for (const int id : {IDC_PROGRESS_FILE, IDC_PROGRESS_OVERALL}) {
        EXPECT_FALSE(IsWindowVisible(GetDlgItem(plain, id))) << "the dialog template hides the bars";
        EXPECT_TRUE(IsWindowVisible(m_progress->GetDlgItem(id)));
    }
    DestroyWindow(plain);
}

TEST_P(ProgressFileCopyTest, BothBarsGetRangeAndStart)
{
    const CProgressFileCopy progress(&m_owner, 20, 70, 30);
    for (const int id : {IDC_PROGRESS_FILE, IDC_PROGRESS_OVERALL}) {
        PBRANGE range{};
        const HWND bar = progress.GetDlgItem(id);
        ::SendMessageW(bar, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
        EXPECT_EQ(range.iLow, 20);
        EXPECT_EQ(range.iHigh, 70);
        EXPECT_EQ(::SendMessageW(bar, PBM_GETPOS, 0, 0), 30);
    }
}

TEST_P(ProgressFileCopyTest, ARefreshShowsEachTextInItsLine)
{
    m_progress->SetFirstText(kLead + L"C:\\Schraube & Mutter.sldprt");
    m_progress->SetSecondText(L"nach: D:\\x");
    m_progress->SetThirdText(L"dritte Zeile");
    EXPECT_EQ(m_progress->GetDlgItemText(IDC_PROGRESS_FIRST), L"");
    m_progress->Refresh();
    EXPECT_EQ(m_progress->GetDlgItemText(IDC_PROGRESS_FIRST), kLead + L"C:\\Schraube & Mutter.sldprt");
    EXPECT_EQ(m_progress->GetDlgItemText(IDC_PROGRESS_SECOND), L"nach: D:\\x");
    EXPECT_EQ(m_progress->GetDlgItemText(IDC_PROGRESS_THIRD), L"dritte Zeile");
    for (const int id : {IDC_PROGRESS_FIRST, IDC_PROGRESS_SECOND, IDC_PROGRESS_THIRD}) {
        EXPECT_FALSE(GetUpdateRect(m_progress->GetDlgItem(id), nullptr, FALSE)) << "painted at once";
    }
    m_progress->SetThirdText(L"");
    m_progress->Refresh();
    EXPECT_EQ(m_progress->GetDlgItemText(IDC_PROGRESS_FIRST), kLead + L"C:\\Schraube & Mutter.sldprt");
    EXPECT_EQ(m_progress->GetDlgItemText(IDC_PROGRESS_THIRD), L"");
}

TEST_P(ProgressFileCopyTest, EachPositionIsShownByItsBar)
{
    m_progress->SetFilePosition(33);
    m_progress->SetOverallPosition(66);
    EXPECT_EQ(AskBar(IDC_PROGRESS_FILE, PBM_GETPOS), 33);
    EXPECT_EQ(AskBar(IDC_PROGRESS_OVERALL, PBM_GETPOS), 66);
    EXPECT_EQ(m_progress->GetOverallPosition(), 66);
}

TEST_P(ProgressFileCopyTest, CancelSetsTheFlagAndNothingElse)
{
    PressCancel();
    EXPECT_TRUE(m_progress->IsCancelled());
    PressCancel();
    EXPECT_TRUE(m_progress->IsCancelled());
    EXPECT_TRUE(IsWindow(m_progress->m_hWnd));
    EXPECT_TRUE(IsWindowVisible(m_progress->m_hWnd));
    m_progress->ClearCancelled();
    EXPECT_FALSE(m_progress->IsCancelled());
    PressCancel();
    EXPECT_TRUE(m_progress->IsCancelled());
}

TEST_P(ProgressFileCopyTest, EscapeAndTheCloseBoxCancelToo)
{
    m_progress->PostMessage(WM_CLOSE);
    DrainMessages();
    EXPECT_TRUE(m_progress->IsCancelled());
    EXPECT_TRUE(IsWindow(m_progress->m_hWnd));
    m_progress->ClearCancelled();
    m_progress->PostMessage(WM_KEYDOWN, VK_ESCAPE, 1);
    DrainMessages();
    EXPECT_TRUE(m_progress->IsCancelled());
    EXPECT_TRUE(IsWindow(m_progress->m_hWnd));
}

TEST_P(ProgressFileCopyTest, NothingSetsTheFlagWhileTheButtonIsDisabled)
{
    m_progress->EnableCancel(false);
    EXPECT_FALSE(::IsWindowEnabled(m_progress->GetDlgItem(IDCANCEL)));
    PressCancel();
    m_progress->PostMessage(WM_CLOSE);
    m_progress->PostMessage(WM_KEYDOWN, VK_ESCAPE, 1);
    m_progress->PostMessage(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED));
    m_progress->PostMessage(WM_SYSCOMMAND, SC_CLOSE);
    DrainMessages();
    EXPECT_FALSE(m_progress->IsCancelled());
    EXPECT_TRUE(IsWindow(m_progress->m_hWnd));
    m_progress->EnableCancel(true);
    PressCancel();
    EXPECT_TRUE(m_progress->IsCancelled());
}

TEST_P(ProgressFileCopyTest, TheButtonGetsTheKeyboardBackWhenItIsEnabled)
{
    SetActiveWindow(m_progress->m_hWnd);
    ASSERT_EQ(GetActiveWindow(), m_progress->m_hWnd);
    SetFocus(m_progress->GetDlgItem(IDCANCEL));
    m_progress->EnableCancel(false);
    // Windows leaves the focus on the disabled button, where no key arrives. Wine takes it away.
    if (!UnderWine()) {
        EXPECT_EQ(GetFocus(), m_progress->GetDlgItem(IDCANCEL));
    }
    SetFocus(nullptr);
    m_progress->EnableCancel(true);
    EXPECT_EQ(GetFocus(), m_progress->GetDlgItem(IDCANCEL));
}

TEST_P(ProgressFileCopyTest, TheButtonDoesNotTakeTheFocusFromAnotherWindow)
{
    const HWND edit = m_owner.AddControl(L"EDIT", 1);
    SetActiveWindow(m_owner.m_hWnd);
    SetFocus(edit);
    ASSERT_EQ(GetFocus(), edit);
    m_progress->EnableCancel(false);
    m_progress->EnableCancel(true);
    EXPECT_EQ(GetFocus(), edit);
}

TEST_P(ProgressFileCopyTest, TellsWhenTheSessionEnds)
{
    EXPECT_FALSE(m_progress->IsSessionEnding());
    CWinApp::Get()->SetSessionEnding(true);
    EXPECT_TRUE(m_progress->IsSessionEnding());
    EXPECT_FALSE(m_progress->IsCancelled());
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_FALSE(m_progress->IsSessionEnding());
}

TEST_P(ProgressFileCopyTest, EnterDoesNotEndTheDialog)
{
    m_progress->PostMessage(WM_KEYDOWN, VK_RETURN, 1);
    DrainMessages();
    EXPECT_TRUE(IsWindow(m_progress->m_hWnd));
    EXPECT_TRUE(IsWindowVisible(m_progress->m_hWnd));
}

TEST_P(ProgressFileCopyTest, PumpsOneMessageAtATime)
{
    CCountingWindow window;
    DrainMessages();
    m_progress->PumpOneMessage();  // returns although no message waits
    for (int i = 0; i < 3; ++i) {
        window.PostMessage(WM_APP);
    }
    EXPECT_EQ(window.m_count, 0);
    m_progress->PumpOneMessage();
    EXPECT_EQ(window.m_count, 1);
    m_progress->PumpOneMessage();
    EXPECT_EQ(window.m_count, 2);
    m_progress->PumpOneMessage();
    m_progress->PumpOneMessage();
    EXPECT_EQ(window.m_count, 3);
}

bool IsPainted(HWND window)
{
    return GetUpdateRect(window, nullptr, FALSE) == FALSE;
}

TEST_P(ProgressFileCopyTest, TheRefreshPaintsTheOwnersWindowsToo)
{
    const HWND edit = m_owner.AddControl(L"EDIT", 1);
    ASSERT_FALSE(IsPainted(edit));
    m_progress->Refresh();
    EXPECT_TRUE(IsPainted(edit));
}

TEST_P(ProgressFileCopyTest, ThePumpHandlesAPaintThatIsTheOnlyMessage)
{
    const HWND edit = m_owner.AddControl(L"EDIT", 1);
    DrainMessages();
    m_progress->RefreshAtOnce();
    InvalidateRect(edit, nullptr, FALSE);
    m_progress->PumpOneMessage();
    EXPECT_TRUE(IsPainted(edit));
}

TEST_P(ProgressFileCopyTest, AnImmediateRefreshAlwaysPaints)
{
    const HWND edit = m_owner.AddControl(L"EDIT", 1);
    for (int i = 0; i < 2; ++i) {
        InvalidateRect(edit, nullptr, FALSE);
        m_progress->RefreshAtOnce();
        EXPECT_TRUE(IsPainted(edit));
    }
}

TEST_P(ProgressFileCopyTest, ThePumpLeavesTheEndOfTheProgramToTheLoopsFurtherOut)
{
    DrainMessages();
    PostQuitMessage(4);
    m_progress->PumpOneMessage();
    m_progress->PumpOneMessage();
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 4U);
}

// The width of a text in the font of `line`, in pixels.
int WidthOf(HWND line, const std::wstring& text)
{
    const HDC dc = GetDC(line);
    const HGDIOBJ oldFont = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(line, WM_GETFONT, 0, 0)));
    SIZE size{};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    SelectObject(dc, oldFont);
    ReleaseDC(line, dc);
    return size.cx;
}

TEST_P(ProgressFileCopyTest, AShortPathIsNotTruncated)
{
    EXPECT_EQ(m_progress->FitToFirstLine(kLead, L"C:\\a\\N_ISO_4017_M8.sldprt"),
              kLead + L"C:\\a\\N_ISO_4017_M8.sldprt");
    EXPECT_EQ(m_progress->FitToSecondLine(L"nach: ", L"C:\\a\\Mapped\\x.sldprt"),
              L"nach: C:\\a\\Mapped\\x.sldprt");
}

TEST_P(ProgressFileCopyTest, ALongPathIsFittedAndEndsWithTheFilesName)
{
    std::wstring path = L"C:";
    for (int i = 0; i < 30; ++i) {
        path += L"\\ein Ordner mit Namen";
    }
    path += L"\\N_ISO_4017_M8x20.sldprt";
    const std::array lines{std::pair{m_progress->FitToFirstLine(kLead, path), IDC_PROGRESS_FIRST},
                           std::pair{m_progress->FitToSecondLine(kLead, path), IDC_PROGRESS_SECOND}};
    for (const auto& [text, id] : lines) {
        EXPECT_TRUE(text.starts_with(kLead + L"...")) << testing::PrintToString(text);
        EXPECT_TRUE(text.ends_with(L"\\N_ISO_4017_M8x20.sldprt")) << testing::PrintToString(text);
        const HWND line = m_progress->GetDlgItem(id);
        const RECT client = ClientRectOf(line);
        EXPECT_LE(WidthOf(line, text), client.right);
        EXPECT_GT(WidthOf(line, text), client.right / 2) << "a longer part of the path would fit";
    }
}

INSTANTIATE_TEST_SUITE_P(Libraries, ProgressFileCopyTest, testing::Values(kGermanLibrary, kEnglishLibrary),
                         [](const testing::TestParamInfo<const wchar_t*>& library) {
                             return library.index == 0 ? "German" : "English";
                         });

}  // namespace
