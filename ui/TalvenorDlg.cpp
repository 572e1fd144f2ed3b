#include "ui/TalvenorDlg.h"

#include <shellapi.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "cad/CadVersion.h"
#include "core/ColumnHeaders.h"
#include "core/NameTemplate.h"
#include "files/Folders.h"
#include "files/Paths.h"
#include "framework/AccessibleName.h"
#include "framework/DialogData.h"
#include "framework/Language.h"
#include "framework/LongOperation.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"
#include "framework/PendingMessages.h"
#include "framework/ResourceHandle.h"
#include "framework/ScopeExit.h"
#include "framework/WaitCursor.h"
#include "framework/WinApp.h"
#include "platform/FolderLock.h"
#include "platform/Registry.h"
#include "resources/resource.h"
#include "run/ConversionRun.h"
#include "ui/AboutDlg.h"
#include "ui/DroppedFiles.h"
#include "ui/FileDialogs.h"
#include "ui/FurtherCommands.h"

namespace {

constexpr int kGerman = 1;
constexpr int kColumnWidth = 175;  // pixels at 100 % scaling
constexpr COLORREF kStateImageMask = RGB(255, 0, 0);
constexpr UINT kSysCommandMask = 0xFFF0;  // the low four bits belong to the system
constexpr UINT kHelpQuit = 2;
constexpr const wchar_t* kLibraryKeyTail = L"\\input";
constexpr const wchar_t* kProgramFolderValue = L"prg";
constexpr const wchar_t* kPartsFolderValue = L"parts";
constexpr const wchar_t* kFallbackFolder = L"c:\\";

constexpr Text kHelpDocument{L"Manuals\\ger\\Zelmar_Talvenor_Hilfe.pdf",
                             L"Manuals\\us\\Zelmar_Talvenor_Hilfe.pdf"};

constexpr Text kMapView{L"Inhalt der Map-Datei wird angezeigt", L"Showing contents of the Map-File"};
constexpr Text kFolderView{L"Inhalt des Normteil-Verzeichnisses wird angezeigt",
                           L"Showing contents of the standard part folder"};
constexpr Text kListChanged{L" (Liste geändert)", L" (list changed)"};

constexpr Text kInputFolderMissing{
    L"Norm-Input-Verzeichnis nicht vorhanden!\n\nNormteil-Verzeichnis und -Dateien müssen "
    L"manuell gewählt werden.",
    L"Norm-Input-Directory not available!\n\nStandard part directory and files have to "
    L"be selected manually."};
constexpr Text kChangeFolder{
    L"Soll das Quellverzeichnis wirklich geändert werden?\n\nWenn JA, dann werden alle "
    L"Normteillisteneinträge im Fenster verworfen.",
    L"Do you really want to change the standard part folder?\n\nIf YES, then all standard part "
    L"entries are removed from list."};
constexpr Text kNoSuchFolder{L"Das Quellverzeichnis existiert nicht!\nBitte Eingabe korrigieren.",
                             L"The source directory does not exist!\nPlease check input."};
constexpr Text kAddFromOtherFolder{
    L"Soll das Quellverzeichnis wirklich geändert werden?\n\nWenn JA, dann werden alle "
    L"bisherigen Normteillisteneinträge im Fenster verworfen\nund die neu ausgewählten "
    L"eingefügt.",
    L"Do you really want to change the standard part folder?\n\nIf YES, then all previous "
    L"selected standard part entries are removed from list\nand the new selections are "
    L"inserted."};
constexpr Text kSearchResults{
    L"Dateien aus Suchergebnissen lassen sich nicht hinzufügen.\nBitte die Dateien in ihrem Ordner "
    L"auswählen.",
    L"Files in the results of a search cannot be added.\nPlease choose the files in their folder."};
constexpr Text kMapFileMissing{L"Map-Datei '%1' nicht vorhanden.", L"Map-File '%1' not available."};
constexpr Text kRemoveAll{L"Wirklich alle Einträge löschen?",
                          L"Do you really want to remove all list entries?"};
constexpr Text kDropRefused{
    L"Hier lassen sich nur Normteil-Dateien (*.sldprt, *.prt, *.sldasm) aus einem einzigen Ordner oder ein "
    L"einziger "
    L"Ordner ablegen.",
    L"Only standard-part files (*.sldprt, *.prt, *.sldasm) of one folder, or one folder, can be dropped "
    L"here."};
constexpr Text kFolderInUse{L"Ein anderes Talvenor auf diesem Rechner setzt gerade denselben Ordner um.",
                            L"Another Talvenor on this computer is converting the same folder."};
constexpr Text kOverwrite{
    L"Die Map-Datei '%1' existiert bereits in '%2\\Mapped'.\n\nSoll die Datei überschrieben werden?",
    L"The Map-File '%1' already exists in '%2\\Mapped'.\n\nDo you want to overwrite this file?"};

// A bitmap of the state images, side by side, each `width` pixels wide.
struct StateImages
{
    int width;
    UINT bitmapId;
};

// The largest images that are no wider than 12 px scaled to this DPI.
StateImages StateImagesFor(UINT dpi)
{
    constexpr StateImages kSmallest{12, IDB_STATES};
    constexpr std::array kLarger{StateImages{36, IDB_STATES_300}, StateImages{24, IDB_STATES_200},
                                 StateImages{18, IDB_STATES_150}, StateImages{15, IDB_STATES_125}};
    for (const StateImages& images : kLarger) {
        if (images.width <= MulDiv(kSmallest.width, static_cast<int>(dpi), USER_DEFAULT_SCREEN_DPI)) {
            return images;
        }
    }
    return kSmallest;
}

// Whether the first paint of the process is still to come. That paint reports a missing input folder
// (OnFirstPaint).
bool g_firstPaintPending = true;

bool Ask(const Text& question)
{
    return ShowMessage(question.Current(), MB_YESNO | MB_ICONQUESTION) == IDYES;
}

// Whether another thread has sent the message in hand and waits for the answer ("InSendMessageEx function").
bool IsSenderWaiting()
{
    return (InSendMessageEx(nullptr) & (ISMEX_SEND | ISMEX_REPLIED)) == ISMEX_SEND;
}

// The manual that is installed with the program.
std::wstring OwnManual()
{
    constexpr DWORD kLongestPath = 32'768;  // characters
    std::wstring program(kLongestPath, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), kLongestPath));
    return JoinPath(program.substr(0, program.rfind(L'\\')), kHelpDocument.Current());
}

}  // namespace

