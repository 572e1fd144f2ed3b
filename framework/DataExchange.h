#pragma once

#include <windows.h>

// One exchange between a dialog's members and its controls. DoDataExchange passes it to the functions of
// DialogData.h.
class CDataExchange
{
public:
    CDataExchange(HWND dialog, bool save) : m_dialog(dialog), m_saving(save) {}

    // Whether the exchange copies from the controls to the members, not from the members to the controls.
    [[nodiscard]] bool IsSaving() const { return m_saving; }

    // Whether the dialog has every control of the exchange.
    [[nodiscard]] bool Succeeded() const { return m_succeeded; }

    // The control's window. Null when the dialog has no such control; the exchange then fails.
    [[nodiscard]] HWND GetControl(int id)
    {
        const HWND control = GetDlgItem(m_dialog, id);
        m_succeeded = m_succeeded && control != nullptr;
        return control;
    }

private:
    HWND m_dialog;
    bool m_saving;
    bool m_succeeded = true;
};
