#include "framework/PaintingWait.h"

#include "framework/PendingMessages.h"
#include "framework/WinApp.h"

bool WaitPainting(HANDLE object, DWORD milliseconds)
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    const DWORD count = object == nullptr ? 0 : 1;
    for (;;) {
        PaintPendingWindows();
        const ULONGLONG now = GetTickCount64();
        const bool over = now >= end || CWinApp::IsSessionEnding();
        const DWORD left = over ? 0 : static_cast<DWORD>(end - now);
        // QS_SENDMESSAGE: a thread that sends a message is blocked until this thread handles it.
        const DWORD result =
            MsgWaitForMultipleObjects(count, &object, FALSE, left, QS_PAINT | QS_SENDMESSAGE);
        if (count != 0 && result == WAIT_OBJECT_0) {
            return true;
        }
        // A constant flow of messages must not prolong the wait.
        if (over || result != WAIT_OBJECT_0 + count) {
            return false;
        }
    }
}
