#include <windows.h>

#include "ui/TalvenorApp.h"

namespace {

CTalvenorApp theApp;

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    return theApp.Run();
}