CTalvenorDlg::CTalvenorDlg() : CDialog(IDD_TALVENOR), CFileMisc(kGerman) {}

// ---- Start

bool CTalvenorDlg::OnInitDialog()
{
    CDialog::OnInitDialog();
    m_nDpi = GetDpiForWindow(m_hWnd);
    AddAboutToSystemMenu();
    SetDialogIcon();
    AnchorControls();
    PrepareList();
    m_status.Begin(m_hWnd);
    m_layout.FitIntoWorkArea();  // at 150 % the dialog is higher than a screen of 1366 x 768
    ReadFolders();
    m_strHelpFile = JoinPath(m_strInstallDir, kHelpDocument.Current());
    FillVersions();
    m_status.Update();  // before the first paint
    m_taskbar.Attach(m_hWnd);
    AcceptDroppedFiles(m_hWnd);
    return true;
}

void CTalvenorDlg::DoDataExchange(CDataExchange& exchange)
{
    DDX_Control(exchange, IDC_STATUS_FRAME, m_wndStatusFrame);
    DDX_Control(exchange, IDC_LIST, m_wndList);
    DDX_Control(exchange, IDC_SOURCE_DIR, m_wndSourceDir);
    DDX_Control(exchange, IDC_FIND, m_wndFind);
    DDX_Control(exchange, IDC_VERSION, m_wndVersion);
    DDX_Control(exchange, IDC_COPY_ONLY, m_wndCopyOnly);
    DDX_Control(exchange, IDC_REPORT, m_wndReport);
}

void CTalvenorDlg::AddAboutToSystemMenu() const
{
    const std::wstring about = LoadResourceString(IDS_ABOUT);
    const HMENU menu = GetSystemMenu(m_hWnd, FALSE);
    if (menu != nullptr && !about.empty()) {
        AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
        AppendMenuW(menu, MF_STRING, IDM_ABOUT, about.c_str());
    }
}

void CTalvenorDlg::SetDialogIcon()
{
    const auto load = [dpi = m_nDpi](int widthMetric, int heightMetric) {
        return UniqueIcon(static_cast<HICON>(LoadImageW(GetResourceHandle(), MAKEINTRESOURCEW(IDI_TALVENOR),
                                                        IMAGE_ICON, GetSystemMetricsForDpi(widthMetric, dpi),
                                                        GetSystemMetricsForDpi(heightMetric, dpi), 0)));
    };
    UniqueIcon icon = load(SM_CXICON, SM_CYICON);
    UniqueIcon smallIcon = load(SM_CXSMICON, SM_CYSMICON);
    SendMessage(WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon.get()));
    SendMessage(WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(smallIcon.get()));
    m_icon = std::move(icon);  // destroys the old icons, which the window no longer uses
    m_smallIcon = std::move(smallIcon);
}

void CTalvenorDlg::AnchorControls()
{
    using enum CDialogLayout::Edges;
    m_layout.Begin(m_hWnd, TemplateSize());
    m_layout.Anchor(IDC_SOURCE_DIR, left | top | right);
    m_layout.Anchor(IDC_MAPPED_DIR, left | top | right);
    m_layout.Anchor(IDC_BROWSE, top | right);
    m_layout.Anchor(IDC_STATUS_FRAME, left | top | right | bottom);
    m_layout.Anchor(IDC_LIST, left | top | right | bottom);
    m_layout.Anchor(IDC_STATUS_TEXT, left | right | bottom);
    for (const int id : {IDC_ADD, IDC_DELETE, IDC_REMOVE_ALL, IDC_SHOW_MAP, IDC_SELECT_ALL, IDC_SELECT_NONE,
                         IDC_MARK, IDC_MORE, IDC_VERSION_LABEL, IDC_VERSION, IDC_COPY_ONLY, IDC_REPORT}) {
        m_layout.Anchor(id, left | bottom);
    }
    for (const int id : {IDC_CHECK_NAMES, IDC_FIND_LABEL, IDC_FIND, IDC_START, IDCANCEL, IDC_HELP_BUTTON}) {
        m_layout.Anchor(id, right | bottom);
    }
}

