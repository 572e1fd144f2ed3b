#include "core/TableHistory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Rows = std::vector<TableRow>;

TableRow Row(const std::wstring& name, const std::wstring& bomName = L"", bool pending = true)
{
    return {{name, name, bomName}, pending};
}

Rows Named(const std::wstring& letters)
{
    Rows rows;
    for (const wchar_t letter : letters) {
        rows.push_back(Row(std::wstring(1, letter)));
    }
    return rows;
}

Rows Made(Rows rows, const std::vector<RowSplice>& splices)
{
    for (const RowSplice& splice : splices) {
        const auto first = rows.begin() + splice.at;
        const auto last = first + static_cast<std::ptrdiff_t>(splice.removed.size());
        EXPECT_EQ(Rows(first, last), splice.removed);
        rows.insert(rows.erase(first, last), splice.inserted.begin(), splice.inserted.end());
    }
    return rows;
}

// A step that changes the BOM name of the only row. The selection and the view change, too.
TableStep Step(const std::wstring& from, const std::wstring& to)
{
    TableStep step;
    step.splices = {{0, {Row(L"a", from, false)}, {Row(L"a", to)}}};
    step.before = {1, {{{0, 0}}, 0}, {true, false}};
    step.after = {1, {{}, 0}, {true, true}};
    return step;
}

std::wstring Undone(CTableHistory& history)
{
    std::wstring text = history.UndoStep().splices.front().inserted.front().texts.strBomName;
    history.NoteUndone({});
    return text;
}

}  // namespace

TEST(CompareTables, FindsInsertedRows)
{
    const std::vector<RowSplice> expected{{0, {}, Named(L"a")}, {2, {}, Named(L"cd")}, {5, {}, Named(L"f")}};
    EXPECT_EQ(CompareTables(Named(L"be"), Named(L"abcdef")), expected);
    EXPECT_EQ(CompareTables({}, Named(L"ab")), (std::vector<RowSplice>{{0, {}, Named(L"ab")}}));
}

TEST(CompareTables, ReplacesWhatLiesBetweenOtherDifferences)
{
    EXPECT_EQ(CompareTables(Named(L"abcd"), Named(L"abxcd")), (std::vector<RowSplice>{{2, {}, Named(L"x")}}));
    EXPECT_EQ(CompareTables(Named(L"acbd"), Named(L"abcxd")),
              (std::vector<RowSplice>{{1, Named(L"cb"), Named(L"bcx")}}));
    EXPECT_EQ(CompareTables(Named(L"aaa"), Named(L"a")), (std::vector<RowSplice>{{1, Named(L"aa"), {}}}));
    EXPECT_EQ(CompareTables(Named(L"ab"), {}), (std::vector<RowSplice>{{0, Named(L"ab"), {}}}));
}

TEST(CompareTables, FindsNothingInEqualTables)
{
    EXPECT_TRUE(CompareTables(Named(L"ab"), Named(L"ab")).empty());
    EXPECT_TRUE(CompareTables({}, {}).empty());
}

TEST(ReplacedRows, JoinsNeighboursAndLeavesEqualRowsOut)
{
    const std::vector<RowSplice> expected{{0, Named(L"a"), Named(L"A")}, {2, Named(L"cd"), Named(L"CD")}};
    EXPECT_EQ(ReplacedRows({0, 2, 3}, Named(L"acd"), Named(L"ACD")), expected);
    EXPECT_EQ(ReplacedRows({0, 1, 2, 3}, Named(L"abcd"), Named(L"AbCD")), expected);
    EXPECT_TRUE(ReplacedRows({4, 7}, Named(L"xy"), Named(L"xy")).empty());
    EXPECT_TRUE(ReplacedRows({}, {}, {}).empty());
}

TEST(RemovedRows, JoinsNeighbours)
{
    // The removed rows are 0, 2, 3 and 5 of abcdef. Each removal moves the later rows up.
    EXPECT_EQ(RemovedRows({0, 2, 3, 5}, Named(L"acdf")),
              (std::vector<RowSplice>{{0, Named(L"a"), {}}, {1, Named(L"cd"), {}}, {2, Named(L"f"), {}}}));
    EXPECT_EQ(RemovedRows({0, 1}, Named(L"ab")), (std::vector<RowSplice>{{0, Named(L"ab"), {}}}));
    EXPECT_EQ(RemovedRows({1}, Named(L"b")), (std::vector<RowSplice>{{1, Named(L"b"), {}}}));
}

