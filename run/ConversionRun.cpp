#include "run/ConversionRun.h"

#include <cstdint>
#include <exception>
#include <utility>

#include "core/TextTools.h"
#include "files/FileMisc.h"
#include "files/MapCodePage.h"
#include "files/MapLine.h"
#include "files/Paths.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"

namespace {

constexpr int kProgressFull = 100;

// Kept: the standard number of the BOM entries is read after a prefix of this length, whatever prefix the
// name has. BOM names already written depend on it.
constexpr const wchar_t* kStandardNumberPrefix = L"N_";

constexpr Text kLoadingCad{L"Lade SOLIDWORKS...", L"Loading SOLIDWORKS..."};
constexpr Text kCadNotLoaded{
    L"SOLIDWORKS konnte nicht geladen werden.\nDie Anwendung ist entweder nicht installiert, "
    L"oder die Installation ist zerstört.",
    L"Could not load SOLIDWORKS.\nThe application either is not installed, or the "
    L"installation is corrupt."};
constexpr Text kCadTooOld{L"SOLIDWORKS 99/250 muss mindestens installiert sein.",
                          L"SOLIDWORKS 99/250 is required."};

// Without quotes around the path, unlike the reader's message. Kept: the manuals quote it so.
constexpr Text kMapFileLead{L"FEHLER: Datei ", L"ERROR: File "};
constexpr Text kMapFileNotOpened{L" kann nicht zum Schreiben geöffnet werden!",
                                 L" cannot be opened for write access!"};
constexpr Text kMapFileNotWritten{
    L" kann nicht geschrieben werden!\nDie betroffenen Normteile fehlen in dieser Datei.",
    L" cannot be written!\nThe standard parts concerned are missing from this file."};

// A generated or edited name is always a file name; one from the map file may be anything.
constexpr Text kNoFileNameLead{L"FEHLER: '", L"ERROR: '"};
constexpr Text kNoFileNameClosing{L"' ist kein Dateiname!\nDas betroffene Normteil wird übergangen.",
                                  L"' is not a file name!\nThe standard part concerned is skipped."};

constexpr Text kCopyFrom{L"Kopiere: ", L"Copy: "};
constexpr Text kCopyTo{L"nach: ", L"to: "};
constexpr Text kCurrentFile{L"Bearbeite Datei: ", L"Current file: "};
constexpr const wchar_t* kUnknownError = L"unknown error";  // in both languages

constexpr Text kCancelled{L"Abbruch durch Benutzer!\n\nEs wurden nicht alle Dateien kopiert.",
                          L"Canceled by user!\n\nNot all files are copied."};
constexpr Text kFinished{L"Umsetzungen erfolgreich beendet.", L"Conversion successfully finished."};

// Position of the overall bar. With nothing to convert there is nothing left to do: the bar is full.
int OverallPosition(int done, int total)
{
    if (total == 0) {
        return kProgressFull;
    }
    return static_cast<int>(static_cast<float>(done) / static_cast<float>(total) *
                            static_cast<float>(kProgressFull));
}

}  // namespace

CConversionRun::CConversionRun(CWnd& mainWindow, CConversionTable& table, CSldWorks& sldWorks,
                               CConversionView& view, ConversionOrder order)
    : m_mainWindow(mainWindow), m_table(table), m_sldWorks(sldWorks), m_view(view), m_order(std::move(order))
{
}

// An exception may have ended the run early: neither half a line, nor the dialog, nor a server may stay
// behind. Nobody is told any more.
CConversionRun::~CConversionRun()
{
    try {
        DropHalfLine();
    } catch (const std::exception&) {
        // Memory is short, and the half line stays.
    }
    if (m_pProgress != nullptr) {
        CloseProgress();
    }
    ReleaseCad();
}