void CTalvenorDlg::PrepareList()
{
    constexpr DWORD kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_HEADERDRAGDROP;
    m_wndList.SetExtendedStyle(kStyles, kStyles);
    SetStateImages();
    for (std::size_t column = 0; column < kColumnHeaders.size(); ++column) {
        m_wndList.InsertColumn(static_cast<int>(column), kColumnHeaders[column].Current(),
                               Scaled(kColumnWidth));
    }
    m_wndList.SetFillObserver([this](const auto& rows) { m_status.ListFilled(rows); });
    SetAccessibleRowNames(m_wndList.m_hWnd, [this](int row) { return m_wndList.SpokenName(row); });
    m_wndList.ShowWindow(SW_SHOW);
    // Stores the default templates, even if no file is added later: "Use template" does nothing without a
    // stored template.
    m_wndList.AddFiles({});
}

void CTalvenorDlg::SetStateImages()
{
    const StateImages choice = StateImagesFor(m_nDpi);
    CImageList images;
    images.Create(choice.bitmapId, choice.width, 1, kStateImageMask);
    m_wndList.SetImageList(images, LVSIL_STATE);
    m_stateImages = std::move(images);  // destroys the old list, which the control no longer uses
}

void CTalvenorDlg::ReadFolders()
{
    m_strSourceDir.clear();
    m_strInstallDir.clear();
    const std::wstring key = std::wstring(kProductKey) + kLibraryKeyTail;
    CRegistry settings(HKEY_LOCAL_MACHINE, ViewOfMachineKey(key));
    static_cast<void>(settings.ReadString(key, kProgramFolderValue, m_strInstallDir));
    if (settings.ReadString(key, kPartsFolderValue, m_strSourceDir)) {
        ShowFolders();
        LoadListForSourceFolder();
    } else {
        m_strSourceDir = kFallbackFolder;
        ShowFolders();
        m_bInputDirMissing = true;  // reported by the first paint
    }
}

void CTalvenorDlg::FillVersions()
{
    m_wndVersion.ResetContent();
    m_strProgId.clear();
    std::vector<std::wstring> versions;
    const int selected = GetInstalledVersions(versions);
    if (versions.empty()) {
        return;
    }
    for (const std::wstring& version : versions) {
        if (const std::optional<CCadVersion> known = CCadVersion::FromNumber(version)) {
            m_wndVersion.AddString(known->Year());
        }
    }
    m_wndVersion.SetCurSel(selected);
    TakeChosenVersion();
}

void CTalvenorDlg::OnFirstPaint()
{
    if (m_bInputDirMissing) {
        ShowMessage(kInputFolderMissing.Current());
        OnAddStandardParts();
        LoadListForSourceFolder();
    }
}

// ---- View

void CTalvenorDlg::ShowViewStatus(bool mapView)
{
    m_wndStatusFrame.SetWindowText(mapView ? kMapView.Current() : kFolderView.Current());
}

void CTalvenorDlg::MarkListChanged(bool on)
{
    if (!on) {
        return;
    }
    m_status.RowsChanged();
    const std::wstring caption = m_wndStatusFrame.GetWindowText();
    if (caption.find(kListChanged.Current()) == std::wstring::npos) {
        m_wndStatusFrame.SetWindowText(caption + kListChanged.Current());
    }
}

// The frame's caption is the only record of the view status.
ViewStatus CTalvenorDlg::GetViewStatus() const
{
    const std::wstring caption = m_wndStatusFrame.GetWindowText();
    return {caption.starts_with(kMapView.Current()), caption.ends_with(kListChanged.Current())};
}

void CTalvenorDlg::SetViewStatus(const ViewStatus& status)
{
    ShowViewStatus(status.mapView);
    MarkListChanged(status.changed);
    m_status.RowsChanged();
}

void CTalvenorDlg::FillListFromTable(const CFileMisc& mapFile)
{
    FocusControl(m_wndList);
    m_recorder.Forget();
    m_wndList.FillConverted(mapFile.m_lstEntries);
}

void CTalvenorDlg::ShowMapView(const CFileMisc& mapFile)
{
    FillListFromTable(mapFile);
    ShowViewStatus(true);
}

// Returns false and leaves the list unchanged when there is no map file or it cannot be opened.
bool CTalvenorDlg::ShowMapFileContents()
{
    CFileMisc mapFile(kGerman);
    const MapFileState state = mapFile.ReadMapFile(MapFilePath(m_strSourceDir));
    if (!state.exists || state.openFailed) {
        return false;
    }
    ShowMapView(mapFile);
    return true;
}

void CTalvenorDlg::ShowFolderContents()
{
    ShowViewStatus(false);
    m_recorder.Forget();
    std::vector<std::wstring> names;
    ScanPartFiles(m_strSourceDir, names);
    m_wndList.AddFiles(names);
}

void CTalvenorDlg::LoadListForSourceFolder()
{
    const CWaitCursor wait;  // an unreachable file server takes many seconds to fail
    if (!ShowMapFileContents()) {
        ShowFolderContents();
    }
}

// Changes the standard-parts folder and empties the list.
void CTalvenorDlg::SetFolder(const std::wstring& folder)
{
    m_recorder.Forget();
    m_wndList.DeleteAllItems();
    m_strSourceDir = folder;
}

