// Makes of the program one that a test can end in front of any of its file operations. The program's own code
// is untouched: this part stands between it and the system, in the table of the functions that it imports.
// Ended is the process as any other can end it, so that nothing of it runs any more, no destructor and no
// handler.
#include <windows.h>

#include <cstdio>
#include <initializer_list>

#include "tests/faults/EndOrder.h"
#include "tests/faults/ImportTable.h"

namespace {

EndOrder* OrderOfTheTest()
{
    const HANDLE memory = OpenFileMappingW(FILE_MAP_WRITE, FALSE, kEndOrderName);
    return memory == nullptr
               ? nullptr
               : static_cast<EndOrder*>(MapViewOfFile(memory, FILE_MAP_WRITE, 0, 0, sizeof(EndOrder)));
}

EndOrder* const g_order = OrderOfTheTest();

// In front of each operation that changes a file or opens one.
void Count()
{
    if (g_order != nullptr && g_order->counting != 0 && ++g_order->operations == g_order->endAt) {
        TerminateProcess(GetCurrentProcess(), kEndedByOrder);
        Sleep(INFINITE);
    }
}

// One function of the system between which and the program this part stands.
template <auto place, class Result, class... Arguments>
Result WINAPI CountAndCall(Arguments... arguments)
{
    Count();
    return (*place)(arguments...);
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

// On 64-bit Windows all functions are called in the same way.
template <auto place, class Result, class... Arguments>
void* Stand(Result(WINAPI** /*place*/)(Arguments...))
{
    return reinterpret_cast<void*>(&CountAndCall<place, Result, Arguments...>);
}

struct Substitute
{
    const char* name;
    void* function;
    void** original;
};

template <auto place>
Substitute For(const char* name)
{
    return {name, Stand<place>(place), reinterpret_cast<void**>(place)};
}

const bool g_redirected = [] {
    for (const Substitute& substitute :
         {For<&g_createFile>("CreateFileW"), For<&g_writeFile>("WriteFile"),
          For<&g_setAttributes>("SetFileAttributesW"), For<&g_setInformation>("SetFileInformationByHandle"),
          For<&g_makeFolder>("_wmkdir"), For<&g_openStream>("_wfopen"), For<&g_write>("_write")}) {
        RedirectImport(substitute.name, substitute.function, substitute.original);
    }
    return true;
}();

}  // namespace
