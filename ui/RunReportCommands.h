#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "core/ConversionTable.h"
#include "run/RunFindings.h"
#include "run/RunRecord.h"

// What the user can do with the record of the last run. The record is kept in memory only.
class CRunReportCommands
{
public:
    // Replaces the record of the previous run.
    void Take(RunRecord run);

    [[nodiscard]] bool HasRun() const { return m_hasRun; }

    // Writes the report to a new file in the user's temporary folder and opens it in the user's browser.
    // Shows a message when either fails. Call it only after a run.
    void ShowReport(HWND owner) const;

    // Whether rows of the last run need attention and the given folder is that run's standard-parts folder.
    [[nodiscard]] bool CanSelectAttention(const std::wstring& standardPartsFolder) const;

    // Selects the failed rows or, if there are none, the rows with warnings, and no others. Finds the rows by
    // their original file names. Shows a message when some of these rows are not in the list. After a
    // cancelled run, for example, the list lacks the rows without a record in the map file.
    void SelectAttention(const CConversionTable& table) const;

private:
    [[nodiscard]] std::wstring WriteReport() const;
    [[nodiscard]] const RunFindings& Findings() const;

    bool m_hasRun = false;
    RunRecord m_run;
    mutable std::optional<RunFindings> m_findings;  // of m_run; made when first needed
};
