#include "ui/EditSourceDir.h"

#include <array>
#include <string>
#include <utility>

const MessageMap* CEditSourceDir::GetMessageMap() const
{
    static constexpr std::array kEntries{OnMessage<&CEditSourceDir::OnGetDlgCode>(WM_GETDLGCODE)};
    static const MessageMap kMap{CEdit::GetMessageMap(), kEntries};
    return &kMap;
}

bool CEditSourceDir::PreTranslateMessage(MSG& message)
{
    const bool keep =
        message.message == WM_KEYDOWN && (message.wParam == VK_RETURN || message.wParam == VK_ESCAPE);
    if (keep) {
        DispatchMessageW(&message);
    }
    return keep || CEdit::PreTranslateMessage(message);
}

// Leaves out lParam, which holds the key message: an edit that sees Enter there may press the default button
// itself.
LRESULT CEditSourceDir::OnGetDlgCode(WPARAM wParam, LPARAM)
{
    return DefaultWindowProc(WM_GETDLGCODE, wParam, 0);
}

// Explorer's "Copy as path" puts the path in quotes; no path can contain quotes.
std::wstring CEditSourceDir::TextToPaste(std::wstring text) const
{
    text = CEdit::TextToPaste(std::move(text));
    std::erase(text, L'"');
    return text;
}
