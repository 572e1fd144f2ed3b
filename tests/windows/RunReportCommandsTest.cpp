#include "ui/RunReportCommands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "framework/File.h"
#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FailingFile.h"
#include "tests/support/Files.h"
#include "tests/support/Languages.h"
#include "tests/support/ShellWatch.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

using Texts = std::vector<std::wstring>;

class RunReportCommandsTest : public LanguageTest
{
protected:
    RunReportCommandsTest()
    {
        EXPECT_TRUE(m_table.SubclassWindow(
            m_window.AddControl(WC_LISTVIEWW, IDC_LIST, LVS_REPORT | LVS_SHOWSELALWAYS, {0, 0, 600, 200})));
        for (const int column : {0, 1, 2}) {
            m_table.InsertColumn(column, L"", 175);
        }
    }

    // Hands over a run that began on 2026-11-03 at 04:05. Its rows are a1, a2 and so on. The rows with the
    // numbers in `notReached` were not reached; the others were copied.
    void TakeRun(int rows, const std::vector<int>& notReached)
    {
        RunRecord run;
        run.folder = m_parts;
        run.start = {2026, 11, 3, 4, 5, 6};
        for (int row = 1; row <= rows; ++row) {
            RunRow added;
            const std::wstring number = std::to_wstring(row);
            added.entry = {L"a" + number + L".sldprt", L"b" + number + L".sldprt", L"Norm"};
            const bool reached = std::ranges::find(notReached, row) == notReached.end();
            added.outcome = reached ? RowOutcome::copied : RowOutcome::notReached;
            run.rows.push_back(added);
        }
        m_commands.Take(std::move(run));
    }

    // A run with the rows a1, a2 and so on, whose files were copied under these new names.
    [[nodiscard]] RunRecord CopiedTo(const Texts& names) const
    {
        RunRecord run;
        run.folder = m_parts;
        for (const std::wstring& name : names) {
            RunRow row;
            row.entry = {L"a" + std::to_wstring(run.rows.size() + 1), name, L""};
            row.outcome = RowOutcome::copied;
            run.rows.push_back(row);
        }
        return run;
    }

    void FillTable(const Texts& originals)
    {
        CList<UTtab_entry, UTtab_entry&> entries;
        for (const std::wstring& original : originals) {
            UTtab_entry entry{original, L"x", L"y"};
            entries.AddTail(entry);
        }
        m_table.FillConverted(entries);
    }

    [[nodiscard]] std::vector<int> Selection() const
    {
        std::vector<int> rows;
        for (int row = -1; (row = m_table.GetNextItem(row, LVNI_SELECTED)) != -1;) {
            rows.push_back(row);
        }
        return rows;
    }

    // The report's file name without its extension. The name holds the date and time at which the run began.
    [[nodiscard]] static std::wstring ReportName()
    {
        return Text{L"Talvenor-Bericht-2026-11-03-0405", L"Talvenor-Report-2026-11-03-0405"}.Current();
    }
    [[nodiscard]] std::wstring InTemporaryFolder(const std::wstring& name) const
    {
        return m_temporary / name;
    }

    const std::wstring m_parts = L"C:\\lib";
    CTempFolder m_temporary;
    const CTemporaryFolderScope m_temporaryFolder{m_temporary.Path()};
    CShellWatch m_shell;
    CMessageRecorder m_messages;
    CPlainWindow m_window;
    CConversionTable m_table;
    CRunReportCommands m_commands;
};

IN_BOTH_LANGUAGES(RunReportCommandsTest);

TEST_P(RunReportCommandsTest, WithoutARunNothingIsPossible)
{
    EXPECT_FALSE(m_commands.HasRun());
    EXPECT_FALSE(m_commands.CanSelectAttention(m_parts));
    EXPECT_FALSE(m_commands.CanSelectAttention(L""));
    TakeRun(0, {});
    EXPECT_TRUE(m_commands.HasRun());
    EXPECT_EQ(NamesIn(m_temporary.Path()), Texts{}) << "no report is written before the user asks for it";
}

