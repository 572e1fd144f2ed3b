#include <windows.h>

#include <stdexcept>

#include "framework/WinApp.h"

// A program that throws an exception and does not catch it.

namespace {

class CThrowingApp : public CWinApp
{
public:
    CThrowingApp() : CWinApp(L"throwingprogram") {}

protected:
    bool InitInstance() override { throw std::runtime_error("not caught"); }
};

CThrowingApp g_app;

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int)
{
    return CWinApp::Get()->Run();
}
