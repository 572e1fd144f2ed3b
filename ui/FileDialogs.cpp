#include "ui/FileDialogs.h"

#include <commdlg.h>
#include <shlobj.h>

#include <array>
#include <memory>

#include "files/Paths.h"
#include "framework/Language.h"
#include "framework/ScopeExit.h"

namespace {

constexpr Text kPickFolder{L"Quellordner der Normteile auswählen:", L"Select the standard part folder:"};
constexpr Text kAddFilter{L"SW-Dateien (*.sldprt;*.sldasm)", L"SW Files (*.sldprt;*.sldasm)"};
constexpr const wchar_t* kAddPattern = L"*.sldprt;*.sldasm";
constexpr Text kAddTitle{L"Normteile hinzufügen...", L"Add standart parts..."};
constexpr DWORD kPickedFilesLength = 32766;  // characters of the file dialog's buffer

struct ShellFree
{
    using pointer = PIDLIST_ABSOLUTE;  // to unaligned memory, where the compiler tells
    void operator()(pointer items) const { CoTaskMemFree(items); }
};

// Returns false when the user cancelled.
bool ShowFileDialog(OPENFILENAMEW& request)
{
    if (GetOpenFileNameW(&request) != FALSE) {
        return true;
    }
    // The pattern in the buffer is no file name, so the dialog may not open ("CommDlgExtendedError
    // function").
    if (CommDlgExtendedError() != FNERR_INVALIDFILENAME) {
        return false;
    }
    *request.lpstrFile = L'\0';
    return GetOpenFileNameW(&request) != FALSE;
}

std::wstring WorkingFolder()
{
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

}  // namespace

std::wstring PickFolder(HWND owner)
{
    const std::wstring title = kPickFolder.Current();
    BROWSEINFOW request{};
    request.hwndOwner = owner;
    request.lpszTitle = title.c_str();
    request.ulFlags = BIF_EDITBOX;
    const std::unique_ptr<ITEMIDLIST, ShellFree> items(SHBrowseForFolderW(&request));
    std::array<wchar_t, MAX_PATH> path{};
    if (items == nullptr || SHGetPathFromIDListW(items.get(), path.data()) == FALSE) {
        return {};
    }
    return StripFolderInput(path.data());
}

std::optional<PickedFiles> PickFiles(HWND owner, const std::wstring& folder)
{
    using namespace std::string_literals;
    const std::wstring filter = kAddFilter.Current() + L"\0"s + kAddPattern + L"\0\0"s;
    const std::wstring title = kAddTitle.Current();
    std::wstring buffer = kAddPattern;
    buffer.resize(kPickedFilesLength);
    OPENFILENAMEW request{};
    request.lStructSize = sizeof request;
    request.hwndOwner = owner;
    request.lpstrFilter = filter.c_str();
    request.nFilterIndex = 1;
    request.lpstrFile = buffer.data();
    request.nMaxFile = kPickedFilesLength;
    request.lpstrInitialDir = folder.c_str();
    request.lpstrTitle = title.c_str();
    request.Flags =
        OFN_HIDEREADONLY | OFN_ALLOWMULTISELECT | OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST | OFN_EXPLORER;
    // The dialog makes the picked folder the working folder, which nobody could rename or delete then.
    // OFN_NOCHANGEDIR does not prevent it ("OPENFILENAMEW structure").
    const CScopeExit restore([folder = WorkingFolder()] { SetCurrentDirectoryW(folder.c_str()); });
    if (!ShowFileDialog(request)) {
        return std::nullopt;
    }
    return SplitPickedFiles(buffer.c_str());
}
