#pragma once

#include <windows.h>

#include "tests/support/ImportTable.h"

// Gives every monitor another work area, in screen coordinates, until the end of the scope. Only one object
// may exist at a time.
class CWorkAreaScope
{
public:
    explicit CWorkAreaScope(const RECT& workArea)
    {
        RedirectImport("GetMonitorInfoW", &GetMonitorInfoChanged, &s_getMonitorInfo);
        s_workArea = &m_workArea;
        Set(workArea);
    }
    ~CWorkAreaScope() { s_workArea = nullptr; }
    CWorkAreaScope(const CWorkAreaScope&) = delete;
    CWorkAreaScope& operator=(const CWorkAreaScope&) = delete;

    void Set(const RECT& workArea) { m_workArea = workArea; }

private:
    static BOOL WINAPI GetMonitorInfoChanged(HMONITOR monitor, MONITORINFO* info)
    {
        const BOOL result = s_getMonitorInfo(monitor, info);
        if (s_workArea != nullptr) {
            info->rcWork = *s_workArea;
        }
        return result;
    }

    inline static decltype(&::GetMonitorInfoW) s_getMonitorInfo = nullptr;
    inline static const RECT* s_workArea = nullptr;

    RECT m_workArea{};
};
