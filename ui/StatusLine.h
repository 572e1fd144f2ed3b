#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "core/ConversionTable.h"
#include "files/NamesToCheck.h"

// The line below the list: the numbers of rows, of pending and of selected rows, and a button that goes to
// the next name to check, shown while there is one. It is brought up to date a moment after the last command:
// commands change thousands of rows one by one.
class CStatusLine
{
public:
    explicit CStatusLine(const CConversionTable& table) : m_table(table) {}

    // Call it once, when the dialog has its controls.
    void Begin(HWND dialog);

    // The list has sent a notification.
    void OnNotify(const NMHDR& header);

    // The texts of rows may have changed.
    void NamesChanged();

    // Handles the dialog's WM_TIMER.
    void OnTimer(WPARAM timer);

    // Shows a text in place of the numbers until the selection or a row changes.
    void Say(const std::wstring& text);

    [[nodiscard]] bool HasNamesToCheck() const { return !m_toCheck.empty(); }

    // Selects the next row with a name to check, after the focused row and from the top again, and says what
    // is to be checked. Does nothing when there is none.
    void GoToNextName();

private:
    void Schedule();
    void Update();
    void FindNames();
    [[nodiscard]] std::wstring Problem(const NameToCheck& name) const;

    const CConversionTable& m_table;
    HWND m_dialog = nullptr;
    std::vector<NameToCheck> m_toCheck;
    std::wstring m_numbers;
    bool m_scheduled = false;
    bool m_namesChanged = false;
};
