#pragma once

#include <windows.h>

#include <string>

// While an object exists, the computer does not go to sleep when idle. When the user ends the session,
// Windows asks this program before others and shows the user the reason to wait. Create and destroy the
// object on the window's thread; only one object may exist at a time.
class CLongOperation
{
public:
    // `window` is a top-level window; it must refuse WM_QUERYENDSESSION while IsActive() is true. `reason` is
    // truncated to 255 characters. Failures of the system calls are ignored.
    CLongOperation(HWND window, const std::wstring& reason);
    CLongOperation(const CLongOperation&) = delete;
    CLongOperation& operator=(const CLongOperation&) = delete;
    ~CLongOperation();

    [[nodiscard]] static bool IsActive();

private:
    HWND m_window;
};
