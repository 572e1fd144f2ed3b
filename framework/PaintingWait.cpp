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
        // Sent messages wake the wait, too: their senders wait for this thread.
        const DWORD result =
            MsgWaitForMultipleObjects(count, &object, FALSE, left, QS_PAINT | QS_SENDMESSAGE);
        if (count != 0 && result == WAIT_OBJECT_0) {
            return true;
        }
        // The time counts, too, when messages never cease.
        if (over || result != WAIT_OBJECT_0 + count) {
            return false;
        }
    }
}
