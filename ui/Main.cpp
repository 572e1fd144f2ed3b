#include <windows.h>

#include <cstdlib>

#include "framework/WinApp.h"

namespace {

// Restricts the DLL search to the system folder ("SetDefaultDllDirectories function"): a DLL planted in the
// program's, the working or a PATH folder is never loaded. DLLs loaded by full path, such as shell
// extensions, are not affected. Runs as the first constructor of the process: later ones load DLLs already,
// as the stack protector does for its random number.
__attribute__((constructor(101))) void LoadFromSystemFolderOnly()
{
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
    SetDllDirectoryW(L"");
}

}  // namespace

#ifdef NDEBUG
// Replaces the runtime library's handler, which prints the exception's name to a console that this program
// does not have, and pulls in the name demangler (50 KB). Debug builds keep it.
namespace __gnu_cxx {

[[noreturn]] void __verbose_terminate_handler()
{
    std::abort();
}

}  // namespace __gnu_cxx
#endif

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    // No system message box for a drive without a medium ("SetErrorMode function").
    SetErrorMode(SEM_FAILCRITICALERRORS);
    return CWinApp::Get()->Run();
}
