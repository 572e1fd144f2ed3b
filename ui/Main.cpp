#include <windows.h>

#include "framework/FirstObject.h"
#include "framework/WinApp.h"

namespace {

// Restricts the DLL search to the system folder ("SetDefaultDllDirectories function"): a DLL planted in the
// program's folder, the working folder or a folder of PATH is never loaded. DLLs loaded by full path, such as
// shell extensions, are not affected. This constructor must be the first of the process, because other
// constructors load DLLs: the stack protector's constructor loads a DLL for its random number.
class CSystemFolderOnly
{
public:
    CSystemFolderOnly()
    {
        SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
        SetDllDirectoryW(L"");
    }
};

CONSTRUCTED_FIRST const CSystemFolderOnly g_systemFolderOnly;

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    // No system message box for a drive without a medium ("SetErrorMode function").
    SetErrorMode(SEM_FAILCRITICALERRORS);
    return CWinApp::Get()->Run();
}
