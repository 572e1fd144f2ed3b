#pragma once

#include <windows.h>

// Shows the wait cursor until the object is destroyed.
class CWaitCursor
{
public:
    CWaitCursor() : m_before(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
    ~CWaitCursor() { SetCursor(m_before); }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

private:
    HCURSOR m_before;
};
