#include "tests/cadserver/ServerWindows.h"

#include <windows.h>

#include "tests/cadserver/Settings.h"

void ShowPrompt()
{
    MessageBoxW(nullptr, L"Save changes?", kPromptTitle, MB_OK | MB_ICONQUESTION);
}

void ShowMainWindow()
{
    constexpr int kWidth = 400;
    constexpr int kHeight = 200;
    CreateWindowExW(0, L"STATIC", kMainWindowTitle, WS_OVERLAPPEDWINDOW | WS_VISIBLE, CW_USEDEFAULT,
                    CW_USEDEFAULT, kWidth, kHeight, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
}
