// Lets a test kill the program before any of its file operations. The program's own code is unchanged: this
// addition redirects its imported functions. The process is terminated as if from outside, so that no
// destructors and no handlers run.
#include <windows.h>

#include <cstdio>
#include <initializer_list>

#include "tests/faults/KillSwitch.h"
#include "tests/support/ImportTable.h"

namespace {

KillSwitch* OpenKillSwitch()
{
    const HANDLE memory = OpenFileMappingW(FILE_MAP_WRITE, FALSE, kKillSwitchName);
    return memory == nullptr
               ? nullptr
               : static_cast<KillSwitch*>(MapViewOfFile(memory, FILE_MAP_WRITE, 0, 0, sizeof(KillSwitch)));
}

KillSwitch* const g_killSwitch = OpenKillSwitch();

// Called before each operation that opens or changes a file.
void Count()
{
    if (g_killSwitch != nullptr && g_killSwitch->counting != 0 &&
        ++g_killSwitch->operations == g_killSwitch->killAt) {
        TerminateProcess(GetCurrentProcess(), kKilledExitStatus);
        Sleep(INFINITE);
    }
}

// Replaces an imported function; original is the pointer to it.
template <auto original, class Result, class... Arguments>
Result WINAPI CountAndCall(Arguments... arguments)
{
    Count();
    return (*original)(arguments...);
}

using CreateFileFunction = HANDLE(WINAPI*)(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD,
                                           HANDLE);
using WriteFileFunction = BOOL(WINAPI*)(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED);
using SetAttributesFunction = BOOL(WINAPI*)(LPCWSTR, DWORD);
using SetInformationFunction = BOOL(WINAPI*)(HANDLE, FILE_INFO_BY_HANDLE_CLASS, LPVOID, DWORD);
using MakeFolderFunction = int (*)(const wchar_t*);
using OpenStreamFunction = FILE* (*)(const wchar_t*, const wchar_t*);
using WriteFunction = int (*)(int, const void*, unsigned);

CreateFileFunction g_createFile = nullptr;
WriteFileFunction g_writeFile = nullptr;
SetAttributesFunction g_setAttributes = nullptr;
SetInformationFunction g_setInformation = nullptr;
MakeFolderFunction g_makeFolder = nullptr;
OpenStreamFunction g_openStream = nullptr;
WriteFunction g_write = nullptr;

// Opening a file only to ask about it leaves nothing to find after a kill, so it does not count.
HANDLE WINAPI OpenAndCount(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                           DWORD disposition, DWORD flags, HANDLE model)
{
    if (access != 0) {
        Count();
    }
    return g_createFile(path, access, share, security, disposition, flags, model);
}

// 64-bit Windows has only one calling convention, so functions without WINAPI match as well.
template <auto original, class Result, class... Arguments>
void* ReplacementFor(Result(WINAPI** /*original*/)(Arguments...))
{
    return reinterpret_cast<void*>(&CountAndCall<original, Result, Arguments...>);
}

struct Redirection
{
    const char* name;
    void* function;
    void** original;
};

template <auto original>
Redirection Redirect(const char* name)
{
    return {name, ReplacementFor<original>(original), reinterpret_cast<void**>(original)};
}

const bool g_redirected = [] {
    for (const Redirection& redirection :
         {Redirection{"CreateFileW", reinterpret_cast<void*>(&OpenAndCount),
                      reinterpret_cast<void**>(&g_createFile)},
          Redirect<&g_writeFile>("WriteFile"), Redirect<&g_setAttributes>("SetFileAttributesW"),
          Redirect<&g_setInformation>("SetFileInformationByHandle"), Redirect<&g_makeFolder>("_wmkdir"),
          Redirect<&g_openStream>("_wfopen"), Redirect<&g_write>("_write")}) {
        RedirectImport(redirection.name, redirection.function, redirection.original);
    }
    return true;
}();

}  // namespace
