#pragma once

#include <windows.h>

#include <shobjidl.h>

#include <functional>

#include "framework/ComPointers.h"

DECLARE_COM_POINTER(ITaskbarList3);

// The progress of a long operation on the taskbar button of a window. Without a taskbar, all functions do
// nothing. COM must be initialised.
class CTaskbarProgress
{
public:
    using MakeTaskbar = std::function<ITaskbarList3Ptr()>;

    // Makes the shell's taskbar object, or null.
    static ITaskbarList3Ptr ShellTaskbar();

    explicit CTaskbarProgress(MakeTaskbar makeTaskbar = &ShellTaskbar);

    // Call it once the window exists. Allows the shell's message about the button, which Windows would
    // withhold from a program that runs as administrator.
    void Attach(HWND window);

    // Call it with every message of the window. Connects to the taskbar when the shell has made the button,
    // also after a restart of the shell ("ITaskbarList3 interface").
    void NoteMessage(UINT message);

    void ShowProgress(int percent);  // also ends the paused or error state
    void ShowPaused(bool paused);    // false: normal again, if paused
    void ShowError();
    void Clear();

private:
    void Show(TBPFLAG state);

    MakeTaskbar m_makeTaskbar;
    UINT m_buttonCreated;
    HWND m_window = nullptr;
    ITaskbarList3Ptr m_taskbar;
    TBPFLAG m_state = TBPF_NOPROGRESS;
    int m_percent = 0;
};

// If another program is in front, flashes the window and its taskbar button five times. Flashing until the
// window is activated would go on after the user has activated a modal box of the window.
void FlashInBackground(HWND window);
