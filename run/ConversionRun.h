#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "cad/CadSession.h"
#include "cad/SldWorks.h"
#include "core/ConversionTable.h"
#include "files/MapFileWriter.h"
#include "framework/OleException.h"
#include "run/ConversionView.h"
#include "run/ProgressFileCopy.h"
#include "run/RunRecorder.h"

struct ConversionOptions
{
    std::wstring standardPartsFolder;
    std::wstring progId;  // of the SOLIDWORKS version that writes the BOM names
    bool copyOnly;        // no BOM names, SOLIDWORKS is not loaded
    CadTimeouts cadTimeouts{};
};

// One conversion run. Copies the files of pending rows under their new names into the "Mapped" folder and
// records all rows in the map file. Has SOLIDWORKS write the BOM names unless files are only copied. Marks
// the rows as converted, except those that could not be copied or recorded. Runs on the user-interface
// thread. Reports failures itself, in message boxes or in the record of the run.
class CConversionRun
{
public:
    // All references must outlive the run. All runs must share one `server`: a run waits for the server of
    // the previous run.
    CConversionRun(CWnd& mainWindow, CConversionTable& table, CSldWorks& sldWorks, CServerProcess& server,
                   CConversionView& view, ConversionOptions options);

    CConversionRun(const CConversionRun&) = delete;
    CConversionRun& operator=(const CConversionRun&) = delete;

    // After an exception, closes the progress dialog and asks SOLIDWORKS to exit.
    ~CConversionRun();

    // Disables the main window and returns when the run has ended. The caller must then enable the window,
    // unless the run was aborted: an aborted run has enabled the window itself.
    void Run();

    // Returns what became of every row. Call it once, after Run.
    [[nodiscard]] RunRecord TakeRecord() { return std::move(m_record); }

private:
    using End = RunEnd;
    struct Row;

    // The steps return how the run ended, or nullopt to continue.
    End Convert();
    std::optional<End> PrepareCad();
    std::optional<End> LoadCad();
    std::optional<End> ReloadCad();
    [[nodiscard]] static std::optional<End> EndAfter(CCadSession::Outcome outcome);
    End ConvertRows();
    void BeginRecord();
    void EndRecord(End end);
    void FinishWith(End end);
    void CloseProgressAndCad();
    void AbortRun(const std::wstring& message);

    [[nodiscard]] Row ReadRow(int index) const;
    std::optional<End> ConvertRow(const Row& row);
    bool CopyAndRecord(const Row& row);
    [[nodiscard]] std::wstring CopyFailure(const Row& row);
    [[nodiscard]] std::wstring CheckFileNames(const Row& row);
    std::optional<End> UpdateCopy(const Row& row);
    std::optional<End> UpdateBomEntries(const Row& row);
    void FinishRow(const Row& row);
    void FollowRow(int row);
    void ScrollToRowDone();

    [[nodiscard]] std::wstring WriteFailure() const;
    bool ReportWriteFailure(bool written);

    void ReportDispatchError(const COleDispatchException& error);
    void ReleaseCad();

    void OpenProgress();
    void CloseProgress();
    void ShowLoadingCad();
    void ShowCopyProgress(const Row& row);
    void ShowUpdateProgress(const Row& row);

    CWnd& m_mainWindow;
    CConversionTable& m_table;
    CSldWorks& m_sldWorks;
    CConversionView& m_view;
    ConversionOptions m_options;
    CCadSession m_cad;
    CRunRecorder m_recorder;
    RunRecord m_record;

    std::unique_ptr<CProgressFileCopy> m_progress;
    std::wstring m_mapPath;
    CMapFileWriter m_mapFile;
    bool m_mapFileFailureShown = false;
    bool m_badNameShown = false;
    int m_total = 0;  // rows to convert
    int m_done = 0;
    std::optional<int> m_rowToScrollTo;  // done, but perhaps not in view yet
    ULONGLONG m_scrolledAt = 0;
};
