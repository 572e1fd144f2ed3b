#include "ui/TableCommands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "framework/Clipboard.h"
#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/Languages.h"
#include "tests/windows/ConvListScopes.h"

namespace {

constexpr std::array kCommands{IDM_UNDO, IDM_REDO, IDM_COPY, IDM_PASTE, IDM_IMPORT, IDM_EXPORT};

class CNullCaption : public CTableCaption
{
public:
    [[nodiscard]] ViewStatus GetViewStatus() const override { return {}; }
    void SetViewStatus(const ViewStatus&) override {}
};

class TableCommandsTest : public LanguageTest
{
protected:
    [[nodiscard]] HWND Window() const { return m_window.m_list.m_hWnd; }
    [[nodiscard]] std::wstring Clipboard() const { return ReadClipboard(Window()).value_or(L"(none)"); }

    // Pastes a text and returns the texts of the message boxes.
    Texts Paste(const std::wstring& text)
    {
        EXPECT_TRUE(WriteClipboard(Window(), text));
        EXPECT_TRUE(m_commands.Perform(IDM_PASTE));
        return m_messages.TakeTexts();
    }

    // The rows as "NEW NAME > BOM NAME", with " *" appended if pending.
    [[nodiscard]] Texts Rows() const
    {
        Texts rows;
        for (int row = 0; row < m_list.GetItemCount(); ++row) {
            rows.push_back(m_list.GetItemText(row, 1) + L" > " + m_list.GetItemText(row, 2) +
                           (m_list.IsPending(row) ? L" *" : L""));
        }
        return rows;
    }

    CListWindow m_window{{600, 300}, {{}, {}, {}}, 3};
    CConvList& m_list = m_window.m_list;
    CNullCaption m_caption;
    CTableRecorder m_recorder{m_list, m_caption};
    CTableCommands m_commands{m_list, m_recorder};
    CMessageRecorder m_messages;
};

IN_BOTH_LANGUAGES(TableCommandsTest);

}  // namespace

