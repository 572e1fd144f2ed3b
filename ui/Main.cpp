#include <windows.h>

#include "framework/WinApp.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    // A drive without a medium is an error like any other and no reason for a box of the system's own.
    SetErrorMode(SEM_FAILCRITICALERRORS);
    return CWinApp::Get()->Run();
}
