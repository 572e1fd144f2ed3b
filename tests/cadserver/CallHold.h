#pragma once

#include <windows.h>

#include "framework/Handles.h"
#include "tests/cadserver/Settings.h"

// The test's side of the server's held calls (`hold-before` and `hold-after` in its script): calls are held
// as long as the object lives, one at a time.
class CCallHold
{
public:
    // Waits until a call is held; false when none is within so many milliseconds.
    [[nodiscard]] bool WaitUntilHeld(DWORD milliseconds) const
    {
        return WaitForSingleObject(m_held.get(), milliseconds) == WAIT_OBJECT_0;
    }
    // Lets the held call go on.
    void LetGo() const { SetEvent(m_goOn.get()); }

private:
    UniqueHandle m_held{CreateEventW(nullptr, FALSE, FALSE, kHeldEvent)};
    UniqueHandle m_goOn{CreateEventW(nullptr, FALSE, FALSE, kGoOnEvent)};
};