// If the map file exists but cannot be opened, the list becomes empty: the old rows would look like the
// file's contents.
void CTalvenorDlg::ReloadAfterCancel()
{
    CFileMisc mapFile(kGerman);
    if (mapFile.ReadMapFile(MapFilePath(m_strSourceDir)).exists) {
        ShowMapView(mapFile);
    } else {
        m_wndList.DeleteAllItems();
        ShowFolderContents();
    }
}

// Drops the input that came while the window was disabled: an Enter would start the next run.
void CTalvenorDlg::TakeInputAgain()
{
    const bool wasDisabled = !IsWindowEnabled();
    if (wasDisabled) {
        CWinApp::DropPendingInput();
        EnableWindow(true);
    }
    BringWindowToTop();
    if (wasDisabled) {
        FocusControl(m_wndList);
    }
}

void CTalvenorDlg::ShowProgress(int percent)
{
    m_taskbar.ShowProgress(percent);
}

// The run waits for the user, who may work in another program.
void CTalvenorDlg::TellOfMessage(bool open)
{
    m_taskbar.ShowPaused(open);
    if (open) {
        FlashInBackground(m_hWnd);
    }
}

void CTalvenorDlg::ShowRunEnd(bool failed)
{
    SetMessageObserver({});  // so that the taskbar button is not "paused" during the last message
    if (failed) {
        m_taskbar.ShowError();
    }
    FlashInBackground(m_hWnd);
}

void CTalvenorDlg::ShowFolders()
{
    m_bFolderRefused = false;
    SetDlgItemText(IDC_SOURCE_DIR, m_strSourceDir);
    SetDlgItemText(IDC_MAPPED_DIR, MappedFolder(m_strSourceDir));
}

// ---- Windows messages

const MessageMap* CTalvenorDlg::GetMessageMap() const
{
    using Self = CTalvenorDlg;
    static constexpr std::array kEntries{
        OnMessage<&Self::OnPaint>(WM_PAINT),
        OnMessage<&Self::OnQueryDragIcon>(WM_QUERYDRAGICON),
        OnMessage<&Self::OnSysCommand>(WM_SYSCOMMAND),
        OnMessage<&Self::OnDestroy>(WM_DESTROY),
        OnMessage<&Self::OnSetCursor>(WM_SETCURSOR),
        OnMessage<&Self::OnQueryEndSession>(WM_QUERYENDSESSION),
        OnMessage<&Self::OnEndSession>(WM_ENDSESSION),
        OnMessage<&Self::OnActivate>(WM_ACTIVATE),
        OnMessage<&Self::OnSize>(WM_SIZE),
        OnMessage<&Self::OnDpiChanged>(WM_DPICHANGED),
        OnMessage<&Self::OnGetMinMaxInfo>(WM_GETMINMAXINFO),
        OnMessage<&Self::OnHelp>(WM_HELP),
        OnMessage<&Self::OnDropFiles>(WM_DROPFILES),
        OnMessage<&Self::OnListChanged>(WM_LISTCHANGED),
        OnMessage<&Self::OnDeleteSelected>(WM_DELETESELECTED),
        OnMessage<&Self::OnApplyTemplate>(WM_APPLYTEMPLATE),
        ::OnCommand<&Self::OnSourceDirKillFocus>(IDC_SOURCE_DIR, EN_KILLFOCUS),
        ::OnCommand<&Self::OnBrowseSourceFolder>(IDC_BROWSE),
        ::OnCommand<&Self::OnAddStandardParts>(IDC_ADD),
        ::OnCommand<&Self::OnDeleteSelected>(IDC_DELETE),
        ::OnCommand<&Self::OnSelectAll>(IDC_SELECT_ALL),
        ::OnCommand<&Self::OnSelectNone>(IDC_SELECT_NONE),
        ::OnCommand<&Self::OnRemoveAll>(IDC_REMOVE_ALL),
        ::OnCommand<&Self::OnShowMapFile>(IDC_SHOW_MAP),
        ::OnCommand<&Self::OnMarkForConversion>(IDC_MARK),
        ::OnCommand<&Self::OnCheckNames>(IDC_CHECK_NAMES),
        ::OnCommand<&Self::OnFindChange>(IDC_FIND, EN_CHANGE),
        ::OnCommand<&Self::OnFind>(IDM_FIND),
        ::OnCommand<&Self::OnFindNext>(IDM_FIND_NEXT),
        ::OnCommand<&Self::OnMore>(IDC_MORE),
        ::OnCommand<&Self::OnReport>(IDC_REPORT),
        ::OnCommand<&Self::OnSelectAttention>(IDM_SELECT_ATTENTION),
        ::OnCommand<&Self::OnStart>(IDC_START),
        ::OnCommand<&Self::OnHelp>(IDC_HELP_BUTTON),
    };
    static const MessageMap kMap{CDialog::GetMessageMap(), kEntries};
    return &kMap;
}

// The number of the taskbar's message is known at run time only, so no message map can contain it.
LRESULT CTalvenorDlg::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    m_taskbar.NoteMessage(message);
    return CDialog::WindowProc(message, wParam, lParam);
}

