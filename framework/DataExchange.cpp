#include "framework/DataExchange.h"

#include "framework/Wnd.h"

HWND CDataExchange::GetControl(int id)
{
    const HWND control = m_dialog.GetDlgItem(id);
    if (control == nullptr) {
        m_bSucceeded = false;
    }
    return control;
}

void DDX_Control(CDataExchange& exchange, int id, CWnd& control)
{
    const HWND window = exchange.GetControl(id);
    if (window != nullptr && control.m_hWnd == nullptr) {
        control.SubclassWindow(window);
    }
}

void DDX_Text(CDataExchange& exchange, int id, std::wstring& text)
{
    if (exchange.GetControl(id) == nullptr) {
        return;
    }
    const std::wstring shown = exchange.GetDialog().GetDlgItemText(id);
    if (exchange.IsSaving()) {
        text = shown;
    } else if (shown != text) {
        exchange.GetDialog().SetDlgItemText(id, text);
    }
}