void CConversionRun::Run()
{
    m_nTotal = m_table.CountPendingRows();
    m_strMapPath = MapFilePath(m_order.standardPartsFolder);
    OpenProgress();
    if (!PrepareCad() || !OpenMapFile()) {
        return;
    }
    WriteToMapFile(FormatMapHeader(CFileMisc::PathToBytes(m_strMapPath, MapCodePage()).bytes));
    const RowEnd end = ConvertRows();
    CloseMapFile();
    if (end == RowEnd::broken) {
        return;
    }
    ReportEnd(end);
    CloseProgress();
    ReleaseCad();
}

void CConversionRun::OpenProgress()
{
    m_mainWindow.EnableWindow(false);
    m_pProgress = std::make_unique<CProgressFileCopy>(&m_mainWindow, 0, kProgressFull, 0);
}

// The main window is enabled while its progress dialog goes: otherwise the system would activate another
// program's window. No message is dispatched in between, so that nothing can be done with it yet.
void CConversionRun::CloseProgress()
{
    m_mainWindow.EnableWindow(true);
    m_pProgress->DestroyWindow();
    m_pProgress.reset();
    m_mainWindow.EnableWindow(false);
}

// Ends a run that cannot go on. Its message has been answered, so the window comes back first; its commands
// still wait until SOLIDWORKS has been let go.
void CConversionRun::EndEarly()
{
    CloseProgress();
    m_view.TakeInputAgain();
    ReleaseCad();
}

// Loads SOLIDWORKS unless files are copied only. False when the run has ended.
bool CConversionRun::PrepareCad()
{
    if (m_order.copyOnly) {
        // The button stays disabled: a run that only copies cannot be cancelled.
        m_pProgress->EnableCancel(false);
        m_pProgress->Refresh();
        return true;
    }
    const CadState state = LoadCad();
    if (state != CadState::ready) {
        ShowCadFailure(state);
        EndEarly();
        return false;
    }
    m_pProgress->EnableCancel(true);
    return true;
}

// Connects and tests the version, with the cancel button disabled. An automation failure on the way counts as
// a failed connection.
CConversionRun::CadState CConversionRun::LoadCad()
{
    m_pProgress->SetFirstText(kLoadingCad.Current());
    m_pProgress->EnableCancel(false);
    m_pProgress->RefreshAtOnce();
    try {
        if (m_sldWorks.Connect(m_order.progId) == 0) {
            return CadState::notLoaded;
        }
        return m_sldWorks.IsVersionSupported() ? CadState::ready : CadState::tooOld;
    } catch (const CException&) {
        return CadState::notLoaded;
    }
}

void CConversionRun::ShowCadFailure(CadState state) const
{
    ShowMessage(state == CadState::tooOld ? kCadTooOld.Current() : kCadNotLoaded.Current());
}

// Ends SOLIDWORKS and lets it go. A server that cannot be ended any more is let go all the same.
void CConversionRun::ReleaseCad()
{
    if (m_order.copyOnly) {
        return;
    }
    try {
        m_sldWorks.Disconnect();
    } catch (const CException&) {
        // The connection is dropped all the same, and there is nobody left to end.
    }
}

// False when the run has ended.
bool CConversionRun::OpenMapFile()
{
    if (CFileMisc::OpenOutputFile(m_mapFile, CFileMisc::PathToBytes(m_strMapPath, MapCodePage()), true) ==
        0) {
        // Now, as the way to the file may be gone at the end without a line being lost.
        static_cast<void>(
            m_mapFileOnDisk.Open(m_strMapPath, CFile::modeWrite | CFile::shareDenyNone, nullptr));
        return true;
    }
    ShowMessage(kMapFileLead.Current() + m_strMapPath + kMapFileNotOpened.Current());
    EndEarly();
    return false;
}

CConversionRun::RowEnd CConversionRun::ConvertRows()
{
    for (int row = m_table.GetNextItem(-1, LVNI_ALL); row != -1; row = m_table.GetNextItem(row, LVNI_ALL)) {
        const RowEnd end = ConvertRow(row);
        if (end != RowEnd::next) {
            return end;
        }
    }
    return RowEnd::next;
}