// Commands are ignored during a run and while a message box is open, whatever sent them. A screen reader can
// press a button of a disabled window, and posted messages may be dispatched during an automation call.
bool CTalvenorDlg::IsBusy() const
{
    return m_bRunning || !IsWindowEnabled();
}

bool CTalvenorDlg::OnCommand(WPARAM wParam, LPARAM lParam)
{
    return IsBusy() || NeedsOtherFolder(wParam) || m_commands.Perform(LOWORD(wParam)) ||
           CDialog::OnCommand(wParam, lParam);
}

// Whether a command is refused because the typed folder does not exist. If so, the field gets the focus. If
// the command were not refused, a button pressed by its mnemonic would work on the old folder while the field
// shows another one. The field's current text decides: another program may have corrected the text.
bool CTalvenorDlg::NeedsOtherFolder(WPARAM command) const
{
    const int id = LOWORD(command);
    const bool harmless = id == IDCANCEL || id == IDC_HELP_BUTTON || id == IDC_BROWSE ||
                          id == IDC_COPY_ONLY || id == IDC_REPORT;
    if (!m_bFolderRefused || harmless || HIWORD(command) != BN_CLICKED || PathOrVolumeExists(TypedFolder())) {
        return false;
    }
    if (::GetFocus() != m_wndSourceDir.m_hWnd) {
        RefuseFolder();
    }
    return true;
}

// Ignores notifications while closing: messages about an edit would come too late.
LRESULT CTalvenorDlg::OnNotify(WPARAM wParam, LPARAM lParam)
{
    if (IsEnding()) {
        return 0;
    }
    const NMHDR& header = *reinterpret_cast<const NMHDR*>(lParam);
    const bool fromList = header.hwndFrom == m_wndList.m_hWnd;
    if (fromList && !m_bRunning) {
        m_status.OnNotify(header);
    }
    const bool endsEdit = fromList && header.code == LVN_ENDLABELEDITW;
    return endsEdit ? EndLabelEdit(wParam, lParam) : CDialog::OnNotify(wParam, lParam);
}

// Editing an original name sorts the table, so more rows than the edited one may change.
LRESULT CTalvenorDlg::EndLabelEdit(WPARAM wParam, LPARAM lParam)
{
    const LVITEMW& item = reinterpret_cast<const NMLVDISPINFOW*>(lParam)->item;
    LRESULT result = 0;
    const auto commit = [&] { result = CDialog::OnNotify(wParam, lParam); };
    if (item.iSubItem == kColumnOriginal) {
        m_recorder.ChangeRows(commit);
    } else {
        m_recorder.EditRows({item.iItem}, commit);
    }
    return result;
}

// The Delete key, pressed in the list, deletes the selected rows, after the list has handled the key. The
// keys of the table's commands work in the list only, as an edit has its own undo and clipboard.
bool CTalvenorDlg::PreTranslateMessage(MSG& message)
{
    const bool listKey = message.message == WM_KEYDOWN && message.hwnd == m_wndList.m_hWnd;
    if (listKey && message.wParam == VK_DELETE && !IsBusy()) {
        DispatchMessageW(&message);
        OnDeleteSelected();
        return true;
    }
    if (const int command = listKey ? CTableCommands::CommandOfKey(message.wParam) : 0; command != 0) {
        SendMessage(WM_COMMAND, static_cast<WPARAM>(command));
        return true;
    }
    return (!IsBusy() && m_wndFind.TakeKey(message)) || CDialog::PreTranslateMessage(message);
}

void CTalvenorDlg::OnPaint()
{
    if (IsIconic(m_hWnd) != FALSE) {
        PAINTSTRUCT paint{};
        const HDC dc = BeginPaint(m_hWnd, &paint);
        SendMessage(WM_ICONERASEBKGND, reinterpret_cast<WPARAM>(dc));
        const RECT client = GetClientRect();
        DrawIcon(dc, (client.right - GetSystemMetrics(SM_CXICON) + 1) / 2,
                 (client.bottom - GetSystemMetrics(SM_CYICON) + 1) / 2, m_icon.get());
        EndPaint(m_hWnd, &paint);
    } else {
        Default();
    }
    if (std::exchange(g_firstPaintPending, false)) {
        OnFirstPaint();
    }
}

HICON CTalvenorDlg::OnQueryDragIcon()
{
    return m_icon.get();
}

LRESULT CTalvenorDlg::OnSysCommand(WPARAM wParam, LPARAM)
{
    if ((wParam & kSysCommandMask) == IDM_ABOUT) {
        if (!IsBusy()) {
            CAboutDlg(this).DoModal();
        }
        return 0;
    }
    return Default();
}

void CTalvenorDlg::OnDestroy()
{
    ClearAccessibleRowNames(m_wndList.m_hWnd);
    ClearAnnouncement(GetDlgItem(IDC_STATUS_TEXT));
    ::WinHelpW(m_hWnd, nullptr, kHelpQuit, 0);
    Default();
}

// The system sends no other message for a press on a disabled window ("WM_SETCURSOR message"). During a run
// the main window is disabled; a user who waits for a stalled call may press there.
LRESULT CTalvenorDlg::OnSetCursor(WPARAM, LPARAM lParam)
{
    if (static_cast<short>(LOWORD(lParam)) == HTERROR && IsPress(HIWORD(lParam))) {
        CWinApp::Get()->GetMessageFilter().NotePress();
    }
    return Default();
}

