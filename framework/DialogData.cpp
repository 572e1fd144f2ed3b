#include "framework/DialogData.h"

namespace {

void MoveText(const CDataExchange& exchange, HWND control, std::wstring& text)
{
    const std::wstring shown = CWnd::TextOf(control);
    if (exchange.IsSaving()) {
        text = shown;
    } else if (shown != text) {
        SetWindowTextW(control, text.c_str());
    }
}

}  // namespace

void DDX_Control(CDataExchange& exchange, int id, CWnd& control)
{
    if (control.m_hWnd == nullptr) {
        control.SubclassWindow(exchange.GetControl(id));
    }
}

void DDX_Text(CDataExchange& exchange, int id, std::wstring& text)
{
    const HWND control = exchange.GetControl(id);
    if (control != nullptr) {
        MoveText(exchange, control, text);
    }
}

void DDX_Text(CDataExchange& exchange, const CWnd& control, std::wstring& text)
{
    MoveText(exchange, control.m_hWnd, text);
}
