#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

#include "cad/SldWorks.h"
#include "core/ConversionTable.h"
#include "framework/File.h"
#include "framework/OleException.h"
#include "run/ConversionView.h"
#include "run/ProgressFileCopy.h"

// What a run is to work on.
struct ConversionOrder
{
    std::wstring standardPartsFolder;
    std::wstring progId;  // of the SOLIDWORKS version that writes the BOM names
    bool copyOnly;        // no BOM names, SOLIDWORKS is not loaded
};

// One conversion run: copies the pending rows' files under their new names into the "Mapped" folder, records
// every row in the map file, has SOLIDWORKS write the BOM names, and marks the rows converted. Works on the
// user-interface thread and returns when the run has ended; the main window is disabled meanwhile, and still
// is then unless the run ended early. All failures are reported to the user here.
class CConversionRun
{
public:
    CConversionRun(CWnd& mainWindow, CConversionTable& table, CSldWorks& sldWorks, CConversionView& view,
                   ConversionOrder order);

    CConversionRun(const CConversionRun&) = delete;
    CConversionRun& operator=(const CConversionRun&) = delete;
    ~CConversionRun();

    void Run();

private:
    enum class CadState
    {
        ready,
        notLoaded,
        tooOld
    };
    enum class RowEnd
    {
        next,       // the row is dealt with or was skipped
        cancelled,  // the row is dealt with, and the user wants no more
        broken      // the connection is lost for good; the message was shown
    };

    void OpenProgress();
    void CloseProgress();
    void EndEarly();
    bool PrepareCad();
    CadState LoadCad();
    void ShowCadFailure(CadState state) const;
    void ReleaseCad();
    bool OpenMapFile();
    RowEnd ConvertRows();
    RowEnd ConvertRow(int row);
    bool HasFileNames();
    bool CopyAndRecord();
    bool WriteToMapFile(const std::string& text);
    bool TakeBackHalfLine();
    void DropHalfLine();
    void TellMapFileNotWritten();
    void CloseMapFile();
    void ShowRow();
    void ShowCurrentFile();
    bool UpdateBomEntries();
    void ShowDispatchError(const COleDispatchException& error) const;
    bool ReconnectCad();
    RowEnd FinishRow(int row);
    void ReportEnd(RowEnd end);

    CWnd& m_mainWindow;
    CConversionTable& m_table;
    CSldWorks& m_sldWorks;
    CConversionView& m_view;
    ConversionOrder m_order;

    std::unique_ptr<CProgressFileCopy> m_pProgress;
    std::wstring m_strMapPath;
    std::ofstream m_mapFile;
    CFile m_mapFileOnDisk;  // the same, which a stream cannot be asked about; closed when it cannot be opened
    std::uintmax_t m_nMapFileSize = 0;  // up to the last whole line, in bytes
    bool m_bMapFileHasHalfLine = false;
    bool m_bMapFileFailureShown = false;
    bool m_bNoFileNameShown = false;
    int m_nTotal = 0;  // rows to convert
    int m_nDone = 0;

    // The row in hand.
    UTtab_entry m_row;
    bool m_bRowPending = false;
    bool m_bNewNameUsable = false;
    std::wstring m_strSource;
    std::wstring m_strTarget;
};
