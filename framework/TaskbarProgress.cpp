#include "framework/TaskbarProgress.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kFull = 100;  // percent

}  // namespace

ITaskbarList3Ptr CTaskbarProgress::ShellTaskbar()
{
    ITaskbarList3Ptr taskbar;
    if (FAILED(taskbar.CreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER)) ||
        FAILED(taskbar->HrInit())) {
        return {};
    }
    return taskbar;
}

CTaskbarProgress::CTaskbarProgress(MakeTaskbar makeTaskbar)
    : m_makeTaskbar(std::move(makeTaskbar)), m_buttonCreated(RegisterWindowMessageW(L"TaskbarButtonCreated"))
{
}

void CTaskbarProgress::Attach(HWND window)
{
    m_window = window;
    ChangeWindowMessageFilterEx(window, m_buttonCreated, MSGFLT_ALLOW, nullptr);
}

void CTaskbarProgress::NoteMessage(UINT message)
{
    if (message == m_buttonCreated) {
        m_taskbar = m_makeTaskbar();
        Show(m_state);
    }
}

void CTaskbarProgress::ShowProgress(int percent)
{
    percent = std::min(percent, kFull);
    if (std::exchange(m_percent, percent) != percent || m_state != TBPF_NORMAL) {
        Show(TBPF_NORMAL);
    }
}

void CTaskbarProgress::ShowPaused(bool paused)
{
    if (paused || m_state == TBPF_PAUSED) {
        Show(paused ? TBPF_PAUSED : TBPF_NORMAL);
    }
}

void CTaskbarProgress::ShowError()
{
    Show(TBPF_ERROR);
}

void CTaskbarProgress::Clear()
{
    m_percent = 0;
    Show(TBPF_NOPROGRESS);
}

// The value is set before the state, because setting a value turns "no progress" into normal progress. An
// error fills the bar, as an empty bar would not show the error ("ITaskbarList3::SetProgressState method").
void CTaskbarProgress::Show(TBPFLAG state)
{
    m_state = state;
    if (!m_taskbar) {
        return;
    }
    if (state != TBPF_NOPROGRESS) {
        m_taskbar->SetProgressValue(m_window, static_cast<ULONGLONG>(state == TBPF_ERROR ? kFull : m_percent),
                                    kFull);
    }
    m_taskbar->SetProgressState(m_window, state);
}

void FlashInBackground(HWND window)
{
    constexpr UINT kTimes = 5;
    DWORD inFront = 0;
    GetWindowThreadProcessId(GetForegroundWindow(), &inFront);
    if (inFront != GetCurrentProcessId()) {
        FLASHWINFO flash{sizeof flash, window, FLASHW_ALL, kTimes, 0};
        FlashWindowEx(&flash);
    }
}
