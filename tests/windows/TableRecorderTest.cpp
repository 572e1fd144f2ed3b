#include "core/TableRecorder.h"

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "core/NameTemplate.h"
#include "tests/windows/ConvListScopes.h"

namespace {

// A caption that changes only when the recorder or the test sets it.
class CFakeCaption : public CTableCaption
{
public:
    [[nodiscard]] ViewStatus GetViewStatus() const override { return m_status; }
    void SetViewStatus(const ViewStatus& status) override { m_status = status; }

    ViewStatus m_status{true, false};
};

// Everything that Undo and Redo restore.
struct Snapshot
{
    Texts rows;  // with "*" if pending
    std::vector<int> selected;
    int focused = -1;
    ViewStatus view;

    bool operator==(const Snapshot&) const = default;
};

void PrintTo(const Snapshot& snapshot, std::ostream* out)
{
    *out << testing::PrintToString(snapshot.rows) << testing::PrintToString(snapshot.selected)
         << snapshot.focused << (snapshot.view.mapView ? " map" : " folder")
         << (snapshot.view.changed ? " changed" : "");
}

class TableRecorderTest : public testing::Test
{
protected:
    [[nodiscard]] Snapshot Now() const
    {
        Snapshot now{{}, m_window.SelectedRows(), m_window.FocusedRow(), m_caption.m_status};
        for (int row = 0; row < m_list.GetItemCount(); ++row) {
            const UTtab_entry texts = m_list.GetRow(row);
            const UINT image = m_list.GetItemState(row, LVIS_STATEIMAGEMASK);
            EXPECT_EQ(image, INDEXTOSTATEIMAGEMASK(m_list.IsPending(row) ? 1U : 2U));
            now.rows.push_back(texts.strOriginal + L" > " + texts.strRenamed + L" > " + texts.strBomName +
                               (m_list.IsPending(row) ? L" *" : L""));
        }
        return now;
    }

    // Undoes and redoes the only recorded change. `before` is the state before the change.
    void ExpectBothWays(const Snapshot& before)
    {
        const Snapshot after = Now();
        ASSERT_TRUE(m_recorder.CanUndo());
        m_recorder.Undo();
        EXPECT_EQ(Now(), before);
        EXPECT_FALSE(m_recorder.CanUndo());
        m_recorder.Redo();
        EXPECT_EQ(Now(), after);
        EXPECT_FALSE(m_recorder.CanRedo());
    }

    void Select(const std::vector<int>& rows) const
    {
        m_list.SetItemState(-1, 0, LVIS_SELECTED);
        for (const int row : rows) {
            m_list.SetItemState(row, LVIS_SELECTED, LVIS_SELECTED);
        }
    }

    void DeleteSelected()
    {
        m_recorder.DeleteSelected([this] {
            for (int row = -1; (row = m_list.GetNextItem(row, LVNI_SELECTED)) != -1; --row) {
                m_list.DeleteItem(row);
            }
        });
    }

    CListWindow m_window;
    CConvList& m_list = m_window.m_list;
    CFakeCaption m_caption;
    CTableRecorder m_recorder{m_list, m_caption};
};

}  // namespace

TEST_F(TableRecorderTest, RestoresEditedRows)
{
    Select({0, 3});
    m_window.Focus(3);
    m_list.MarkPending(4);
    const Snapshot before = Now();
    m_recorder.EditRows({1, 2, 4}, [this] {
        m_list.SetNames({{1, L"x", L"Norm 1"}, {2, L"M2.sldprt", L"y"}, {4, L"z", L""}});
        m_window.Focus(1);
        m_caption.m_status = {true, true};
    });
    EXPECT_EQ(Now().rows, (Texts{L"N_0.sldprt > M0.sldprt > Norm 0", L"N_1.sldprt > x > Norm 1 *",
                                 L"N_2.sldprt > M2.sldprt > y *", L"N_3.sldprt > M3.sldprt > Norm 3",
                                 L"N_4.sldprt > z >  *"}));
    ExpectBothWays(before);
}

TEST_F(TableRecorderTest, RestoresDeletedRows)
{
    m_list.MarkPending(2);
    m_window.Focus(2);
    Select({0, 2, 3});
    const Snapshot before = Now();
    DeleteSelected();
    EXPECT_EQ(Now().rows, (Texts{before.rows[1], before.rows[4]}));
    ExpectBothWays(before);
}

TEST_F(TableRecorderTest, RestoresAnEmptiedTable)
{
    m_list.MarkPending(2);
    Select({1, 2});
    const Snapshot before = Now();
    m_recorder.ChangeRows([this] {
        m_list.DeleteAllItems();
        m_caption.m_status = {false, true};
    });
    ExpectBothWays(before);
}

TEST_F(TableRecorderTest, RestoresAddedAndSortedRows)
{
    const CUserSettingsScope settings;
    m_list.SetItemText(0, kColumnOriginal, L"Z.sldprt");  // sorting moves the row to the end
    m_window.Focus(0);
    const Snapshot before = Now();
    m_recorder.ChangeRows([this] { m_list.AddFiles({L"a.sldprt", L"N_11.sldprt"}); });
    EXPECT_EQ(m_list.GetItemText(0, kColumnOriginal), L"N_1.sldprt");
    EXPECT_EQ(m_list.GetItemText(1, kColumnOriginal), L"N_11.sldprt");
    ExpectBothWays(before);
}

