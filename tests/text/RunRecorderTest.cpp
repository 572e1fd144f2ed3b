#include "run/RunRecorder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::wstring>;

const UTtab_entry kFirst{L"a1.sldprt", L"b1.sldprt", L"Norm 1"};
const UTtab_entry kSecond{L"a2.sldprt", L"b2.sldprt", L"Norm 2"};

// Notes a part with these configurations. Notes the first `written` configurations as written.
void Write(CRunRecorder& recorder, const Names& names, int written)
{
    recorder.NoteStep(CadStep::opening);
    recorder.NoteOpened(true, 0);
    recorder.NoteStep(CadStep::reading);
    recorder.NoteConfigurations(static_cast<long>(names.size()), names);
    recorder.NoteStep(CadStep::writing);
    for (int count = 0; count < written; ++count) {
        recorder.NoteConfigurationWritten();
    }
}

TEST(RunRecorder, KeepsWhatTheRunBeganWith)
{
    CRunRecorder recorder;
    RunRecord run;
    run.folder = L"C:\\lib";
    run.cadYear = L"2024";
    run.start.year = 2026;
    recorder.BeginRun(run);
    const RunRecord record = recorder.EndRun(RunEnd::cancelled);
    EXPECT_EQ(record.folder, L"C:\\lib");
    EXPECT_EQ(record.cadYear, L"2024");
    EXPECT_EQ(record.start.year, 2026);
    EXPECT_EQ(record.end, RunEnd::cancelled);
    EXPECT_TRUE(record.rows.size() == 0);
}

TEST(RunRecorder, KeepsEachRowInItsPlace)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    recorder.BeginRow(kFirst, true);
    recorder.SetOutcome(RowOutcome::notCopied, L"no such file");
    recorder.EndRow(0);
    EXPECT_EQ(recorder.RowCount(), 1U);
    recorder.AddNotReached(kSecond, false);
    recorder.AddNotReached(kFirst, true);
    const RunRecord record = recorder.EndRun(RunEnd::finished);
    ASSERT_EQ(record.rows.size(), 3U);
    EXPECT_TRUE(record.rows.at(0).pending);
    EXPECT_FALSE(record.rows.at(1).pending);
    EXPECT_TRUE(record.rows.at(2).pending);
    EXPECT_EQ(record.rows.at(0).entry, kFirst);
    EXPECT_EQ(record.rows.at(0).outcome, RowOutcome::notCopied);
    EXPECT_EQ(record.rows.at(0).reason, L"no such file");
    EXPECT_EQ(record.rows.at(0).cad, std::nullopt);
    EXPECT_EQ(record.rows.at(1).entry, kSecond);
    EXPECT_EQ(record.rows.at(1).outcome, RowOutcome::notReached);
}

TEST(RunRecorder, KeepsTheMarkOfEachRow)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    for (const bool pending : {true, false}) {
        recorder.BeginRow(kFirst, pending);
        recorder.EndRow(0);
    }
    const RunRecord record = recorder.EndRun(RunEnd::finished);
    EXPECT_TRUE(record.rows.at(0).pending);
    EXPECT_FALSE(record.rows.at(1).pending);
}

TEST(RunRecorder, CountsConfigurationsAndKeepsNoNameOfAWrittenOne)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    recorder.BeginRow(kFirst, true);
    Write(recorder, {L"x", L"y", L"z"}, 3);
    recorder.NoteStep(CadStep::saving);
    recorder.NoteSaved(7);
    recorder.NoteStep(CadStep::closing);
    recorder.EndRow(0);
    const RunRecord record = recorder.EndRun(RunEnd::finished);
    CadRecord expected;
    expected.step = CadStep::closing;
    expected.opened = true;
    expected.configurations = 3;
    expected.written = 3;
    expected.saveResult = 7;
    EXPECT_EQ(record.rows.at(0).cad, expected);
    EXPECT_EQ(record.rows.at(0).unwritten, Names{});
}

TEST(RunRecorder, KeepsTheNamesOfUnwrittenConfigurations)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    recorder.BeginRow(kFirst, true);
    Write(recorder, {L"x", L"y", L"z"}, 1);
    recorder.EndRow(0);
    // The next row makes no call to SOLIDWORKS. The names of the first row must not reappear there.
    recorder.BeginRow(kSecond, true);
    recorder.EndRow(0);
    const RunRecord record = recorder.EndRun(RunEnd::finished);
    EXPECT_EQ(record.rows.at(0).unwritten, (Names{L"y", L"z"}));
    EXPECT_EQ(record.rows.at(1).unwritten, Names{});
    EXPECT_EQ(record.rows.at(1).cad, std::nullopt);
}

TEST(RunRecorder, AFailedCallBelongsToTheStepThatItsRowBeganLast)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    recorder.BeginRow(kFirst, true);
    recorder.NoteStep(CadStep::opening);
    recorder.NoteOpened(true, 128);
    recorder.NoteStep(CadStep::reading);
    recorder.NoteFailure(L"gone");
    recorder.EndRow(0);
    recorder.BeginRow(kSecond, true);
    recorder.NoteFailure(L"gone again");
    recorder.EndRow(0);
    const RunRecord record = recorder.EndRun(RunEnd::cadNotLoaded);
    const RunRow first = record.rows.at(0);
    ASSERT_TRUE(first.cad);
    EXPECT_EQ(first.cad->step, CadStep::reading);
    EXPECT_EQ(first.cad->openCode, 128);
    EXPECT_TRUE(first.cad->failed);
    EXPECT_EQ(first.reason, L"gone");
    const RunRow second = record.rows.at(1);
    ASSERT_TRUE(second.cad);
    EXPECT_EQ(second.cad->step, CadStep::opening) << "the row began no step";
    EXPECT_TRUE(second.cad->failed);
}

TEST(RunRecorder, KeepsWhetherSolidworksWasLoadedAgain)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    recorder.BeginRow(kFirst, true);
    recorder.NoteReload(true);
    recorder.EndRow(0);
    recorder.BeginRow(kSecond, true);
    recorder.NoteReload(false);
    recorder.EndRow(0);
    const RunRecord record = recorder.EndRun(RunEnd::cadNotLoaded);
    EXPECT_TRUE(record.rows.at(0).cadReloaded);
    EXPECT_FALSE(record.rows.at(0).cadLost);
    EXPECT_FALSE(record.rows.at(1).cadReloaded);
    EXPECT_TRUE(record.rows.at(1).cadLost);
}

TEST(RunRecorder, AGivenUpCallBelongsToItsRow)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    for (const int soFar : {0, 2, 2}) {
        recorder.BeginRow(kFirst, true);
        recorder.EndRow(soFar);
    }
    const RunRecord record = recorder.EndRun(RunEnd::finished);
    EXPECT_FALSE(record.rows.at(0).givenUp);
    EXPECT_TRUE(record.rows.at(1).givenUp);
    EXPECT_FALSE(record.rows.at(2).givenUp);
    EXPECT_EQ(record.givenUpCalls, 2);
}

TEST(RunRecorder, BeginsTheNextRunEmpty)
{
    CRunRecorder recorder;
    recorder.BeginRun({});
    recorder.BeginRow(kFirst, true);
    recorder.EndRow(3);
    EXPECT_EQ(recorder.EndRun(RunEnd::finished).rows.size(), 1U);
    recorder.BeginRun({});
    const RunRecord record = recorder.EndRun(RunEnd::finished);
    EXPECT_TRUE(record.rows.size() == 0);
    EXPECT_EQ(record.givenUpCalls, 0);
}

}  // namespace