// During a run, the session has to wait until the current part is finished, but not until the user has
// answered the run's final message. The run cannot be ended here: COM allows no automation calls while a sent
// message is handled.
LRESULT CTalvenorDlg::OnQueryEndSession(WPARAM, LPARAM lParam)
{
    if (!CLongOperation::IsActive()) {
        return Default();
    }
    // A setup program that wants to replace a file causes the same message, but the session goes on
    // ("WM_QUERYENDSESSION message").
    const auto reason = static_cast<DWORD>(lParam);
    if ((reason & ENDSESSION_CLOSEAPP) == 0 || (reason & ENDSESSION_CRITICAL) != 0) {
        CWinApp::Get()->SetSessionEnding(true);
    }
    return FALSE;
}

// The session may end in spite of the refusal. If it does not, the flag stays set: the program cannot tell
// whether the user has changed their mind or the system still waits for the program.
LRESULT CTalvenorDlg::OnEndSession(WPARAM wParam, LPARAM lParam)
{
    if (wParam != FALSE && CLongOperation::IsActive()) {
        CWinApp::Get()->SetSessionEnding(true);
    } else if (wParam != FALSE && (static_cast<DWORD>(lParam) & ENDSESSION_CLOSEAPP) != 0) {
        // The session goes on, so nobody else ends the program ("WM_ENDSESSION message").
        EndDialog(IDCANCEL);
    }
    return Default();
}

// When the window is activated again, the dialog manager returns the focus to the control that last had it
// ("DefDlgProcW function"). That control must not be a cell editor: the editor is destroyed when it loses the
// focus.
LRESULT CTalvenorDlg::OnActivate(WPARAM wParam, LPARAM)
{
    if (LOWORD(wParam) == WA_INACTIVE) {
        m_wndList.EndEdit();
    }
    return Default();
}

void CTalvenorDlg::OnSize()
{
    m_wndList.EndEdit();  // its cell may move
    Default();
    if (IsIconic(m_hWnd) == FALSE && !m_bScalingChanges) {
        Arrange();
    }
}

void CTalvenorDlg::Arrange()
{
    m_layout.Arrange();
    m_wndList.ShareExtraWidth(m_layout.ExtraWidth());
}

// The system scales the dialog, its font and its controls ("DIALOG_DPI_CHANGE_BEHAVIORS enumeration"), but
// not the list's columns and images. The widths are read before the default processing, in case a list view
// scales them after all.
LRESULT CTalvenorDlg::OnDpiChanged(WPARAM wParam, LPARAM)
{
    m_wndList.EndEdit();
    // The list view keeps the row height of larger images, so the images are removed first. Setting the font
    // again makes the list view measure the rows (undocumented).
    m_wndList.SendMessage(LVM_SETIMAGELIST, LVSIL_STATE, 0);
    const std::vector<int> widths = m_wndList.ColumnWidths();
    m_bScalingChanges = true;
    const LRESULT result = Default();
    m_bScalingChanges = false;
    const UINT before = std::exchange(m_nDpi, HIWORD(wParam));
    m_wndList.ScaleColumns(widths, static_cast<int>(m_nDpi), static_cast<int>(before));
    Arrange();
    SetStateImages();
    const LRESULT font = m_wndList.SendMessage(WM_GETFONT, 0, 0);
    m_wndList.SendMessage(WM_SETFONT, static_cast<WPARAM>(font), TRUE);
    SetDialogIcon();
    return result;
}

// A smallest size that contradicts the size suggested for a new scaling makes the window jump (undocumented).
void CTalvenorDlg::OnGetMinMaxInfo(MINMAXINFO& limits)
{
    if (!m_bScalingChanges) {
        m_layout.LimitSize(limits);
    }
}

void CTalvenorDlg::OnListChanged()
{
    MarkListChanged(true);
}

LRESULT CTalvenorDlg::OnDropFiles(WPARAM wParam, LPARAM)
{
    const std::optional<PickedFiles> files = TakeDroppedFiles(reinterpret_cast<HDROP>(wParam));
    if (!IsBusy()) {
        SetForegroundWindow(m_hWnd);  // after a drop, the other program's window could hide a question
        m_wndList.EndEdit();
        TakeDrop(files);
    }
    return 0;
}

void CTalvenorDlg::TakeDrop(const std::optional<PickedFiles>& files)
{
    if (!files) {
        ShowMessage(kDropRefused.Current());
        return;
    }
    m_strSourceDir = StripBackslashes(m_strSourceDir);
    if (files->names.empty()) {
        ChangeFolder(StripFolderInput(files->folder));
    } else {
        TakePickedFiles(files->folder, files->names);
    }
    ShowFolders();
}

LRESULT CTalvenorDlg::OnApplyTemplate(WPARAM wParam, LPARAM)
{
    const bool hasTemplate = wParam == kColumnRenamed || wParam == kColumnBomName;
    if (hasTemplate && !IsBusy()) {
        m_recorder.EditRows(m_wndList.SelectedRows(),
                            [&] { m_wndList.ApplyTemplate(static_cast<int>(wParam)); });
    }
    return 0;
}

// ---- Commands

