#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <vector>

// What was to be on the screen is not there; the message tells what is there instead.
class CNotOnScreen : public std::runtime_error
{
public:
    CNotOnScreen(const std::wstring& missing, DWORD process);
};

// The visible top-level windows of a process, the topmost first.
std::vector<HWND> TopWindowsOf(DWORD process);

// The visible controls of a window, in the order of its template.
std::vector<HWND> ControlsOf(HWND window);

// The text of a window or control of any process, line ends as bare \n. Empty when it does not answer.
std::wstring TextOf(HWND window);

// The name of the window class.
std::wstring ClassOf(HWND window);

// Sends a message to a window of another process; a window that does not answer in time gives 0. The
// parameters are numbers or stand in the other process.
LRESULT Ask(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

// The control that has the focus in the thread of the window.
HWND FocusOf(HWND window);

// All windows of a process with their controls and texts, for the message of a failure.
std::wstring DescribeScreen(DWORD process);
