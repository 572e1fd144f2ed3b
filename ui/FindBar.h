#pragma once

#include <string>

#include "framework/Controls.h"
#include "ui/ConvList.h"
#include "ui/StatusLine.h"

// The find field beside the status line, hidden until Ctrl+F. While the user types, the list selects the
// first row that contains the text in any column, ignoring case. The search starts at the focused row and
// wraps around at the end of the list. Enter and F3 go to the next such row, with Shift to the previous one.
// Escape closes the field. The field keeps Enter and Escape to itself, or they would press the default button
// and close the dialog.
class CFindBar : public CEdit
{
public:
    CFindBar(CConvList& list, CStatusLine& status) : m_list(list), m_status(status) {}

    bool PreTranslateMessage(MSG& message) override;

    // Handles Ctrl+F and F3 anywhere in the dialog. Returns true when the message was one of them.
    bool TakeKey(const MSG& message);

    // Shows the field, with its text selected, and gives it the focus.
    void Open();

    // Selects the next or the previous row that contains the text; opens the field when it has no text.
    void FindNext(bool forward);

    // Call it when the text of the field has changed.
    void OnChange();

private:
    void Close();
    void Find(int start, bool forward);

    CConvList& m_list;
    CStatusLine& m_status;
};
