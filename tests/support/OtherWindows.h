#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <vector>

// Thrown when something is not on the screen. The message lists what is there instead.
class CNotOnScreen : public std::runtime_error
{
public:
    CNotOnScreen(const std::wstring& missing, DWORD process);
};

// The visible top-level windows of a process, the topmost first.
std::vector<HWND> TopWindowsOf(DWORD process);

// The visible controls of a window, in the order of its template.
std::vector<HWND> ControlsOf(HWND window);

// The text of a window or control of any process, line ends as bare \n. Empty if it does not respond.
std::wstring TextOf(HWND window);

// The name of the window class.
std::wstring ClassOf(HWND window);

// Sends a message to a window of another process. Returns 0 if the window does not respond in time. Pointers
// among the parameters must be valid in the other process.
LRESULT Ask(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

// The control that has the focus in the thread of the window.
HWND FocusOf(HWND window);

// For failure messages: whether a process is running, where the focus and the mouse are, and the process's
// visible windows with their controls and texts.
std::wstring DescribeScreen(DWORD process);
