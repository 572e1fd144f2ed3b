#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/UTtabEntry.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "tests/support/ZelmarRegistry.h"
#include "ui/TalvenorDlg.h"

// The program's main dialog, operated by the commands that its buttons and menus send. It is modeless here,
// so that the benchmark can measure between commands. Message boxes are recorded and answered without being
// shown. Changes the registry settings, so use a Wine prefix of its own.
class CMeasuredDialog
{
public:
    // The dialog starts with the contents of this folder, which need not exist.
    explicit CMeasuredDialog(const std::wstring& partsFolder);
    CMeasuredDialog(const CMeasuredDialog&) = delete;
    CMeasuredDialog& operator=(const CMeasuredDialog&) = delete;

    // Sends the command of the button.
    void Press(int id) const;
    // Applies the template of column 1 or 2 to the selected rows, like the menu of the list.
    void ApplyTemplate(int column) const;

    [[nodiscard]] HWND Window() const { return m_dialog.m_hWnd; }
    [[nodiscard]] CConversionTable& Table() const { return *m_table; }
    [[nodiscard]] std::vector<UTtab_entry> Rows() const;

    CZelmarRegistry m_settings;
    CMessageRecorder m_messages;

private:
    CTalvenorDlg m_dialog;
    CConversionTable* m_table;
};

// Does the work within an application object, which dialogs need. Returns the exit status.
int RunBench(const std::function<void()>& work);
