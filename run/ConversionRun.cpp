#include "run/ConversionRun.h"

#include <array>
#include <cwchar>
#include <utility>

#include "cad/CadVersion.h"
#include "core/TextTools.h"
#include "files/FileMisc.h"
#include "files/Paths.h"
#include "framework/Language.h"
#include "framework/LongOperation.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"
#include "framework/ScopeExit.h"
#include "framework/WinApp.h"

namespace {

constexpr int kProgressFull = 100;

// A run that only copies scrolls the list at most once in this many milliseconds: a page that is replaced
// faster cannot be read, and painting it may take longer than copying its parts.
constexpr ULONGLONG kScrollInterval = 100;

// The standard number in BOM entries starts after a prefix of this length, whatever prefix the name has. This
// must not change, because the BOM names in use were made this way.
constexpr const wchar_t* kStandardNumberPrefix = L"N_";

constexpr Text kLoadingCad{L"Lade SOLIDWORKS...", L"Loading SOLIDWORKS..."};
constexpr Text kCadNotLoaded{
    L"SOLIDWORKS konnte nicht geladen werden.\nDie Anwendung ist entweder nicht installiert, "
    L"oder die Installation ist zerstört.",
    L"Could not load SOLIDWORKS.\nThe application either is not installed, or the "
    L"installation is corrupt."};
constexpr Text kCadTooOld{L"SOLIDWORKS 99/250 muss mindestens installiert sein.",
                          L"SOLIDWORKS 99/250 is required."};

// Without quotes around the path, unlike the message about reading the map file. The text must not change,
// because users look messages up by their text.
constexpr Text kMapFileNotOpened{L"FEHLER: Datei %1 kann nicht zum Schreiben geöffnet werden!",
                                 L"ERROR: File %1 cannot be opened for write access!"};
constexpr Text kMapFileNotWritten{
    L"FEHLER: Datei %1 kann nicht geschrieben werden!\nDie betroffenen Normteile fehlen in dieser Datei.",
    L"ERROR: File %1 cannot be written!\nThe standard parts concerned are missing from this file."};

// A generated or edited name is always a file name; a name from the map file may be anything.
constexpr Text kNoFileName{L"FEHLER: '%1' ist kein Dateiname!\nDas betroffene Normteil wird übergangen.",
                           L"ERROR: '%1' is not a file name!\nThe standard part concerned is skipped."};

constexpr Text kCopyFrom{L"Kopiere: ", L"Copy: "};
constexpr Text kCopyTo{L"nach: ", L"to: "};
constexpr Text kCurrentFile{L"Bearbeite Datei: ", L"Current file: "};
constexpr const wchar_t* kUnknownError = L"unknown error";  // in both languages

constexpr Text kCancelled{L"Abbruch durch Benutzer!\n\nEs wurden nicht alle Dateien kopiert.",
                          L"Canceled by user!\n\nNot all files are copied."};
constexpr Text kFinished{L"Umsetzungen erfolgreich beendet.", L"Conversion successfully finished."};

// The overall bar's position. It is full when there is nothing to convert.
int OverallPosition(int done, int total)
{
    if (total == 0) {
        return kProgressFull;
    }
    return static_cast<int>(static_cast<float>(done) / static_cast<float>(total) *
                            static_cast<float>(kProgressFull));
}

// The year of the version that a ProgID names; the ProgID itself when it names none.
std::wstring YearOf(const std::wstring& progId)
{
    const std::optional<CCadVersion> version = CCadVersion::FromNumber(progId.substr(progId.rfind(L'.') + 1));
    return version ? version->Year() : progId;
}

LocalTime Now()
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

// The error, followed by the number in hexadecimal unless the number is 0 or already in the text.
std::wstring WithNumber(const std::wstring& error, long number)
{
    std::array<wchar_t, 16> digits{};
    std::swprintf(digits.data(), digits.size(), L"0x%08lX", static_cast<unsigned long>(number));
    const bool isNews = number != 0 && error.find(digits.data()) == std::wstring::npos;
    return isNews ? error + L" (" + digits.data() + L")" : error;
}

}  // namespace

