#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cad/SldWorks.h"
#include "core/ConversionTable.h"
#include "files/MapFileWriter.h"
#include "framework/OleException.h"
#include "run/ConversionView.h"
#include "run/ProgressFileCopy.h"

struct ConversionOptions
{
    std::wstring standardPartsFolder;
    std::wstring progId;  // of the SOLIDWORKS version that writes the BOM names
    bool copyOnly;        // no BOM names, SOLIDWORKS is not loaded
};

// One conversion run: copies the pending rows' files under their new names into the "Mapped" folder, records
// every row in the map file, has SOLIDWORKS write the BOM names, and marks the rows converted. Runs on the
// user-interface thread. All failures are reported to the user here.
class CConversionRun
{
public:
    CConversionRun(CWnd& mainWindow, CConversionTable& table, CSldWorks& sldWorks, CConversionView& view,
                   ConversionOptions options);

    CConversionRun(const CConversionRun&) = delete;
    CConversionRun& operator=(const CConversionRun&) = delete;

    // Closes the progress dialog and ends SOLIDWORKS if an exception ended the run.
    ~CConversionRun();

    // Returns when the run has ended. The main window is disabled meanwhile; it is enabled again only by a
    // run that could not go on.
    void Run();

private:
    enum class End
    {
        finished,
        cancelled,
        cadNotLoaded,  // at the start or after a failed call
        cadTooOld,     // likewise
        mapFileNotOpened
    };
    struct Row;

    // The run as a whole. Each step returns the end that it has come to, or none to go on.
    End Convert();
    std::optional<End> PrepareCad();
    std::optional<End> LoadCad();
    End ConvertRows();
    void PerformEnd(End end);
    void BreakOff();

    // One row.
    [[nodiscard]] Row ReadRow(int index) const;
    std::optional<End> ConvertRow(const Row& row);
    bool CopyAndRecord(const Row& row);
    bool HasFileNames(const Row& row);
    std::optional<End> UpdateCopy(const Row& row);
    std::optional<End> UpdateBomEntries(const Row& row);
    void FinishRow(const Row& row);

    bool ReportUnlessWritten(bool written);

    // SOLIDWORKS.
    void ShowDispatchError(const COleDispatchException& error) const;
    void ReleaseCad();

    // The progress dialog.
    void OpenProgress();
    void CloseProgress();
    void ShowRow(const Row& row);
    void ShowCurrentFile(const Row& row);

    CWnd& m_mainWindow;
    CConversionTable& m_table;
    CSldWorks& m_sldWorks;
    CConversionView& m_view;
    ConversionOptions m_options;

    std::unique_ptr<CProgressFileCopy> m_progress;
    std::wstring m_mapPath;
    CMapFileWriter m_mapFile;
    bool m_mapFileFailureShown = false;
    bool m_noFileNameShown = false;
    int m_total = 0;  // rows to convert
    int m_done = 0;
};
