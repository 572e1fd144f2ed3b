#pragma once

#include <windows.h>

#include "framework/Handles.h"
#include "tests/cadserver/Settings.h"

// Lets a test hold calls to the server (hold-before and hold-after in the script), one at a time. The server
// holds calls only during the lifetime of a CCallHold.
class CCallHold
{
public:
    // Waits until a call is held. Returns false after a timeout.
    [[nodiscard]] bool WaitUntilHeld(DWORD milliseconds) const
    {
        return WaitForSingleObject(m_held.get(), milliseconds) == WAIT_OBJECT_0;
    }
    // Lets the held call continue.
    void LetGo() const { SetEvent(m_goOn.get()); }

private:
    UniqueHandle m_held{CreateEventW(nullptr, FALSE, FALSE, kHeldEvent)};
    UniqueHandle m_goOn{CreateEventW(nullptr, FALSE, FALSE, kGoOnEvent)};
};
