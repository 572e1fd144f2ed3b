#include "ui/FileDialogs.h"

#include <commdlg.h>
#include <shlobj.h>

#include <array>
#include <memory>
#include <utility>

#include "files/Paths.h"
#include "framework/Language.h"
#include "framework/ScopeExit.h"

namespace {

constexpr Text kPickFolder{L"Quellordner der Normteile auswählen:", L"Select the standard part folder:"};
constexpr DWORD kPickedFilesLength = 32766;  // characters of the file dialog's buffer

struct FileDialog
{
    Text title;
    Text filter;
    const wchar_t* pattern;
    Text initialName;
    const wchar_t* extension;  // appended to a name that has no extension; null: nothing is appended
    DWORD flags;
};

constexpr const wchar_t* kAddPattern = L"*.sldprt;*.sldasm";
constexpr FileDialog kAddDialog{{L"Normteile hinzufügen...", L"Add standart parts..."},
                                {L"SW-Dateien (*.sldprt;*.sldasm)", L"SW Files (*.sldprt;*.sldasm)"},
                                kAddPattern,
                                {kAddPattern, kAddPattern},
                                nullptr,
                                OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST};

constexpr Text kTableFilter{L"Tabellen (*.csv;*.txt)", L"Tables (*.csv;*.txt)"};
constexpr const wchar_t* kTablePattern = L"*.csv;*.txt";
constexpr const wchar_t* kTableExtension = L"csv";
constexpr FileDialog kImportDialog{{L"Tabelle importieren...", L"Import table..."},
                                   kTableFilter,
                                   kTablePattern,
                                   {L"", L""},
                                   kTableExtension,
                                   OFN_FILEMUSTEXIST};
constexpr FileDialog kExportDialog{
    {L"Tabelle exportieren...", L"Export table..."}, kTableFilter,    kTablePattern,
    {L"Normteile.csv", L"Standard parts.csv"},       kTableExtension, OFN_OVERWRITEPROMPT};

struct ShellFree
{
    using pointer = PIDLIST_ABSOLUTE;  // with Microsoft's compiler, a pointer to unaligned memory
    void operator()(pointer items) const { CoTaskMemFree(items); }
};

// Keeps the folder picker open for a mistyped folder. Otherwise the picker would return the folder selected
// in its tree ("BFFCALLBACK callback function").
int CALLBACK OnPickerEvent(HWND /*picker*/, UINT event, LPARAM /*parameter*/, LPARAM /*data*/)
{
    if (event != BFFM_VALIDATEFAILEDW) {
        return 0;
    }
    MessageBeep(MB_ICONWARNING);
    return 1;
}

using FileDialogFunction = decltype(GetOpenFileNameW);

// Returns false when the user cancelled.
bool ShowFileDialog(OPENFILENAMEW& request, FileDialogFunction& show)
{
    if (show(&request) != FALSE) {
        return true;
    }
    // The buffer's initial pattern is no file name, so the dialog may have refused to open
    // ("CommDlgExtendedError function").
    if (CommDlgExtendedError() != FNERR_INVALIDFILENAME) {
        return false;
    }
    *request.lpstrFile = L'\0';
    return show(&request) != FALSE;
}

// The user's folder for documents; empty when the system returns none. Without an initial folder, the dialog
// may open in the working folder, usually the program's folder ("OPENFILENAMEW structure").
std::wstring DocumentsFolder()
{
    wchar_t* path = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_Documents, 0, nullptr, &path);
    const CScopeExit release([&path] { CoTaskMemFree(path); });
    return SUCCEEDED(result) ? path : std::wstring();
}

std::wstring WorkingFolder()
{
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

// Shows a file dialog, starting in the folder; the system chooses a folder when `folder` is empty. Returns
// the buffer that the dialog has filled; none when the user cancelled.
std::optional<std::wstring> Pick(HWND owner, const std::wstring& folder, const FileDialog& dialog,
                                 FileDialogFunction& show)
{
    using namespace std::string_literals;
    const std::wstring filter = dialog.filter.Current() + L"\0"s + dialog.pattern + L"\0\0"s;
    const std::wstring title = dialog.title.Current();
    std::wstring buffer = dialog.initialName.Current();
    buffer.resize(kPickedFilesLength);
    OPENFILENAMEW request{};
    request.lStructSize = sizeof request;
    request.hwndOwner = owner;
    request.lpstrFilter = filter.c_str();
    request.nFilterIndex = 1;
    request.lpstrFile = buffer.data();
    request.nMaxFile = kPickedFilesLength;
    request.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
    request.lpstrTitle = title.c_str();
    request.lpstrDefExt = dialog.extension;
    request.Flags = OFN_HIDEREADONLY | OFN_PATHMUSTEXIST | OFN_EXPLORER | dialog.flags;
    // The dialog makes the picked folder the working folder, and nobody can rename or delete the working
    // folder of a running program. OFN_NOCHANGEDIR does not prevent the change in GetOpenFileNameW
    // ("OPENFILENAMEW structure").
    const CScopeExit restore(
        [workingFolder = WorkingFolder()] { SetCurrentDirectoryW(workingFolder.c_str()); });
    return ShowFileDialog(request, show) ? std::optional(std::move(buffer)) : std::nullopt;
}

// The path before the first NUL of the dialog's buffer.
std::optional<std::wstring> PathIn(const std::optional<std::wstring>& buffer)
{
    return buffer ? std::optional<std::wstring>(buffer->c_str()) : std::nullopt;
}

}  // namespace

std::wstring PickFolder(HWND owner)
{
    const std::wstring title = kPickFolder.Current();
    BROWSEINFOW request{};
    request.hwndOwner = owner;
    request.lpszTitle = title.c_str();
    request.ulFlags = BIF_EDITBOX | BIF_VALIDATE;
    request.lpfn = &OnPickerEvent;
    const std::unique_ptr<ITEMIDLIST, ShellFree> items(SHBrowseForFolderW(&request));
    std::array<wchar_t, MAX_PATH> path{};
    if (items == nullptr || SHGetPathFromIDListW(items.get(), path.data()) == FALSE) {
        return {};
    }
    return StripFolderInput(path.data());
}

std::optional<PickedFiles> PickFiles(HWND owner, const std::wstring& folder)
{
    const std::optional<std::wstring> picked = Pick(owner, folder, kAddDialog, GetOpenFileNameW);
    return picked ? std::optional(SplitPickedFiles(picked->c_str())) : std::nullopt;
}

std::optional<std::wstring> PickTableToImport(HWND owner)
{
    return PathIn(Pick(owner, DocumentsFolder(), kImportDialog, GetOpenFileNameW));
}

std::optional<std::wstring> PickTableToExport(HWND owner)
{
    return PathIn(Pick(owner, DocumentsFolder(), kExportDialog, GetSaveFileNameW));
}
