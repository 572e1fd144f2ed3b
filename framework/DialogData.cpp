#include "framework/DialogData.h"

void DDX_Control(CDataExchange& exchange, int id, CWnd& control)
{
    const HWND window = exchange.GetControl(id);
    if (control.m_hWnd == nullptr) {
        control.SubclassWindow(window);
    }
}

void DDX_Text(CDataExchange& exchange, int id, std::wstring& text)
{
    const HWND control = exchange.GetControl(id);
    if (control == nullptr) {
        return;
    }
    const std::wstring shown = CWnd::TextOf(control);
    if (exchange.IsSaving()) {
        text = shown;
    } else if (shown != text) {
        SetWindowTextW(control, text.c_str());
    }
}
