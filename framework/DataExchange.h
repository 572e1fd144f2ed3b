#pragma once

#include <windows.h>

// One exchange between a dialog's members and its controls, handed to DoDataExchange, which calls the
// functions of DialogData.h.
class CDataExchange
{
public:
    CDataExchange(HWND dialog, bool save) : m_dialog(dialog), m_saving(save) {}

    // Towards the members.
    [[nodiscard]] bool IsSaving() const { return m_saving; }

    // Every control asked for was there.
    [[nodiscard]] bool Succeeded() const { return m_succeeded; }

    // The control's window; null when the dialog has none of that number, which fails the exchange.
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
