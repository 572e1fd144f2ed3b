#pragma once

#include <windows.h>

#include <atomic>
#include <thread>

// A window with a button that is clicked while a call waits. Construct the object before the call, and query
// it afterwards.
class CClickDuringCall
{
public:
    // After `delay` milliseconds, invalidates the window, which must then be painted during the call, and
    // clicks the button with the mouse.
    explicit CClickDuringCall(DWORD delay);
    ~CClickDuringCall();
    CClickDuringCall(const CClickDuringCall&) = delete;
    CClickDuringCall& operator=(const CClickDuringCall&) = delete;

    // Call it when the call has returned. Returns whether the click came before that.
    [[nodiscard]] bool EndCall();
    // Dispatches messages until the button has been pressed, at most for two seconds. Returns whether the
    // button was pressed.
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