TEST_F(TableRecorderTest, RestoresTheCaptionThatTheChangeGetsLater)
{
    const Snapshot before = Now();
    m_recorder.EditRows({0}, [this] { m_list.MarkPending(0); });
    m_caption.m_status = {true, true};  // in the program, the posted WM_LISTCHANGED does this
    ExpectBothWays(before);
}

TEST_F(TableRecorderTest, MakesNoStepOfAChangeWithoutEffect)
{
    m_recorder.EditRows({0, 1}, [this] { Select({3}); });
    m_recorder.DeleteSelected([this] { Select({}); });
    m_recorder.ChangeRows([] {});
    EXPECT_FALSE(m_recorder.CanUndo());
    m_recorder.Undo();
    m_recorder.Redo();
    EXPECT_EQ(m_list.GetItemCount(), 5);
}

TEST_F(TableRecorderTest, LeavesRowsThatWereChangedInBetween)
{
    const auto change = [this] { m_list.SetNames({{1, L"x", L"y"}}); };
    m_recorder.EditRows({1}, change);
    m_list.SetItemText(1, kColumnBomName, L"other");
    const Snapshot other = Now();
    m_recorder.Undo();
    EXPECT_EQ(Now(), other);
    EXPECT_FALSE(m_recorder.CanUndo());
    m_recorder.EditRows({1}, change);
    m_list.DeleteItem(4);
    const Snapshot fewer = Now();
    m_recorder.Undo();
    EXPECT_EQ(Now(), fewer);
    EXPECT_FALSE(m_recorder.CanUndo());
}

TEST_F(TableRecorderTest, ForgetsWhenRowsComeOrGoDuringAChange)
{
    m_recorder.EditRows({1}, [this] { m_list.MarkPending(1); });
    m_recorder.EditRows({1}, [this] {
        m_list.SetNames({{1, L"x", L"y"}});
        m_list.DeleteItem(0);
    });
    EXPECT_FALSE(m_recorder.CanUndo());
}

TEST_F(TableRecorderTest, ForgetsOnRequest)
{
    m_recorder.EditRows({1}, [this] { m_list.MarkPending(1); });
    m_recorder.EditRows({2}, [this] { m_list.MarkPending(2); });
    m_recorder.Undo();
    m_recorder.Forget();
    EXPECT_FALSE(m_recorder.CanUndo());
    EXPECT_FALSE(m_recorder.CanRedo());
}

TEST(TableRecorderScrollTest, ScrollsToTheFirstChangedRow)
{
    CListWindow window({600, 100}, {{}, {}, {}}, 200);
    CFakeCaption caption;
    CConvList& list = window.m_list;
    CTableRecorder recorder(list, caption);
    recorder.EditRows({150, 199}, [&] {
        list.MarkPending(150);
        list.MarkPending(199);
    });
    EXPECT_EQ(list.GetTopIndex(), 0);
    recorder.Undo();
    EXPECT_LE(list.GetTopIndex(), 150);
    EXPECT_GT(list.GetTopIndex() + list.GetCountPerPage(), 150);
}

// Undoes a random sequence of changes step by step, then redoes the changes.
TEST_F(TableRecorderTest, RestoresEveryStepOfManyChanges)
{
    std::minstd_rand random(1);
    const auto below = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    std::vector<Snapshot> states{Now()};
    int next = 0;
    while (states.size() <= 60) {
        const int count = m_list.GetItemCount();
        std::vector<int> rows;
        for (int row = 0; row < count; ++row) {
            if (below(3) == 0) {
                rows.push_back(row);
            }
        }
        switch (below(4)) {
            case 0:
                Select(rows);
                DeleteSelected();
                break;
            case 1:
                m_recorder.EditRows(rows, [&] {
                    for (const int row : rows) {
                        below(2) == 0 ? m_list.MarkPending(row) : m_list.MarkConverted(row);
                        m_list.SetNames({{row, L"x" + std::to_wstring(++next), L"y"}});
                    }
                });
                break;
            default:
                m_recorder.ChangeRows([&] {
                    const std::wstring name = std::to_wstring(++next);
                    m_list.Splice({below(count + 1), {}, {{{name, name, name}, below(2) == 0}}});
                });
        }
        if (Now().rows != states.back().rows) {
            m_caption.m_status = {below(2) == 0, true};
            states.push_back(Now());
        }
    }
    for (auto state = states.rbegin() + 1; state != states.rend(); ++state) {
        m_recorder.Undo();
        ASSERT_EQ(Now().rows, state->rows);
    }
    EXPECT_EQ(Now(), states.front());
    for (auto state = states.begin() + 1; state != states.end(); ++state) {
        m_recorder.Redo();
        ASSERT_EQ(*state, Now());
    }
}