// A row and what the run derives from it.
struct CConversionRun::Row
{
    int index;
    UTtab_entry entry;
    bool pending;
    std::wstring source;
    std::wstring target;
    bool targetIsSafe;  // can only be a copy in the "Mapped" folder
};

CConversionRun::CConversionRun(CWnd& mainWindow, CConversionTable& table, CSldWorks& sldWorks,
                               CServerProcess& server, CConversionView& view, ConversionOptions options)
    : m_mainWindow(mainWindow)
    , m_table(table)
    , m_sldWorks(sldWorks)
    , m_view(view)
    , m_options(std::move(options))
    , m_cad(sldWorks, server, m_options.progId, m_options.cadTimeouts)
{
}

// Leaves no orphaned SOLIDWORKS behind after an exception. Failures here are not reported.
CConversionRun::~CConversionRun()
{
    if (m_progress != nullptr) {
        CloseProgress();
    }
    ReleaseCad();
}

void CConversionRun::Run()
{
    MessageObserver outer = SetMessageObserver({});
    SetMessageObserver([this, &outer](bool open) {
        ScrollToRowDone();  // the user sees the list while a message is open
        if (outer) {
            outer(open);
        }
    });
    const CScopeExit ended([&outer] { SetMessageObserver(std::move(outer)); });
    m_total = m_table.CountPendingRows();
    m_mapPath = MapFilePath(m_options.standardPartsFolder);
    OpenProgress();
    BeginRecord();
    const End converted = Convert();
    const End end = m_progress->IsSessionEnding() ? End::sessionEnded : converted;
    EndRecord(end);
    FinishWith(end);
    m_record.givenUpCalls = m_cad.GivenUpCalls();  // includes those before the first and after the last row
}

// ---- The run as a whole

void CConversionRun::BeginRecord()
{
    RunRecord record;
    record.folder = m_options.standardPartsFolder;
    record.copyOnly = m_options.copyOnly;
    if (!m_options.copyOnly) {
        record.cadYear = YearOf(m_options.progId);
    }
    record.start = Now();
    m_recorder.BeginRun(std::move(record));
    m_progress->RecordTo(m_recorder);
}

// Call it before the list is reloaded: the rows that were not reached are read from the list.
void CConversionRun::EndRecord(End end)
{
    for (int row = static_cast<int>(m_recorder.RowCount()); row < m_table.GetItemCount(); ++row) {
        m_recorder.AddNotReached(m_table.GetRow(row), m_table.IsPending(row));
    }
    m_record = m_recorder.EndRun(end);
}

CConversionRun::End CConversionRun::Convert()
{
    const CLongOperation operation(m_mainWindow.m_hWnd, m_progress->GetWindowText());
    if (const std::optional<End> end = PrepareCad()) {
        return *end;
    }
    if (m_progress->IsSessionEnding()) {
        return End::sessionEnded;  // the old map file stays
    }
    if (!m_mapFile.Open(m_mapPath)) {
        return End::mapFileNotOpened;
    }
    m_recorder.NoteMapFileReplaced();
    ReportWriteFailure(m_mapFile.AppendHeader());
    return ConvertRows();
}

// Loads SOLIDWORKS unless files are copied only.
std::optional<CConversionRun::End> CConversionRun::PrepareCad()
{
    if (m_options.copyOnly) {
        // The button stays disabled: a run that only copies cannot be cancelled.
        m_progress->EnableCancel(false);
        m_progress->Refresh();
        return std::nullopt;
    }
    const std::optional<End> end = LoadCad();
    if (!end) {
        m_progress->EnableCancel(true);
    }
    return end;
}

// Connects and checks the version, and leaves the cancel button disabled.
std::optional<CConversionRun::End> CConversionRun::LoadCad()
{
    ShowLoadingCad();
    return EndAfter(m_cad.Connect());
}

