#include "ui/EditSourceDir.h"

bool CEditSourceDir::PreTranslateMessage(MSG& message)
{
    const bool keep =
        message.message == WM_KEYDOWN && (message.wParam == VK_RETURN || message.wParam == VK_ESCAPE);
    if (keep) {
        DispatchMessageW(&message);
    }
    return keep || CEdit::PreTranslateMessage(message);
}
