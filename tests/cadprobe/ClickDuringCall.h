#pragma once

#include <windows.h>

#include <atomic>
#include <thread>

// A window with a button that is clicked while a call waits. Construct it before the call, and ask it after
// it.
class CClickDuringCall
{
public:
    // Clicks with the mouse after some milliseconds, and posts a message that must be seen during the call.
    explicit CClickDuringCall(DWORD delay);
    ~CClickDuringCall();
    CClickDuringCall(const CClickDuringCall&) = delete;
    CClickDuringCall& operator=(const CClickDuringCall&) = delete;

    // The call has returned. Whether the click came before that.
    [[nodiscard]] bool EndCall();
    // Dispatches what is in the queue. Whether the button has been pressed.
    [[nodiscard]] bool WasKept();
    // Whether the window was painted during the call.
    [[nodiscard]] bool WasPainted() const { return m_painted; }

private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void ClickAfter(DWORD delay) const;

    HWND m_window = nullptr;
    bool m_inCall = true;
    bool m_painted = false;
    bool m_pressed = false;
    mutable std::atomic<bool> m_clicked = false;
    std::thread m_clicker;
};