// Releases SOLIDWORKS after a failed call and connects again. Like LoadCad, checks the version and leaves the
// cancel button disabled.
std::optional<CConversionRun::End> CConversionRun::ReloadCad()
{
    ReleaseCad();
    ShowLoadingCad();
    return EndAfter(m_cad.Reconnect());
}

std::optional<CConversionRun::End> CConversionRun::EndAfter(CCadSession::Outcome outcome)
{
    switch (outcome) {
        case CCadSession::Outcome::notLoaded:
            return End::cadNotLoaded;
        case CCadSession::Outcome::tooOld:
            return End::cadTooOld;
        case CCadSession::Outcome::connected:
            break;
    }
    return std::nullopt;
}

CConversionRun::End CConversionRun::ConvertRows()
{
    for (int row = m_table.GetNextItem(-1, LVNI_ALL); row != -1; row = m_table.GetNextItem(row, LVNI_ALL)) {
        const Row content = ReadRow(row);
        m_recorder.BeginRow(content.entry, content.pending);
        const std::optional<End> end = ConvertRow(content);
        m_recorder.EndRow(m_cad.GivenUpCalls());
        if (end) {
            return *end;
        }
        if (m_progress->IsSessionEnding()) {
            return End::sessionEnded;
        }
    }
    return End::finished;
}

// Each kind of end has its own order of message, window changes, release and close.
void CConversionRun::FinishWith(End end)
{
    m_view.ShowRunEnd(end == End::cadNotLoaded || end == End::cadTooOld || end == End::mapFileNotOpened);
    switch (end) {
        case End::finished:
            ReportWriteFailure(m_mapFile.Close());
            m_view.ShowViewStatus(true);
            ShowMessage(kFinished.Current(), MB_OK | MB_ICONINFORMATION);
            CloseProgressAndCad();
            break;
        case End::cancelled:
            ReportWriteFailure(m_mapFile.Close());
            ShowMessage(kCancelled.Current());
            m_view.ReloadAfterCancel();
            CloseProgressAndCad();
            break;
        case End::sessionEnded:
            static_cast<void>(m_mapFile.Close());
            CloseProgressAndCad();
            break;
        case End::cadNotLoaded:
            AbortRun(kCadNotLoaded.Current());
            break;
        case End::cadTooOld:
            AbortRun(kCadTooOld.Current());
            break;
        case End::mapFileNotOpened:
            AbortRun(FillPlaceholders(kMapFileNotOpened.Current(), {m_mapPath}));
            break;
    }
}

void CConversionRun::CloseProgressAndCad()
{
    CloseProgress();
    ReleaseCad();
}

// The main window is enabled as soon as the user has closed the message. Until the run has returned, the main
// dialog drops commands. Input that comes while SOLIDWORKS is being released is dropped here: an Enter would
// start the next run.
void CConversionRun::AbortRun(const std::wstring& message)
{
    ShowMessage(message);
    CloseProgress();
    m_view.TakeInputAgain();
    ReleaseCad();
    CWinApp::DropPendingInput();
    ReportWriteFailure(m_mapFile.Close());
}

// ---- One row

CConversionRun::Row CConversionRun::ReadRow(int index) const
{
    UTtab_entry entry = m_table.GetRow(index);
    const std::wstring& folder = m_options.standardPartsFolder;
    std::wstring source = JoinPath(folder, entry.strOriginal);
    std::wstring target = CopyPath(folder, entry.strRenamed);
    // A name that is not a bare file name could lead to any file; the map file itself is open during the run.
    const bool targetIsSafe =
        IsBareFileName(entry.strRenamed) && !EqualIgnoringCase(entry.strRenamed, kMapFileName);
    return {index,       std::move(entry), m_table.IsPending(index), std::move(source), std::move(target),
            targetIsSafe};
}