TEST_P(RunReportCommandsTest, WritesAndOpensAReport)
{
    TakeRun(2, {2});
    m_commands.ShowReport(m_window.m_hWnd);
    const std::wstring path = InTemporaryFolder(ReportName() + L".html");
    EXPECT_EQ(m_shell.Take(), Texts{path});
    EXPECT_EQ(m_shell.m_folder, InTemporaryFolder(L""))
        << "a viewer that starts in the program's folder keeps that folder in use";
    const std::string page = ReadBytes(path);
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>"));
    EXPECT_TRUE(page.ends_with("</html>\n"));
    EXPECT_NE(page.find("<td><bdi>a2.sldprt</bdi>"), std::string::npos);
    EXPECT_NE(page.find("<td><bdi>1.0.0</bdi>"), std::string::npos) << "the program's version";
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_P(RunReportCommandsTest, LeavesOlderReportsAlone)
{
    TakeRun(1, {});
    WriteBytes(InTemporaryFolder(ReportName() + L".html"), "older");
    m_commands.ShowReport(m_window.m_hWnd);
    m_commands.ShowReport(m_window.m_hWnd);
    EXPECT_EQ(m_shell.Take(), (Texts{InTemporaryFolder(ReportName() + L"-2.html"),
                                     InTemporaryFolder(ReportName() + L"-3.html")}));
    EXPECT_EQ(ReadBytes(InTemporaryFolder(ReportName() + L".html")), "older");
}

TEST_P(RunReportCommandsTest, ReportsThatTheFileCannotBeCreated)
{
    TakeRun(1, {});
    const CTemporaryFolderScope missing(InTemporaryFolder(L"none"));
    m_commands.ShowReport(m_window.m_hWnd);
    const std::wstring path = InTemporaryFolder(L"none\\" + ReportName() + L".html");
    EXPECT_EQ(
        m_messages.TakeTexts(),
        Texts{expected::ReportNotWritten(CFileException(ERROR_PATH_NOT_FOUND, path).GetErrorMessage())});
    EXPECT_EQ(m_shell.Take(), Texts{});
}

TEST_P(RunReportCommandsTest, AFullDiskLeavesNoPartOfAReport)
{
    TakeRun(1, {});
    const std::wstring path = InTemporaryFolder(ReportName() + L".html");
    {
        const CFailingFile full(path, FailingOperation::writing, ERROR_DISK_FULL);
        m_commands.ShowReport(m_window.m_hWnd);
        EXPECT_EQ(full.Count(), 1);
    }
    EXPECT_EQ(m_messages.TakeTexts(),
              Texts{expected::ReportNotWritten(CFileException(ERROR_DISK_FULL, path).GetErrorMessage())});
    EXPECT_EQ(m_shell.Take(), Texts{});
    EXPECT_EQ(NamesIn(m_temporary.Path()), Texts{});
}

TEST_P(RunReportCommandsTest, NamesAReportThatTheSystemCannotShow)
{
    TakeRun(1, {});
    m_shell.m_result = SE_ERR_NOASSOC;
    m_commands.ShowReport(m_window.m_hWnd);
    const std::wstring path = InTemporaryFolder(ReportName() + L".html");
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::ReportNotShown(path)});
    EXPECT_TRUE(FileExists(path));
}