TEST(Invert, TakesEverySpliceBack)
{
    TableStep step;
    step.splices = {{0, {}, Named(L"xy")}, {3, Named(L"b"), {}}, {4, Named(L"d"), Named(L"DE")}};
    step.before.rows = 5;
    step.after.rows = 7;
    const Rows before = Named(L"abcde");
    const Rows after = Named(L"xyacDEe");
    EXPECT_EQ(Made(before, step.splices), after);
    const TableStep original = step;
    Invert(step);
    EXPECT_EQ(Made(after, step.splices), before);
    EXPECT_EQ(step.before.rows, 7);
    EXPECT_EQ(step.after.rows, 5);
    Invert(step);
    EXPECT_EQ(step, original);
}

TEST(TableHistory, TakesChangesBackAndMakesThemAgain)
{
    CTableHistory history;
    EXPECT_FALSE(history.CanUndo());
    history.Add(Step(L"1", L"2"));
    history.Add(Step(L"2", L"3"));
    EXPECT_FALSE(history.CanRedo());
    EXPECT_EQ(Undone(history), L"2");
    EXPECT_EQ(Undone(history), L"1");
    EXPECT_FALSE(history.CanUndo());
    EXPECT_EQ(history.RedoStep().splices, Step(L"1", L"2").splices);
    history.NoteRedone({});
    EXPECT_EQ(history.RedoStep().splices, Step(L"2", L"3").splices);
    EXPECT_EQ(history.UndoStep().splices.front().inserted, (Rows{Row(L"a", L"1", false)}));
}

TEST(TableHistory, RestoresTheSituationBeforeAndAfter)
{
    CTableHistory history;
    history.Add(Step(L"1", L"2"));
    EXPECT_EQ(history.UndoStep().after, Step(L"1", L"2").before);
    history.NoteUndone({true, true});
    EXPECT_EQ(history.RedoStep(), Step(L"1", L"2"));
    history.NoteRedone({true, false});
    EXPECT_EQ(history.UndoStep().after, Step(L"1", L"2").before);
}

TEST(TableHistory, RestoresTheViewThatTheCaptionShowedLast)
{
    CTableHistory history;
    history.Add(Step(L"1", L"2"));
    history.NoteUndone({false, true});
    EXPECT_EQ(history.RedoStep().after.view, (ViewStatus{false, true}));
}

TEST(TableHistory, ForgetsUndoneChangesAtANewOne)
{
    CTableHistory history;
    history.Add(Step(L"1", L"2"));
    EXPECT_EQ(Undone(history), L"1");
    history.Add(Step(L"1", L"4"));
    EXPECT_FALSE(history.CanRedo());
    EXPECT_EQ(Undone(history), L"1");
    EXPECT_FALSE(history.CanUndo());
}

TEST(TableHistory, DropsTheOldestOfMoreThanAHundredSteps)
{
    CTableHistory history;
    for (int i = 0; i < 101; ++i) {
        history.Add(Step(std::to_wstring(i), std::to_wstring(i + 1)));
    }
    for (int i = 100; i >= 1; --i) {
        ASSERT_TRUE(history.CanUndo());
        EXPECT_EQ(Undone(history), std::to_wstring(i));
    }
    EXPECT_FALSE(history.CanUndo());
}

TEST(TableHistory, DropsTheOldestAtTheLimitOfMemory)
{
    const std::wstring text(10'000, L'x');
    CTableHistory history(CTableHistory::kMaxSteps, 25'000 * sizeof(wchar_t));
    for (int i = 0; i < 4; ++i) {
        history.Add(Step(std::to_wstring(i), text));
    }
    EXPECT_EQ(Undone(history), L"3");
    EXPECT_EQ(Undone(history), L"2");
    EXPECT_FALSE(history.CanUndo());
    history.Add(Step(L"4", text));
    history.Add(Step(L"5", text));
    EXPECT_EQ(Undone(history), L"5");
    EXPECT_EQ(Undone(history), L"4") << "a new change frees the steps that could be redone";
}

TEST(TableHistory, KeepsNoStepBeyondTheLimitOfMemory)
{
    CTableHistory history(CTableHistory::kMaxSteps, 5'000 * sizeof(wchar_t));
    history.Add(Step(L"1", L"2"));
    history.Add(Step(L"2", std::wstring(10'000, L'x')));
    EXPECT_FALSE(history.CanUndo());
}

TEST(TableHistory, ForgetsEverything)
{
    CTableHistory history;
    history.Add(Step(L"1", L"2"));
    history.Add(Step(L"2", L"3"));
    EXPECT_EQ(Undone(history), L"2");
    history.Clear();
    EXPECT_FALSE(history.CanUndo());
    EXPECT_FALSE(history.CanRedo());
}
