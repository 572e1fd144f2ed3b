#pragma once

#include <windows.h>

#include <string>

#include "framework/Controls.h"

// What the list's two cell editors share: the cell, the keys that the editor keeps, and the end of the edit.
class CCellEdit
{
public:
    // Reads all texts that Begin needs, so that Begin cannot throw: an editor that stayed open without its
    // text would later empty the cell.
    CCellEdit(const CListCtrl& list, int row, int column);

    [[nodiscard]] const std::wstring& InitialText() const { return m_text; }

    // Sets the list's font and an accessible name: the column's header and the row's original file name.
    void Begin(const CWnd& editor, const CListCtrl& list) const;

    // Makes End discard the text.
    void Cancel() { m_cancelled = true; }

    // Sends LVN_ENDLABELEDIT to the parent of the list, with the editor's text, or without a text after
    // Cancel. Then destroys the editor. Calls during the first call do nothing: a message box may move the
    // focus to the editor and away again.
    void End(const CWnd& editor);

    // Whether the message is a key that the editor handles before the dialog and the list: Enter, Escape,
    // Delete, and every key with Ctrl.
    [[nodiscard]] static bool KeepsKey(const MSG& message);

private:
    int m_row;
    int m_column;
    std::wstring m_text;  // before the edit
    std::wstring m_accessibleName;
    bool m_cancelled = false;
    bool m_ended = false;
};
