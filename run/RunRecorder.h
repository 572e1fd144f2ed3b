#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "run/RunRecord.h"

// Builds the record of a run in memory while the run goes on. Call BeginRun first. For each row, call
// BeginRow, then SetOutcome and the Note functions, then EndRow. Call AddNotReached for each remaining row,
// and EndRun last.
class CRunRecorder
{
public:
    // `run` must have its folder, its start, and either copyOnly or the year of SOLIDWORKS.
    void BeginRun(RunRecord run);

    // `pending`: the row's mark.
    void BeginRow(const UTtab_entry& entry, bool pending);
    // `reason`: why the row was not copied or recorded.
    void SetOutcome(RowOutcome outcome, std::wstring reason = {});
    // `givenUpCalls`: how many stalled calls were given up in the run so far.
    void EndRow(int givenUpCalls);

    // SOLIDWORKS begins a step on the copy of the current row.
    void NoteStep(CadStep step);
    void NoteOpened(bool opened, long code);
    void NoteConfigurations(long count, const std::vector<std::wstring>& names);
    void NoteConfigurationWritten();
    void NoteSaved(std::optional<long> result);
    // A call of the current step failed, with this error.
    void NoteFailure(std::wstring error);
    // SOLIDWORKS was loaded again, or could not be.
    void NoteReload(bool loaded);

    [[nodiscard]] std::size_t RowCount() const { return m_run.rows.size(); }
    // The map file was created anew for this run.
    void NoteMapFileReplaced() { m_run.mapFileReplaced = true; }
    void AddNotReached(const UTtab_entry& entry, bool pending);

    // Returns the record; BeginRun begins the next one.
    [[nodiscard]] RunRecord EndRun(RunEnd end);

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] CadRecord& Cad();
    void KeepUnwrittenNames();

    RunRecord m_run;
    Clock::time_point m_runBegan;
    Clock::time_point m_rowBegan;
    RunRow m_row;                                // the current row
    std::vector<std::wstring> m_configurations;  // of the current row
};