void CTalvenorDlg::OnSourceDirKillFocus()
{
    // The message boxes below take the focus, too; a closing window asks nothing.
    if (m_bCheckingSourceDir || IsEnding()) {
        return;
    }
    m_bCheckingSourceDir = true;
    const CScopeExit checked([this] { m_bCheckingSourceDir = false; });
    const std::wstring folder = TypedFolder();
    m_wndSourceDir.SetWindowText(folder);
    m_bFolderRefused = !CheckTypedFolder(folder);
    if (!m_bFolderRefused) {
        ChangeFolder(folder);
    }
}

// Changes to another folder and loads its list, if the user agrees.
void CTalvenorDlg::ChangeFolder(const std::wstring& folder)
{
    if (SameFolder(folder, m_strSourceDir)) {
        return;
    }
    if (Ask(kChangeFolder)) {
        SetFolder(folder);
        if (IsFolder(folder)) {
            LoadListForSourceFolder();
        }
    }
    ShowFolders();
}

std::wstring CTalvenorDlg::TypedFolder() const
{
    return StripFolderInput(m_wndSourceDir.GetWindowText());
}

// Whether the typed folder exists. If not, shows a message and returns the focus to the field, unless the
// focus is moving to the button that closes the window.
bool CTalvenorDlg::CheckTypedFolder(const std::wstring& folder) const
{
    if (PathOrVolumeExists(folder)) {
        return true;
    }
    if (::GetFocus() != GetDlgItem(IDCANCEL)) {
        RefuseFolder();
    }
    return false;
}

void CTalvenorDlg::RefuseFolder() const
{
    ShowMessage(kNoSuchFolder.Current());
    m_wndSourceDir.FocusAndSelectAll();
}

void CTalvenorDlg::OnBrowseSourceFolder()
{
    const std::wstring folder = PickFolder(m_hWnd);
    if (folder.empty()) {
        return;
    }
    if (!SameFolder(folder, m_strSourceDir) && Ask(kChangeFolder)) {
        SetFolder(folder);
    }
    // If the folder has not changed, its list is reloaded.
    ShowFolders();
    LoadListForSourceFolder();
}

void CTalvenorDlg::OnAddStandardParts()
{
    const std::optional<PickedFiles> picked = PickFiles(m_hWnd, m_strSourceDir);
    if (!picked) {
        return;
    }
    m_strSourceDir = StripBackslashes(m_strSourceDir);
    // For search results, the dialog returns full paths (undocumented).
    if (!std::ranges::all_of(picked->names, IsBareFileName)) {
        ShowMessage(kSearchResults.Current());
        return;
    }
    if (!picked->names.empty()) {
        TakePickedFiles(picked->folder, picked->names);
        ShowFolders();
    }
}

void CTalvenorDlg::TakePickedFiles(const std::wstring& folder, const std::vector<std::wstring>& names)
{
    if (SameFolder(folder, m_strSourceDir)) {
        m_recorder.ChangeRows([&] {
            MarkListChanged(true);
            m_wndList.AddFiles(names);
        });
    } else if (Ask(kAddFromOtherFolder) && CreateFolder(MappedFolder(folder)) == 0) {
        SetFolder(folder);
        m_wndList.AddFiles(names);
        ShowViewStatus(false);
    }
}

void CTalvenorDlg::OnShowMapFile()
{
    FocusControl(m_wndList);
    if (!ShowMapFileContents()) {
        ShowMessage(FillPlaceholders(kMapFileMissing.Current(), {MapFilePath(m_strSourceDir)}));
    }
}

void CTalvenorDlg::OnRemoveAll()
{
    if (m_wndList.GetItemCount() > 0 && Ask(kRemoveAll)) {
        m_recorder.ChangeRows([this] {
            m_wndList.DeleteAllItems();
            ShowViewStatus(false);
            MarkListChanged(true);
        });
    }
}

void CTalvenorDlg::OnDeleteSelected()
{
    if (IsBusy()) {
        return;
    }
    m_recorder.DeleteSelected([this] { DeleteSelectedRows(); });
    FocusControl(m_wndList);
}

void CTalvenorDlg::DeleteSelectedRows()
{
    const int selected = m_wndList.GetSelectedCount();
    MarkListChanged(selected > 0);
    if (selected == m_wndList.GetItemCount()) {
        m_wndList.DeleteAllItems();  // deleting row by row takes quadratic time
        ShowViewStatus(false);
        MarkListChanged(true);
        return;
    }
    const CRedrawPause pause(m_wndList);
    // The next row has moved to the deleted row's place.
    for (int row = -1; (row = m_wndList.GetNextItem(row, LVNI_SELECTED)) != -1; --row) {
        m_wndList.DeleteItem(row);
    }
}

void CTalvenorDlg::OnSelectAll()
{
    SelectAllRows(true);
}

void CTalvenorDlg::OnSelectNone()
{
    SelectAllRows(false);
}

void CTalvenorDlg::SelectAllRows(bool select)
{
    FocusControl(m_wndList);
    const CRedrawPause pause(m_wndList);
    m_wndList.SetItemState(-1, select ? LVIS_SELECTED : 0, LVIS_SELECTED);  // -1: every row
}