CConversionRun::RowEnd CConversionRun::ConvertRow(int row)
{
    m_row = m_table.GetRow(row);
    m_bRowPending = m_table.IsPending(row);
    m_strSource = NormalizePath(m_order.standardPartsFolder + L"\\" + m_row.strOriginal);
    m_strTarget = NormalizePath(m_order.standardPartsFolder + L"\\" + std::wstring(kMappedFolderName) +
                                L"\\" + m_row.strRenamed);
    // A name that cannot be a copy's: nothing that has it may be touched. While the map file is open, the
    // copy cannot take its place.
    m_bNewNameUsable = IsBareFileName(m_row.strRenamed) && !EqualIgnoringCase(m_row.strRenamed, kMapFileName);
    ShowRow();
    if (m_bNewNameUsable) {
        static_cast<void>(CFileMisc::ClearReadOnly(m_strTarget));
    }
    if (CopyAndRecord()) {
        if (m_order.copyOnly) {
            ShowCurrentFile();
            ++m_nDone;  // counts every row, marked or not
        } else if (m_bRowPending && !UpdateBomEntries()) {
            return RowEnd::broken;
        }
        if (FinishRow(row) == RowEnd::cancelled) {
            return RowEnd::cancelled;
        }
    }
    if (m_bNewNameUsable) {
        static_cast<void>(CFileMisc::SetReadOnly(m_strTarget));
    }
    return RowEnd::next;
}

void CConversionRun::ShowRow()
{
    m_pProgress->SetFirstText(m_pProgress->FitToFirstLine(kCopyFrom.Current(), m_strSource));
    m_pProgress->SetSecondText(m_pProgress->FitToSecondLine(kCopyTo.Current(), m_strTarget));
    m_pProgress->SetThirdText({});
    m_pProgress->SetFilePosition(0);
    m_pProgress->SetOverallPosition(OverallPosition(m_nDone, m_nTotal));
    m_pProgress->Refresh();
}

// Whether both names lie in their folders. If not, the user is told once.
bool CConversionRun::HasFileNames()
{
    for (const std::wstring& name : {m_row.strOriginal, m_row.strRenamed}) {
        if (!IsBareFileName(name)) {
            if (!std::exchange(m_bNoFileNameShown, true)) {
                ShowMessage(kNoFileNameLead.Current() + name + kNoFileNameClosing.Current());
            }
            return false;
        }
    }
    return true;
}

// Copies a pending row's file and records the row. False when the row stays as it is.
bool CConversionRun::CopyAndRecord()
{
    if (m_bRowPending && (!HasFileNames() || CFileMisc::CopyPartFile(m_strSource, m_strTarget) != 0)) {
        return false;
    }
    UTtab_entry record = m_row;
    if (m_order.copyOnly) {
        record.strBomName.clear();
    }
    return WriteToMapFile(FormatMapRecord(record, MapByteRuleOf(MapCodePage())) + '\n');
}

// Hands the text to the system at once, so that it survives the end of the program. A text that cannot be
// written leaves no half line behind, and the user is told once. Behind a half line that cannot be taken back
// nothing is written: the two would be read as one record.
bool CConversionRun::WriteToMapFile(const std::string& text)
{
    if (!m_bMapFileHasHalfLine || TakeBackHalfLine()) {
        m_mapFile << text << std::flush;
        if (m_mapFile.good()) {
            m_nMapFileSize = static_cast<std::uintmax_t>(std::streamoff(m_mapFile.tellp()));
            return true;
        }
        static_cast<void>(TakeBackHalfLine());
    }
    TellMapFileNotWritten();
    return false;
}

// Once a run.
void CConversionRun::TellMapFileNotWritten()
{
    if (!std::exchange(m_bMapFileFailureShown, true)) {
        ShowMessage(kMapFileLead.Current() + m_strMapPath + kMapFileNotWritten.Current());
    }
}

