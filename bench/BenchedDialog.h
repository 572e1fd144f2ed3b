#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/UTtabEntry.h"
#include "tests/acceptance/ZelmarRegistry.h"
#include "tests/windows/TestScopes.h"
#include "tests/windows/WindowScopes.h"
#include "ui/TalvenorDlg.h"

// The program's own main dialog, shown and worked by its own commands, which are sent as its buttons and
// menus send them. It is modeless here, so that whoever measures gets back to it; message boxes are answered
// at once and kept. The settings of the machine are the bench's: it runs where nobody else needs them.
class CBenchedDialog
{
public:
    // The dialog begins with the contents of this folder, which need not be there.
    explicit CBenchedDialog(const std::wstring& partsFolder);
    CBenchedDialog(const CBenchedDialog&) = delete;
    CBenchedDialog& operator=(const CBenchedDialog&) = delete;

    // Presses the button.
    void Press(int id) const;
    // Has the template of a column (1 or 2) applied to the selected rows, as the list's menu does.
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

// The application object that dialogs ask for: does the work and ends.
int RunBench(const std::function<void()>& work);