std::optional<CConversionRun::End> CConversionRun::ConvertRow(const Row& row)
{
    ShowCopyProgress(row);
    if (row.targetIsSafe) {
        static_cast<void>(CFileMisc::ClearReadOnly(row.target));
    }
    if (CopyAndRecord(row)) {
        if (const std::optional<End> end = UpdateCopy(row)) {
            return end;
        }
        FinishRow(row);
        if (m_progress->IsCancelled()) {
            return End::cancelled;
        }
    }
    if (row.targetIsSafe) {
        static_cast<void>(CFileMisc::SetReadOnly(row.target));
    }
    return std::nullopt;
}

// Copies the row's file if the row is pending, and records the row. Returns false when either fails; the row
// is then not marked as converted.
bool CConversionRun::CopyAndRecord(const Row& row)
{
    if (std::wstring failure = row.pending ? CopyFailure(row) : std::wstring(); !failure.empty()) {
        m_recorder.SetOutcome(RowOutcome::notCopied, std::move(failure));
        return false;
    }
    UTtab_entry record = row.entry;
    if (m_options.copyOnly) {
        record.strBomName.clear();
    }
    if (!ReportWriteFailure(m_mapFile.Append(record))) {
        m_recorder.SetOutcome(RowOutcome::notRecorded, WriteFailure());
        return false;
    }
    m_recorder.SetOutcome(row.pending ? RowOutcome::copied : RowOutcome::recordedOnly);
    return true;
}

// Copies the file. Returns an empty text, or why that failed.
std::wstring CConversionRun::CopyFailure(const Row& row)
{
    std::wstring failure = CheckFileNames(row);
    if (failure.empty()) {
        static_cast<void>(CFileMisc::CopyPartFile(row.source, row.target, &failure));
    }
    return failure;
}

// Returns an empty text, or the message about a name that is not a bare file name. The message is shown at
// most once per run.
std::wstring CConversionRun::CheckFileNames(const Row& row)
{
    for (const std::wstring& name : {row.entry.strOriginal, row.entry.strRenamed}) {
        if (!IsBareFileName(name)) {
            std::wstring message = FillPlaceholders(kNoFileName.Current(), {name});
            if (!std::exchange(m_badNameShown, true)) {
                ShowMessage(message);
            }
            return message;
        }
    }
    return {};
}

std::optional<CConversionRun::End> CConversionRun::UpdateCopy(const Row& row)
{
    if (m_options.copyOnly) {
        ShowUpdateProgress(row);
        ++m_done;  // also for rows that are not pending, so the bar may be full early
        return std::nullopt;
    }
    return row.pending ? UpdateBomEntries(row) : std::nullopt;
}

// Has SOLIDWORKS write the copy's BOM names. After a failed call SOLIDWORKS is loaded again, and the cancel
// button stays disabled until SOLIDWORKS has closed a later part.
std::optional<CConversionRun::End> CConversionRun::UpdateBomEntries(const Row& row)
{
    ShowUpdateProgress(row);
    ++m_done;
    const float fileShare = static_cast<float>(kProgressFull) / static_cast<float>(m_total);
    try {
        const std::wstring& original = row.entry.strOriginal;
        PartNameValues fields = Diverses::SplitPartName(original);
        fields.strNumDigits = Diverses::LeadingDigits(original, kStandardNumberPrefix);
        m_sldWorks.WriteBomEntries(*m_progress, row.target, fields, row.entry.strBomName, fileShare, m_done);
        return std::nullopt;
    } catch (const COleDispatchException& error) {
        ReportDispatchError(error);
    } catch (const COleException& error) {
        // Without a message: SOLIDWORKS gave no text, and it is loaded again below.
        m_recorder.NoteFailure(WithNumber(error.GetErrorMessage(), error.m_sc));
    } catch (const CException& error) {
        m_recorder.NoteFailure(error.GetErrorMessage());  // no message either
    }
    const std::optional<End> end = ReloadCad();
    m_recorder.NoteReload(!end);
    return end;
}

