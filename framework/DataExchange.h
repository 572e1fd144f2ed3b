#pragma once

#include <windows.h>

#include <string>

class CWnd;

// One exchange between a dialog's members and its controls, handed to DoDataExchange.
class CDataExchange
{
public:
    CDataExchange(CWnd& dialog, bool save) : m_dialog(dialog), m_bSave(save) {}

    [[nodiscard]] bool IsSaving() const { return m_bSave; }
    [[nodiscard]] CWnd& GetDialog() const { return m_dialog; }
    [[nodiscard]] bool Succeeded() const { return m_bSucceeded; }

    // The control's window; null when the dialog has none of that number, which fails the exchange.
    [[nodiscard]] HWND GetControl(int id);

private:
    CWnd& m_dialog;
    bool m_bSave;
    bool m_bSucceeded = true;
};

// Binds the object to the control at the first exchange.
void DDX_Control(CDataExchange& exchange, int id, CWnd& control);

// Moves a control's text. A text that the control already shows is not set again, so that nothing flickers.
void DDX_Text(CDataExchange& exchange, int id, std::wstring& text);
