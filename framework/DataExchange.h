#pragma once

#include <windows.h>

// One exchange between a dialog's members and its controls, handed to DoDataExchange, which calls the
// functions of DialogData.h.
class CDataExchange
{
public:
    CDataExchange(HWND dialog, bool save) : m_hDialog(dialog), m_bSave(save) {}

    // Towards the members.
    [[nodiscard]] bool IsSaving() const { return m_bSave; }

    // Every control asked for was there.
    [[nodiscard]] bool Succeeded() const { return m_bSucceeded; }

    // The control's window; null when the dialog has none of that number, which fails the exchange.
    [[nodiscard]] HWND GetControl(int id)
    {
        const HWND control = GetDlgItem(m_hDialog, id);
        m_bSucceeded = m_bSucceeded && control != nullptr;
        return control;
    }

private:
    HWND m_hDialog;
    bool m_bSave;
    bool m_bSucceeded = true;
};
