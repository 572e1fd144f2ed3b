#pragma once

#include <windows.h>

#include <string>

// During its lifetime the computer does not fall asleep by itself, and Windows names the reason to a user who
// ends the session. Belongs to the thread of the window; one at a time.
class CLongOperation
{
public:
    // `window` is a top-level window; it must refuse WM_QUERYENDSESSION while IsActive. `reason` is truncated
    // to 255 characters. If the system refuses either, the operation continues without it.
    CLongOperation(HWND window, const std::wstring& reason);
    CLongOperation(const CLongOperation&) = delete;
    CLongOperation& operator=(const CLongOperation&) = delete;
    ~CLongOperation();

    [[nodiscard]] static bool IsActive();

private:
    HWND m_window;
};