// Marks the row as converted, shows the progress, and dispatches one pending message: keys and clicks come
// before others.
void CConversionRun::FinishRow(const Row& row)
{
    m_view.ShowProgress(OverallPosition(m_done, m_total));
    m_table.MarkConverted(row.index);
    FollowRow(row.index);
    m_cad.LeaveToUserIfShown();
    m_progress->PumpOneMessage();
}

// Scrolls to the row now or, in a run that only copies, when the last page has been shown long enough. In
// other runs a call to SOLIDWORKS may follow, which can take long.
void CConversionRun::FollowRow(int row)
{
    m_rowToScrollTo = row;
    if (!m_options.copyOnly || GetTickCount64() - m_scrolledAt >= kScrollInterval) {
        ScrollToRowDone();
    }
}

void CConversionRun::ScrollToRowDone()
{
    if (const std::optional<int> row = std::exchange(m_rowToScrollTo, std::nullopt)) {
        const int top = m_table.GetTopIndex();
        m_table.ScrollIntoView(*row);
        if (m_table.GetTopIndex() != top) {
            m_scrolledAt = GetTickCount64();
        }
    }
}

// ---- The map file

std::wstring CConversionRun::WriteFailure() const
{
    return FillPlaceholders(kMapFileNotWritten.Current(), {m_mapPath});
}

// Returns `written`. Shows the message about missing records at most once per run.
bool CConversionRun::ReportWriteFailure(bool written)
{
    if (!written && !std::exchange(m_mapFileFailureShown, true)) {
        ShowMessage(WriteFailure());
    }
    return written;
}

// ---- SOLIDWORKS

void CConversionRun::ReportDispatchError(const COleDispatchException& error)
{
    MessageRequest request;
    if (!error.m_source.empty()) {
        request.text = error.m_source + L" - ";
    }
    request.text += error.m_description.empty() ? kUnknownError : error.m_description;
    m_recorder.NoteFailure(WithNumber(request.text, error.m_sc != S_OK ? error.m_sc : error.m_code));
    if (!error.m_helpFile.empty()) {
        request.helpFile = error.m_helpFile;
        request.helpContext = error.m_helpContext;
    }
    ShowMessage(request);
}

void CConversionRun::ReleaseCad()
{
    if (!m_options.copyOnly) {
        m_cad.Release();
    }
}

// ---- The progress dialog

void CConversionRun::OpenProgress()
{
    m_view.ShowProgress(0);
    m_mainWindow.EnableWindow(false);
    m_progress = std::make_unique<CProgressFileCopy>(&m_mainWindow, 0, kProgressFull, 0);
}

// The main window is enabled while the dialog is destroyed, or the system would activate another program's
// window ("EnableWindow function"). No message is dispatched in between, so no input reaches the main window
// yet.
void CConversionRun::CloseProgress()
{
    m_mainWindow.EnableWindow(true);
    m_progress->DestroyWindow();
    m_progress.reset();
    m_mainWindow.EnableWindow(false);
}

void CConversionRun::ShowLoadingCad()
{
    m_progress->SetFirstText(kLoadingCad.Current());
    m_progress->EnableCancel(false);
    m_progress->RefreshAtOnce();
}

void CConversionRun::ShowCopyProgress(const Row& row)
{
    m_progress->SetFirstText(m_progress->FitToFirstLine(kCopyFrom.Current(), row.source));
    m_progress->SetSecondText(m_progress->FitToSecondLine(kCopyTo.Current(), row.target));
    m_progress->SetThirdText({});
    m_progress->SetFilePosition(0);
    m_progress->SetOverallPosition(OverallPosition(m_done, m_total));
    m_progress->Refresh();
}

void CConversionRun::ShowUpdateProgress(const Row& row)
{
    m_progress->SetFirstText(m_progress->FitToFirstLine(kCurrentFile.Current(), row.target));
    m_progress->Refresh();
}
