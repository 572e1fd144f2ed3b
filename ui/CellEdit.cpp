#include "ui/CellEdit.h"

#include <commctrl.h>

#include <utility>

#include "framework/AccessibleName.h"

CCellEdit::CCellEdit(int row, int column, std::wstring text)
    : m_row(row), m_column(column), m_text(std::move(text))
{
}

void CCellEdit::Begin(const CWnd& editor, const CListCtrl& list) const
{
    editor.SendMessage(WM_SETFONT, static_cast<WPARAM>(list.SendMessage(WM_GETFONT)));
    SetAccessibleName(editor.m_hWnd, list.GetColumnText(m_column) + L" " + list.GetItemText(m_row, 0));
}

void CCellEdit::End(const CWnd& editor)
{
    if (std::exchange(m_ended, true)) {
        return;
    }
    const HWND window = editor.m_hWnd;
    std::wstring text = editor.GetWindowText();
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
