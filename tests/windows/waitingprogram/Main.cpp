#include <windows.h>

#include "tests/support/CreateProgram.h"
#include "tests/support/OwnFolder.h"

// A program for tests. A test posts the messages below to the main thread of this program, which carries them
// out. WM_QUIT ends the program.

namespace {

constexpr UINT kShowWindow = WM_APP;
constexpr UINT kShowPrompt = WM_APP + 1;
constexpr UINT kStartAnother = WM_APP + 2;
constexpr UINT kEndLater = WM_APP + 3;  // after wParam milliseconds
constexpr UINT kShowSplashScreen = WM_APP + 4;
constexpr UINT kShowToolWindow = WM_APP + 5;

HWND Show(const wchar_t* windowClass, DWORD style = WS_OVERLAPPEDWINDOW, DWORD extendedStyle = 0)
{
    return CreateWindowExW(extendedStyle, windowClass, L"window of waitingprogram", style | WS_VISIBLE, 40,
                           40, 200, 100, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
}

// Starts another process of this program, as a child of this process.
void StartAnother()
{
    StartedProgram another;
    static_cast<void>(CreateProgram(L"\"" + OwnProgram() + L"\"", another));
}

void Obey(const MSG& message)
{
    switch (message.message) {
        case kShowWindow:
            Show(L"Static");
            break;
        case kShowPrompt:
            Show(L"#32770");
            break;
        case kStartAnother:
            StartAnother();
            break;
        case kShowSplashScreen:
            Show(L"Static", WS_POPUP);
            break;
        case kShowToolWindow:
            Show(L"Static", WS_OVERLAPPEDWINDOW, WS_EX_TOOLWINDOW);
            break;
        case kEndLater:
            Sleep(static_cast<DWORD>(message.wParam));
            PostQuitMessage(0);
            break;
        default:
            DispatchMessageW(&message);
            break;
    }
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int)
{
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        Obey(message);
    }
    return 0;
}
