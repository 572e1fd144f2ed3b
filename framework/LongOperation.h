#pragma once

#include <windows.h>

#include <string>

// During its lifetime the computer does not fall asleep by itself, and Windows names the reason to a user who
// ends the session. Belongs to the thread of the window.
class CLongOperation
{
public:
    // `window` is a top-level window; it has to refuse WM_QUERYENDSESSION meanwhile. `reason` is cut after
    // 255 characters. Where the system refuses either, the operation goes on without it.
    CLongOperation(HWND window, const std::wstring& reason);
    CLongOperation(const CLongOperation&) = delete;
    CLongOperation& operator=(const CLongOperation&) = delete;
    ~CLongOperation();

private:
    HWND m_window;
};
