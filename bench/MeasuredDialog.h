#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/UTtabEntry.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "tests/support/ZelmarRegistry.h"
#include "ui/TalvenorDlg.h"

// The program's main dialog, operated by the commands that its buttons and menus send. Modeless, so that
// control returns to the benchmark after each command. Message boxes are recorded and answered without being
// shown. While the object exists, the program's registry settings are replaced. After a crash, they stay
// replaced.
class CMeasuredDialog
{
public:
    // The list starts with the folder's map file or, if there is none, with its parts. The list is empty if
    // the folder does not exist.
    explicit CMeasuredDialog(const std::wstring& partsFolder);
    CMeasuredDialog(const CMeasuredDialog&) = delete;
    CMeasuredDialog& operator=(const CMeasuredDialog&) = delete;

    // Presses a button or chooses a menu command, and returns when the messages that follow are handled and
    // the line below the list is up to date.
    void Press(int id);
    // Waits in the same way after any other change of the list.
    void Finish();
    // Applies the template of column 1 or 2 to the selected rows. Returns when all rows have their new texts.
    void ApplyTemplate(int column) const;

    [[nodiscard]] HWND Window() const { return m_dialog.m_hWnd; }
    [[nodiscard]] CConversionTable& Table() const { return *m_table; }
    [[nodiscard]] std::vector<UTtab_entry> Rows() const;

    CMessageRecorder m_messages;

private:
    CZelmarRegistry m_settings;
    class CDialogWithIdle : public CTalvenorDlg
    {
    public:
        using CTalvenorDlg::CallIdle;  // only a modal loop would call it, and this dialog is modeless
    };
    CDialogWithIdle m_dialog;
    CConversionTable* m_table;
};

// Runs `work` inside an application with OLE and resources. Returns the exit status: 1 after an exception or
// a failed EXPECT of the test scopes.
int RunInApplication(const std::function<void()>& work);
