#include "ui/CellEdit.h"

#include <commctrl.h>

#include "framework/AccessibleName.h"

CCellEdit::CCellEdit(const CListCtrl& list, int row, int column)
    : m_row(row)
    , m_column(column)
    , m_text(list.GetItemText(row, column))
    , m_accessibleName(list.GetColumnText(column) + L" " + list.GetItemText(row, 0))
{
}

void CCellEdit::Begin(const CWnd& editor, const CListCtrl& list) const
{
    editor.SendMessage(WM_SETFONT, static_cast<WPARAM>(list.SendMessage(WM_GETFONT)));
    SetAccessibleName(editor.m_hWnd, m_accessibleName);
}

void CCellEdit::End(const CWnd& editor)
{
    if (m_ended) {
        return;
    }
    const HWND window = editor.m_hWnd;
    std::wstring text = editor.GetWindowText();  // may throw; the editor then stays open with its text
    m_ended = true;
    const HWND list = GetParent(window);
    NMLVDISPINFOW end{};
    end.hdr.hwndFrom = list;
    end.hdr.idFrom = static_cast<UINT_PTR>(GetDlgCtrlID(list));
    end.hdr.code = static_cast<UINT>(LVN_ENDLABELEDITW);
    end.item.mask = LVIF_TEXT;
    end.item.iItem = m_row;
    end.item.iSubItem = m_column;
    end.item.pszText = m_cancelled ? nullptr : text.data();
    end.item.cchTextMax = static_cast<int>(text.size());
    SendMessageW(GetParent(list), WM_NOTIFY, end.hdr.idFrom, reinterpret_cast<LPARAM>(&end));
    ClearAccessibleName(window);
    DestroyWindow(window);  // deletes the editor, and this object with it
}

bool CCellEdit::KeepsKey(const MSG& message)
{
    if (message.message != WM_KEYDOWN) {
        return false;
    }
    return message.wParam == VK_RETURN || message.wParam == VK_ESCAPE || message.wParam == VK_DELETE ||
           GetKeyState(VK_CONTROL) < 0;
}
