#pragma once

#include <windows.h>

// Waits until `object` is signalled, at most for `milliseconds`; with a null object, for the whole time.
// Paints the program's windows meanwhile, and leaves input in the queue. The end of the Windows session ends
// the wait. Returns whether the object was signalled.
[[nodiscard]] bool WaitPainting(HANDLE object, DWORD milliseconds);
