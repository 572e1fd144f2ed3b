#include "ui/TalvenorApp.h"

#include <commctrl.h>

#include <array>

#include "framework/Handles.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/ResourceHandle.h"
#include "ui/TalvenorDlg.h"

namespace {

constexpr int kStartLanguage = TALVENOR_START_LANGUAGE;  // set by the build; German unless chosen otherwise
constexpr DWORD kBusyServerDelay = 60000;                // milliseconds

constexpr const wchar_t* kLibraryLead = L".\\talvres";
constexpr Text kLibraryTail{L"gerx64.dll", L"usx64.dll"};
constexpr Text kLibraryMissing{L"Ressource DLL kann nicht geladen werden!\nDatei: ",
                               L"Cannot load Resource DLL!\nFile: "};

// Loads a library that holds resources only, as data: nothing in it runs, whoever put it there. The path is
// resolved against the working folder first; a bare relative path might be looked for elsewhere.
UniqueModule LoadResourceLibrary(const std::wstring& path)
{
    const DWORD length = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring fullPath(length, L'\0');
    fullPath.resize(GetFullPathNameW(path.c_str(), length, fullPath.data(), nullptr));
    return UniqueModule(
        LoadLibraryExW(fullPath.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
}

// Process-wide; both empty until the library is loaded.
UniqueModule g_resourceLibrary;
HINSTANCE g_savedResourceHandle = nullptr;

// The one application object, made before the entry point runs. It goes before the handles above.
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
    InitializeOle();
    GetMessageFilter().SetBusyDelay(kBusyServerDelay);
    g_nLanguage = kStartLanguage;
    const std::wstring path = kLibraryLead + kLibraryTail.Current();
    g_resourceLibrary = LoadResourceLibrary(path);
    g_savedResourceHandle = GetResourceHandle();
    if (g_resourceLibrary != nullptr) {
        SetResourceHandle(g_resourceLibrary.get());
        ShowMainDialog();
    } else {
        ShowMessage(kLibraryMissing.Current() + path);
    }
    return false;
}

void CTalvenorApp::ShowMainDialog()
{
    CTalvenorDlg dialog;
    m_pMainWnd = &dialog;
    dialog.DoModal();
    m_pMainWnd = nullptr;
}
