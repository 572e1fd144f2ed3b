#pragma once

#include <windows.h>

#include <string>

#include "framework/Controls.h"

// What the cell editors of a list share: which cell is edited, which keys the editor keeps, and how the
// outcome reaches the list.
class CCellEdit
{
public:
    // The cell and its text before the edit.
    CCellEdit(int row, int column, std::wstring text);

    [[nodiscard]] const std::wstring& InitialText() const { return m_strText; }

    // Takes over the list's font and tells screen readers which cell is edited: the column's header and what
    // stands in the row's first column.
    void Begin(const CWnd& editor, const CListCtrl& list) const;

    // The edit is to change nothing.
    void Cancel() { m_bCancelled = true; }

    // Sends the edit's end (LVN_ENDLABELEDIT) to the parent of the list that the editor lies in, with the
    // editor's text, or without one when the edit was cancelled, and destroys the editor's window. Only the
    // first call does so: the messages that the end brings up may move the focus to the editor and away from
    // it again.
    void End(const CWnd& editor);

    // Whether a message is a key that goes to the editor whatever the dialog or the list would do with it:
    // Enter, Escape, Delete, and every key while Ctrl is held.
    [[nodiscard]] static bool KeepsKey(const MSG& message);

private:
    int m_nRow;
    int m_nColumn;
    std::wstring m_strText;
    bool m_bCancelled = false;
    bool m_bEnded = false;
};
