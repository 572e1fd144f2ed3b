#pragma once

#include <windows.h>

#include <utility>
#include <vector>

// While an object exists, it notes the windows of this process whose text screen readers are told to
// announce. Pump messages before calling Take. Only one object may exist at a time.
class CAnnouncementWatch
{
public:
    CAnnouncementWatch()
        : m_hook(SetWinEventHook(EVENT_OBJECT_LIVEREGIONCHANGED, EVENT_OBJECT_LIVEREGIONCHANGED, nullptr,
                                 &Note, GetCurrentProcessId(), 0, WINEVENT_OUTOFCONTEXT))
    {
        s_announced.clear();
    }
    ~CAnnouncementWatch() { UnhookWinEvent(m_hook); }
    CAnnouncementWatch(const CAnnouncementWatch&) = delete;
    CAnnouncementWatch& operator=(const CAnnouncementWatch&) = delete;

    // The windows since the last call.
    [[nodiscard]] static std::vector<HWND> Take() { return std::exchange(s_announced, {}); }

private:
    static void CALLBACK Note(HWINEVENTHOOK, DWORD, HWND window, LONG object, LONG child, DWORD, DWORD)
    {
        if (object == OBJID_CLIENT && child == CHILDID_SELF) {
            s_announced.push_back(window);
        }
    }

    static inline std::vector<HWND> s_announced;

    HWINEVENTHOOK m_hook;
};