// Opened anew because the failed stream would write what it still holds at the next chance; not made anew if
// it is gone meanwhile. False when the system does not let the file be made shorter, as while another program
// has it mapped into its memory, or be opened; and for the rest of the run when the file holds less than was
// written to it.
bool CConversionRun::TakeBackHalfLine()
{
    m_bMapFileHasHalfLine = true;
    m_mapFile.close();
    const bool cut = CFile::Truncate(m_strMapPath, m_nMapFileSize);
    m_mapFile.clear();
    m_mapFile.open(m_strMapPath.c_str(), std::ios::in | std::ios::ate);
    m_bMapFileHasHalfLine = !cut || !m_mapFile.is_open();
    return !m_bMapFileHasHalfLine;
}

// The last chance of a half line that is still there: once the file is closed, another may write it.
void CConversionRun::DropHalfLine()
{
    if (m_bMapFileHasHalfLine) {
        static_cast<void>(TakeBackHalfLine());
        m_bMapFileHasHalfLine = false;
    }
}

// That lines are lost may turn out only when the system brings them to the disk, as behind a network path;
// closing the file does not tell.
void CConversionRun::CloseMapFile()
{
    DropHalfLine();
    const bool onDisk = m_mapFileOnDisk.Flush();
    m_mapFileOnDisk = CFile();
    m_mapFile.close();
    if (!onDisk || m_mapFile.fail()) {
        TellMapFileNotWritten();
    }
}

void CConversionRun::ShowCurrentFile()
{
    m_pProgress->SetFirstText(m_pProgress->FitToFirstLine(kCurrentFile.Current(), m_strTarget));
    m_pProgress->Refresh();
}

// Has SOLIDWORKS write the copy's BOM names. A failure is shown and SOLIDWORKS loaded anew; false when that
// fails too.
bool CConversionRun::UpdateBomEntries()
{
    ShowCurrentFile();
    ++m_nDone;
    const float fileShare = static_cast<float>(kProgressFull) / static_cast<float>(m_nTotal);
    try {
        PartNameValues fields = Diverses::SplitPartName(m_row.strOriginal);
        fields.strNumDigits = Diverses::LeadingDigits(m_row.strOriginal, kStandardNumberPrefix);
        m_sldWorks.WriteBomEntries(*m_pProgress, m_strTarget, fields, m_row.strBomName, fileShare, m_nDone);
        return true;
    } catch (const COleDispatchException& error) {
        ShowDispatchError(error);
    } catch (const CException&) {
        // Any other failure ends the update of this part without a word.
    }
    return ReconnectCad();
}

void CConversionRun::ShowDispatchError(const COleDispatchException& error) const
{
    MessageRequest request;
    if (!error.m_strSource.empty()) {
        request.text = error.m_strSource + L" - ";
    }
    request.text += error.m_strDescription.empty() ? kUnknownError : error.m_strDescription;
    if (!error.m_strHelpFile.empty()) {
        request.helpFile = error.m_strHelpFile;
        request.helpContext = error.m_dwHelpContext;
    }
    ShowMessage(request);
}

// The cancel button stays disabled; the next part's last step enables it again.
bool CConversionRun::ReconnectCad()
{
    ReleaseCad();
    const CadState state = LoadCad();
    if (state == CadState::ready) {
        return true;
    }
    ShowCadFailure(state);
    EndEarly();
    return false;
}

CConversionRun::RowEnd CConversionRun::FinishRow(int row)
{
    m_table.MarkConverted(row);
    m_table.ScrollIntoView(row);
    m_pProgress->PumpOneMessage();
    return m_pProgress->IsCancelled() ? RowEnd::cancelled : RowEnd::next;
}

void CConversionRun::ReportEnd(RowEnd end)
{
    if (end == RowEnd::cancelled) {
        ShowMessage(kCancelled.Current());
        m_view.ReloadAfterCancel();
    } else {
        m_view.ShowViewStatus(true);
        ShowMessage(kFinished.Current(), MB_OK | MB_ICONINFORMATION);
    }
}