TEST_P(TableCommandsTest, CopiesTheSelectedRowsWithTabs)
{
    m_list.SetItemText(2, 2, L"1/4\" \u00DC");
    m_window.Focus(0);
    m_window.Focus(2);
    EXPECT_TRUE(m_commands.Perform(IDM_COPY));
    EXPECT_EQ(Clipboard(), L"N_0.sldprt\tM0.sldprt\tNorm 0\r\nN_2.sldprt\tM2.sldprt\t\"1/4\"\" \u00DC\"\r\n");
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_P(TableCommandsTest, PastesNamesAsOneStepWithOneSummary)
{
    EXPECT_EQ(Paste(L"N_0.sldprt\tM1.sldprt\tNorm 0\r\nN_1.sldprt\tM0.sldprt\ta/b\r\nN_9.sldprt\tx\ty\r\n"),
              Texts{expected::Taken(L"2", L"1", L"0", L"0", L"1")});
    EXPECT_EQ(Rows(), (Texts{L"M1.sldprt > Norm 0 *", L"M0.sldprt > a_b *", L"M2.sldprt > Norm 2"}));
    m_commands.Perform(IDM_UNDO);
    EXPECT_EQ(Rows(), (Texts{L"M0.sldprt > Norm 0", L"M1.sldprt > Norm 1", L"M2.sldprt > Norm 2"}));
    EXPECT_FALSE(m_commands.IsPossible(IDM_UNDO)) << "the paste is a single step";
    m_commands.Perform(IDM_REDO);
    EXPECT_EQ(Rows()[0], L"M1.sldprt > Norm 0 *");
}

TEST_P(TableCommandsTest, CountsRefusalsByReason)
{
    EXPECT_EQ(Paste(L"N_0.sldprt\tM1.sldprt\tx\r\n"), Texts{expected::Taken(L"0", L"0", L"1", L"0", L"0")});
    EXPECT_EQ(Paste(L"N_0.sldprt\ta\tx\r\nN_0.sldprt\tb\tx\r\n"),
              Texts{expected::Taken(L"0", L"0", L"0", L"1", L"0")});
    EXPECT_EQ(m_list.CountPendingRows(), 0);
}

TEST_P(TableCommandsTest, FindsPartFilesInAnyLetterCase)
{
    EXPECT_EQ(Paste(L"n_0.SLDPRT\tM0.sldprt\tx\r\n"), Texts{expected::Taken(L"1", L"0", L"0", L"0", L"0")});
    EXPECT_EQ(m_list.CountPendingRows(), 1);
}

TEST_P(TableCommandsTest, PastingItsOwnCopyChangesNothing)
{
    m_list.SetItemText(1, 1, L"odd = name..");
    m_list.SetItemState(-1, LVIS_SELECTED, LVIS_SELECTED);
    m_commands.Perform(IDM_COPY);
    EXPECT_EQ(Paste(Clipboard()), Texts{expected::Taken(L"0", L"0", L"0", L"0", L"0")});
    EXPECT_EQ(m_list.CountPendingRows(), 0);
    EXPECT_FALSE(m_commands.IsPossible(IDM_UNDO));
}

TEST_P(TableCommandsTest, ReportsAClipboardInUse)
{
    EXPECT_TRUE(WriteClipboard(Window(), L"N_0.sldprt\tx\ty"));
    m_window.Focus(0);
    const CPlainWindow other;
    ASSERT_TRUE(OpenClipboard(other.m_hWnd));
    m_commands.Perform(IDM_COPY);
    m_commands.Perform(IDM_PASTE);
    CloseClipboard();
    EXPECT_EQ(m_messages.TakeTexts(),
              (Texts{expected::kClipboardInUse.Current(), expected::kClipboardInUse.Current()}));
    EXPECT_EQ(Clipboard(), L"N_0.sldprt\tx\ty");
    EXPECT_EQ(m_list.CountPendingRows(), 0);
}

TEST_P(TableCommandsTest, OffersOnlyPossibleCommands)
{
    const auto possible = [this] {
        std::vector<int> ids;
        std::ranges::copy_if(kCommands, std::back_inserter(ids),
                             [this](int id) { return m_commands.IsPossible(id); });
        return ids;
    };
    EXPECT_TRUE(WriteClipboard(Window(), L"N_0.sldprt\tx\ty"));
    EXPECT_EQ(possible(), (std::vector{IDM_PASTE, IDM_IMPORT, IDM_EXPORT}));
    m_window.Focus(0);
    m_commands.Perform(IDM_PASTE);
    EXPECT_EQ(possible(), (std::vector{IDM_UNDO, IDM_COPY, IDM_PASTE, IDM_IMPORT, IDM_EXPORT}));
    m_commands.Perform(IDM_UNDO);
    EXPECT_EQ(possible(), (std::vector{IDM_REDO, IDM_COPY, IDM_PASTE, IDM_IMPORT, IDM_EXPORT}));
    ASSERT_TRUE(OpenClipboard(Window()));
    EmptyClipboard();
    CloseClipboard();
    m_list.DeleteAllItems();
    m_recorder.Forget();
    EXPECT_EQ(possible(), std::vector<int>{});
}

TEST_P(TableCommandsTest, TakesItsCommandsOnlyAndDoesNothingWhenTheyAreImpossible)
{
    m_list.DeleteAllItems();
    for (const int id : kCommands) {
        EXPECT_TRUE(m_commands.Perform(id));
    }
    EXPECT_FALSE(m_commands.Perform(IDC_DELETE));
    EXPECT_FALSE(m_commands.IsPossible(IDC_DELETE));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_P(TableCommandsTest, KnowsItsKeys)
{
    struct Key
    {
        std::vector<int> held;
        char key;
        int command;
    };
    for (const Key& each : {Key{{VK_CONTROL}, 'Z', IDM_UNDO}, Key{{VK_CONTROL}, 'Y', IDM_REDO},
                            Key{{VK_CONTROL}, 'C', IDM_COPY}, Key{{VK_CONTROL}, 'V', IDM_PASTE},
                            Key{{VK_CONTROL}, 'A', 0}, Key{{VK_CONTROL}, 0, 0}, Key{{}, 'Z', 0},
                            Key{{VK_CONTROL, VK_SHIFT}, 'Z', 0}, Key{{VK_CONTROL, VK_MENU}, 'Z', 0}}) {
        const CHeldKeys held(each.held);
        EXPECT_EQ(CTableCommands::CommandOfKey(static_cast<WPARAM>(each.key)), each.command)
            << each.key << " with " << testing::PrintToString(each.held);
    }
}

TEST_P(TableCommandsTest, CommitsAnOpenEditFirst)
{
    m_window.Focus(0);
    m_list.EditCell(0, 2);
    m_window.Retype(L"typed");
    m_commands.Perform(IDM_COPY);
    EXPECT_EQ(Clipboard(), L"N_0.sldprt\tM0.sldprt\ttyped\r\n");
    EXPECT_EQ(m_window.Editor(), nullptr);
}
