#include "tests/support/OtherWindows.h"

#include <algorithm>
#include <utility>

#include "framework/Handles.h"
#include "tests/support/Rects.h"
#include "tests/support/TextFile.h"

namespace {

constexpr UINT kAnswerTime = 10'000;  // milliseconds
constexpr std::size_t kLongestText = 4096;

struct Search
{
    DWORD process;
    std::vector<HWND> found;
};

BOOL CALLBACK TakeTopWindow(HWND window, LPARAM parameter)
{
    auto& search = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == search.process && IsWindowVisible(window) != FALSE) {
        search.found.push_back(window);
    }
    return TRUE;
}

BOOL CALLBACK TakeControl(HWND control, LPARAM parameter)
{
    if (IsWindowVisible(control) != FALSE) {
        reinterpret_cast<std::vector<HWND>*>(parameter)->push_back(control);
    }
    return TRUE;
}

std::wstring RectTextOf(HWND window)
{
    const RECT rect = RectOf(window);
    return std::to_wstring(rect.left) + L"," + std::to_wstring(rect.top) + L" to " +
           std::to_wstring(rect.right) + L"," + std::to_wstring(rect.bottom);
}

// Describes the foreground window; the active, the focused and the capturing window of the given window's
// thread; the mouse position and the window there.
std::wstring DescribeInput(HWND window)
{
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    POINT mouse{};
    GetCursorPos(&mouse);
    const auto name = [](HWND named) {
        return named == nullptr ? std::wstring(L"none") : ClassOf(named) + L" \"" + TextOf(named) + L"\"";
    };
    return L"foreground " + name(GetForegroundWindow()) + L", active " + name(info.hwndActive) + L", focus " +
           name(info.hwndFocus) + L", capture " + name(info.hwndCapture) + L", mouse at " +
           std::to_wstring(mouse.x) + L"," + std::to_wstring(mouse.y) + L" over " +
           name(WindowFromPoint(mouse)) + L"\n";
}

// Whether the process is running, has ended (and with which status) or can no longer be opened.
std::wstring StateOf(DWORD process)
{
    const UniqueHandle handle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
    DWORD status = 0;
    if (!handle || GetExitCodeProcess(handle.get(), &status) == FALSE) {
        return L"the program is gone\n";
    }
    return status == STILL_ACTIVE ? L"the program is running\n"
                                  : L"the program ended with status " + std::to_wstring(status) + L"\n";
}

std::wstring Describe(HWND window)
{
    return RectTextOf(window) + L" " + ClassOf(window) + L" " + std::to_wstring(GetDlgCtrlID(window)) +
           L" \"" + TextOf(window) + L"\"" + (IsWindowEnabled(window) != FALSE ? L"\n" : L" (disabled)\n");
}

}  // namespace

CNotOnScreen::CNotOnScreen(const std::wstring& missing, DWORD process)
    : std::runtime_error(ToUtf8(L"not on the screen: " + missing + L"\n" + DescribeScreen(process)))
{
}

std::vector<HWND> TopWindowsOf(DWORD process)
{
    Search search{process, {}};
    EnumWindows(&TakeTopWindow, reinterpret_cast<LPARAM>(&search));
    return std::move(search.found);
}

std::vector<HWND> ControlsOf(HWND window)
{
    std::vector<HWND> controls;
    EnumChildWindows(window, &TakeControl, reinterpret_cast<LPARAM>(&controls));
    return controls;
}

std::wstring TextOf(HWND window)
{
    std::wstring text(kLongestText, L'\0');
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()), SMTO_NORMAL,
                        kAnswerTime, &length);
    text.resize(std::min<std::size_t>(length, kLongestText));
    std::erase(text, L'\r');
    return text;
}

std::wstring ClassOf(HWND window)
{
    wchar_t name[64] = L"";
    GetClassNameW(window, name, 64);
    return name;
}

LRESULT Ask(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kAnswerTime, &answer);
    return static_cast<LRESULT>(answer);
}

HWND FocusOf(HWND window)
{
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    return info.hwndFocus;
}

std::wstring DescribeScreen(DWORD process)
{
    std::wstring text = StateOf(process) + L"on the screen:\n";
    const std::vector<HWND> windows = TopWindowsOf(process);
    if (!windows.empty()) {
        text += DescribeInput(windows[0]);
    }
    for (const HWND window : windows) {
        text += Describe(window);
        for (const HWND control : ControlsOf(window)) {
            text += L"    " + Describe(control);
        }
    }
    return text;
}