TEST_P(RunReportCommandsTest, SelectsTheFailedRowsAndNoOthers)
{
    TakeRun(4, {2, 4});
    // The rows of the table are in another order than those of the run. The row new.sldprt was not in the
    // run.
    FillTable({L"a4.sldprt", L"a3.sldprt", L"new.sldprt", L"a2.sldprt"});
    m_table.SetItemState(1, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    EXPECT_TRUE(m_commands.CanSelectAttention(L"c:\\LIB"));
    m_commands.SelectAttention(m_table);
    EXPECT_EQ(Selection(), (std::vector<int>{0, 3}));
    EXPECT_EQ(m_table.GetNextItem(-1, LVNI_FOCUSED), 0);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_P(RunReportCommandsTest, SelectsRowsWithWarningsOnlyIfNoneFailed)
{
    FillTable({L"a1", L"a2", L"a3"});
    RunRecord run = CopiedTo({L"b.sldprt", L"B.sldprt"});
    m_commands.Take(run);
    m_commands.SelectAttention(m_table);
    EXPECT_EQ(Selection(), (std::vector<int>{0, 1}));
    RunRow failed;
    failed.entry = {L"a3", L"c.sldprt", L""};
    failed.outcome = RowOutcome::notReached;
    run.rows.push_back(failed);
    m_commands.Take(std::move(run));
    m_commands.SelectAttention(m_table);
    EXPECT_EQ(Selection(), std::vector<int>{2});
}

// A run that ended early: the first row is converted, the second is pending, and neither was reached.
TEST_P(RunReportCommandsTest, ConvertedRowsThatWereNotReachedAreNotConvertedAgain)
{
    FillTable({L"a1", L"a2"});
    RunRecord run;
    run.folder = m_parts;
    for (const bool pending : {false, true}) {
        RunRow row;
        row.entry = {L"a" + std::to_wstring(run.rows.size() + 1), L"b", L""};
        row.pending = pending;
        run.rows.push_back(row);
    }
    for (const bool replaced : {false, true}) {
        run.mapFileReplaced = replaced;
        m_commands.Take(run);
        m_commands.SelectAttention(m_table);
        EXPECT_EQ(Selection(), std::vector<int>{1});
    }
}

// Wine's list view scrolls by itself to a row that gets the focus. So under Wine this test does not notice a
// missing scroll.
TEST_P(RunReportCommandsTest, ScrollsToTheFirstSelectedRow)
{
    TakeRun(200, {150});
    Texts originals;
    for (int row = 1; row <= 200; ++row) {
        originals.push_back(L"a" + std::to_wstring(row) + L".sldprt");
    }
    FillTable(originals);
    m_commands.SelectAttention(m_table);
    EXPECT_EQ(Selection(), std::vector<int>{149});
    EXPECT_LE(m_table.GetTopIndex(), 149);
    EXPECT_GT(m_table.GetTopIndex() + m_table.GetCountPerPage(), 149);
}

TEST_P(RunReportCommandsTest, SaysHowManyFailedRowsAreNotInTheList)
{
    TakeRun(5, {2, 3, 5});
    FillTable({L"a1.sldprt", L"a3.sldprt"});
    m_table.SetItemState(0, LVIS_SELECTED, LVIS_SELECTED);
    m_commands.SelectAttention(m_table);
    EXPECT_EQ(Selection(), std::vector<int>{1});
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::NotInList(L"2", L"3")});
    FillTable({L"a1.sldprt"});
    m_commands.SelectAttention(m_table);
    EXPECT_EQ(Selection(), std::vector<int>{});
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::NotInList(L"3", L"3")});
}

TEST_P(RunReportCommandsTest, ThereIsNothingToSelectElsewhere)
{
    TakeRun(2, {2});
    EXPECT_FALSE(m_commands.CanSelectAttention(L"C:\\other"))
        << "another folder may have rows of the same names";
    TakeRun(2, {});
    EXPECT_FALSE(m_commands.CanSelectAttention(m_parts));
}

TEST_P(RunReportCommandsTest, BackslashesAtTheEndOfAFolderDoNotCount)
{
    TakeRun(1, {1});
    EXPECT_TRUE(m_commands.CanSelectAttention(m_parts + L"\\"));
    RunRecord run = CopiedTo({L"b.sldprt", L"B.sldprt"});
    run.folder = L"D:\\";
    m_commands.Take(std::move(run));
    EXPECT_TRUE(m_commands.CanSelectAttention(L"D:"));
}

// The warnings depend on two rules of the system: how it ignores letter case in file names, and the code page
// of the map file.
TEST_P(RunReportCommandsTest, WarnsByTheSystemsRules)
{
    m_commands.Take(CopiedTo({L"Ängstrøm.sldprt", L"ÄNGSTRØM.sldprt", L"日.sldprt", L"€.sldprt"}));
    FillTable({L"a1", L"a2", L"a3", L"a4"});
    m_commands.SelectAttention(m_table);
    if (GetACP() != 1252) {
        GTEST_SKIP() << "skipped: the ANSI code page is not 1252";
    }
    EXPECT_EQ(Selection(), (std::vector<int>{0, 1, 2}));
}

}  // namespace
