#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/ResourceUse.h"
#include "tests/windows/TalvenorDlgTest.h"

// Tests that changes of theme, colours, settings, screens or scaling do not alter what the main dialog shows.

namespace {

using namespace automation;

constexpr std::array<UINT, 4> kChanges{WM_THEMECHANGED, WM_SYSCOLORCHANGE, WM_SETTINGCHANGE,
                                       WM_DISPLAYCHANGE};

class DisplayChangesTest : public CadDialogTest
{
protected:
    // Tells a window of all these changes, as the system tells every top-level window.
    static void ChangeDisplay(HWND window)
    {
        for (const UINT change : kChanges) {
            const LPARAM details = change == WM_DISPLAYCHANGE ? MAKELPARAM(1024, 768) : 0;
            SendMessageW(window, change, change == WM_DISPLAYCHANGE ? 32 : 0, details);
        }
    }
    void ChangeScaling(WORD dpi) const
    {
        RECT place = RectOf(m_dialog->m_hWnd);
        m_dialog->SendMessage(WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&place));
    }

    // The texts of all controls.
    [[nodiscard]] Texts TextsOfControls() const
    {
        Texts texts;
        for (const HWND control : Descendants(m_dialog->m_hWnd)) {
            texts.push_back(CWnd::TextOf(control));
        }
        return texts;
    }

    // What the user sees and has chosen.
    struct State
    {
        Texts rows;
        std::vector<int> selected;
        int focused = -1;
        Texts texts;
        HWND focus = nullptr;

        bool operator==(const State&) const = default;
    };
    [[nodiscard]] State Look() const
    {
        return {Rows(), List().SelectedRows(), List().GetNextItem(-1, LVNI_FOCUSED), TextsOfControls(),
                GetFocus()};
    }

    // Gives the dialog something to lose: a converted row, a selection, a focused row and a text to find.
    void Prepare() const
    {
        List().MarkConverted(1);
        Select({0, 2});
        List().SetItemState(2, LVIS_FOCUSED, LVIS_FOCUSED);
        m_dialog->SetDlgItemText(IDC_FIND, L"c.sld");
        Select({0, 2});
        DrainMessages();
    }
};

INSTANTIATE_TEST_SUITE_P(German, DisplayChangesTest, testing::Values(1));

TEST_P(DisplayChangesTest, ChangeNothingThatTheWindowShows)
{
    Run([this] {
        Prepare();
        const State before = Look();
        ASSERT_EQ(before.selected, (std::vector<int>{0, 2}));
        ASSERT_EQ(before.rows[1], L"N_ISO_2_b.sldprt > 2_b.sldprt > b-2");
        ChangeDisplay(m_dialog->m_hWnd);
        DrainMessages();
        EXPECT_EQ(Look(), before);
        ChangeScaling(144);
        DrainMessages();
        EXPECT_EQ(Look(), before);
        EXPECT_EQ(TakeBoxes(), Texts{});
    });
}

// This test does not change the scaling: a new scaling moves the cell and so ends the edit, see
// TalvenorDlgTest.AnEditEndsWhenTheWindowIsResizedOrLeft.
TEST_P(DisplayChangesTest, LeaveAnEditOpen)
{
    Run([this] {
        List().EditCell(0, 1);
        const HWND editor = GetFocus();
        ASSERT_EQ(GetDlgCtrlID(editor), IDC_IN_PLACE_EDIT);
        SetWindowTextW(editor, L"typed so far");
        SendMessageW(editor, EM_SETSEL, 2, 5);
        ChangeDisplay(m_dialog->m_hWnd);
        DrainMessages();
        EXPECT_EQ(GetFocus(), editor);
        EXPECT_EQ(CWnd::TextOf(editor), L"typed so far");
        EXPECT_EQ(SelectionOf(editor), (std::array<DWORD, 2>{2, 5}));
        SetFocus(Item(IDC_LIST));
        EXPECT_EQ(List().GetItemText(0, 1), L"typed so far.sldprt");
    });
}

TEST_P(DisplayChangesTest, DoNotDisturbARun)
{
    int changes = 0;
    m_application.On(kOpenDocument, [&](FakeCall& call) {
        const HWND progress = FindProgress();
        const std::wstring line = CWnd::TextOf(GetDlgItem(progress, IDC_PROGRESS_FIRST));
        EXPECT_NE(line, L"");
        ChangeDisplay(progress);
        ChangeDisplay(m_dialog->m_hWnd);
        ChangeScaling(changes % 2 == 0 ? 120 : 96);
        EXPECT_EQ(CWnd::TextOf(GetDlgItem(progress, IDC_PROGRESS_FIRST)), line);
        EXPECT_FALSE(m_dialog->IsWindowEnabled());
        ++changes;
        return AnswerObject(nullptr)(call);
    });
    Run([this] {
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{Finished()});
        EXPECT_EQ(List().CountPendingRows(), 0);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
    });
    EXPECT_EQ(changes, 3);
}

// Under Wine, the number of USER objects is always 0; only the windows among them are compared.
TEST_P(DisplayChangesTest, LeaveNoResourcesBehind)
{
    constexpr int kRepetitions = 200;
    Run([this] {
        const auto repeat = [this](int times) {
            for (int i = 0; i < times; ++i) {
                ChangeDisplay(m_dialog->m_hWnd);
                ChangeScaling(i % 2 == 0 ? 144 : 96);
            }
            DrainMessages();
            return UseOf(GetCurrentProcess());
        };
        static_cast<void>(repeat(10));
        const ResourceUse before = repeat(10);
        const ResourceUse after = repeat(kRepetitions);
        EXPECT_GT(before.gdiObjects, 0U) << "they are counted";
        constexpr DWORD kMostExtra = 10;  // the system caches a few
        EXPECT_LE(after.gdiObjects, before.gdiObjects + kMostExtra);
        EXPECT_LE(after.userObjects, before.userObjects + kMostExtra);
        EXPECT_LE(after.handles, before.handles + kMostExtra);
        EXPECT_EQ(after.windows, before.windows);
    });
}

}  // namespace
