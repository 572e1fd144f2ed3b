#include "ui/TalvenorApp.h"

#include <commctrl.h>

#include <array>

#include "framework/Handles.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"
#include "framework/ResourceHandle.h"
#include "ui/TalvenorDlg.h"

namespace {

constexpr int kStartLanguage = TALVENOR_START_LANGUAGE;  // set by the build; German unless chosen otherwise
constexpr DWORD kBusyServerDelay = 60000;                // milliseconds

constexpr Text kLibrary{L".\\talvresgerx64.dll", L".\\talvresusx64.dll"};
constexpr Text kLibraryMissing{L"Ressource DLL kann nicht geladen werden!\nDatei: %1",
                               L"Cannot load Resource DLL!\nFile: %1"};

// Loads a resource library as data, so that no code of a planted file runs. The path is resolved against the
// working folder first: with a relative path, the system would search other folders, too.
UniqueModule LoadResourceLibrary(const std::wstring& path)
{
    const DWORD length = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring fullPath(length, L'\0');
    fullPath.resize(GetFullPathNameW(path.c_str(), length, fullPath.data(), nullptr));
    return UniqueModule(
        LoadLibraryExW(fullPath.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
}

// Both empty until InitInstance loads the library.
UniqueModule g_resourceLibrary;
HINSTANCE g_savedResourceHandle = nullptr;

// The application object. Constructed before the entry point runs, and destroyed before the handles above.
CTalvenorApp theApp;

}  // namespace

CTalvenorApp::~CTalvenorApp()
{
    if (g_savedResourceHandle != nullptr) {
        SetResourceHandle(g_savedResourceHandle);
    }
    g_resourceLibrary.reset();
}

bool CTalvenorApp::InitInstance()
{
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    // A ghost window would swallow the clicks made during a long call ("DisableProcessWindowsGhosting
    // function").
    DisableProcessWindowsGhosting();
    InitializeOle();
    GetMessageFilter().SetBusyDelay(kBusyServerDelay);
    g_nLanguage = kStartLanguage;
    const std::wstring path = kLibrary.Current();
    g_resourceLibrary = LoadResourceLibrary(path);
    g_savedResourceHandle = GetResourceHandle();
    if (g_resourceLibrary != nullptr) {
        SetResourceHandle(g_resourceLibrary.get());
        ShowMainDialog();
    } else {
        ShowMessage(FillPlaceholders(kLibraryMissing.Current(), {path}));
    }
    return false;
}

void CTalvenorApp::ShowMainDialog()
{
    CTalvenorDlg dialog;
    m_mainWindow = &dialog;
    dialog.DoModal();
    m_mainWindow = nullptr;
}