void CTalvenorDlg::OnMarkForConversion()
{
    const std::vector<int> rows = m_wndList.SelectedRows();
    m_recorder.EditRows(rows, [&] {
        MarkListChanged(!rows.empty());
        const CRedrawPause pause(m_wndList);
        for (const int row : rows) {
            m_wndList.MarkPending(row);
        }
    });
    FocusControl(m_wndList);
}

void CTalvenorDlg::OnCheckNames()
{
    FocusControl(m_wndList);
    m_status.GoToNextName();
}

void CTalvenorDlg::OnFindChange()
{
    m_wndFind.OnChange();
}

void CTalvenorDlg::OnFind()
{
    m_wndFind.Open();
}

void CTalvenorDlg::OnFindNext()
{
    m_wndFind.FindNext(true);
}

void CTalvenorDlg::OnMore()
{
    const UINT chosen =
        ShowFurtherCommands(GetDlgItem(IDC_MORE), [this](UINT command) { return IsPossible(command); });
    if (chosen != 0) {
        FocusControl(m_wndList);  // for Ctrl+Z after the command
        SendMessage(WM_COMMAND, chosen);
    }
}

// Whether a command of the menu of IDC_MORE would do something now.
bool CTalvenorDlg::IsPossible(UINT command) const
{
    switch (command) {
        case IDM_FIND:
        case IDM_FIND_NEXT:
            return m_wndList.GetItemCount() > 0;
        case IDC_CHECK_NAMES:
            return m_status.HasNamesToCheck();
        case IDM_SELECT_ATTENTION:
            return CanSelectAttention();
        default:
            return m_commands.IsPossible(static_cast<int>(command));
    }
}

// A run cannot take place inside a message that another thread has sent: until the sender has its answer, COM
// allows no calls to other processes. The command is posted, so that OnCommand checks it once more.
void CTalvenorDlg::OnStart()
{
    if (IsSenderWaiting()) {
        PostMessage(WM_COMMAND, MAKEWPARAM(IDC_START, BN_CLICKED),
                    reinterpret_cast<LPARAM>(GetDlgItem(IDC_START)));
        return;
    }
    const CScopeExit inputAgain([this] { TakeInputAgain(); });
    FocusControl(m_wndList);
    if (m_wndList.GetItemCount() == 0) {
        return;
    }
    TakeChosenVersion();
    const CFolderLock lock(m_strSourceDir);
    if (lock.IsTaken()) {
        ShowMessage(kFolderInUse.Current());
        return;
    }
    const bool mayOverwrite = MayOverwriteMapFile();
    if (CreateFolder(MappedFolder(m_strSourceDir)) != 0 || !mayOverwrite) {
        return;
    }
    RunConversion(m_wndCopyOnly.IsChecked());
}

void CTalvenorDlg::TakeChosenVersion()
{
    const int selected = m_wndVersion.GetCurSel();
    if (selected == CB_ERR) {
        return;
    }
    if (const std::optional<CCadVersion> chosen = CCadVersion::FromYear(m_wndVersion.GetLBText(selected))) {
        m_strProgId = chosen->ProgId();
    }
}

bool CTalvenorDlg::MayOverwriteMapFile() const
{
    const std::wstring mapFile = MapFilePath(m_strSourceDir);
    if (IsShare(mapFile) || !PathExists(mapFile)) {
        return true;
    }
    const std::wstring question = FillPlaceholders(kOverwrite.Current(), {kMapFileName, m_strSourceDir});
    // Removes the second backslash of a path such as "c:\\Mapped". A network path within the question loses
    // one of its two leading backslashes.
    return ShowMessage(NormalizePath(question), MB_YESNO | MB_ICONQUESTION) != IDNO;
}

void CTalvenorDlg::RunConversion(bool copyOnly)
{
    m_recorder.Forget();  // the run marks rows
    m_report = {};        // an exception must not leave the report of the run before
    m_wndReport.EnableWindow(false);
    m_bRunning = true;  // from here on nothing may throw before `ended`, which resets it
    MessageObserver before = SetMessageObserver([this](bool open) { TellOfMessage(open); });
    const CScopeExit ended([this, &before] {
        SetMessageObserver(std::move(before));
        m_taskbar.Clear();
        m_bRunning = false;
        m_status.RowsChanged();
        CWinApp::Get()->SetSessionEnding(false);
    });
    CConversionRun run(*this, m_wndList, *this, m_cadServer, *this, {m_strSourceDir, m_strProgId, copyOnly});
    run.Run();
    m_report.Take(run.TakeRecord());
    m_wndReport.EnableWindow(true);
}

void CTalvenorDlg::OnReport()
{
    if (m_report.HasRun()) {
        m_report.ShowReport(m_hWnd);
    }
}

bool CTalvenorDlg::CanSelectAttention() const
{
    return m_report.CanSelectAttention(m_strSourceDir);
}

void CTalvenorDlg::OnSelectAttention()
{
    if (CanSelectAttention()) {
        FocusControl(m_wndList);
        m_report.SelectAttention(m_wndList);
    }
}

void CTalvenorDlg::OnHelp()
{
    // With an empty program folder, m_strHelpFile is a network path to a computer "Manuals".
    const bool hasLibrary = !m_strInstallDir.empty() && PathExists(m_strHelpFile);
    const std::wstring document = hasLibrary ? m_strHelpFile : OwnManual();
    ShellExecuteW(m_hWnd, L"open", document.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}
