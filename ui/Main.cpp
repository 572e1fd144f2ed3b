#include <windows.h>

#include <cstdlib>

#include "framework/WinApp.h"

namespace {

// Libraries that are loaded by name alone come from the system's folder, never from the program's, the
// working or a PATH folder, where anyone may have put one. What is loaded by its whole path, such as the
// shell's extensions, is not touched by it. As the first constructor of the process, since later ones load
// libraries already: that of the stack check asks the system for a random number.
__attribute__((constructor(101))) void LoadFromSystemFolderOnly()
{
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
    SetDllDirectoryW(L"");
}

}  // namespace

#ifdef NDEBUG
// Takes the place of the runtime library's own: that one first names the exception on a console, which a
// program with windows has not, and brings all that takes the names of C++ apart into the program, 50 KB.
// A build for debugging keeps it: who develops has a console and wants the name.
namespace __gnu_cxx {

[[noreturn]] void __verbose_terminate_handler()
{
    std::abort();
}

}  // namespace __gnu_cxx
#endif

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    // A drive without a medium is an error like any other and no reason for a box of the system's own.
    SetErrorMode(SEM_FAILCRITICALERRORS);
    return CWinApp::Get()->Run();
}
