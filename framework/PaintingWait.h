#pragma once

#include <windows.h>

// Waits until an object is signalled, at most for a time in milliseconds; without an object (null), for the
// whole time. Windows are painted meanwhile, and input stays in the queue. The end of the Windows session
// ends the wait. Returns whether the object was signalled.
[[nodiscard]] bool WaitPainting(HANDLE object, DWORD milliseconds);
