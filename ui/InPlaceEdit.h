#pragma once

#include "framework/Controls.h"
#include "ui/CellEdit.h"

// The edit for a cell of a list. Enter and loss of the focus pass the text to the list; Escape discards the
// text. The object is owned by its window.
class CInPlaceEdit : public CEdit
{
public:
    // Opens an editor for the cell at a place in the list's client area, with the cell's text selected and
    // aligned as its column. Does nothing when the window cannot be created.
    static void Open(const CListCtrl& list, int row, int column, const RECT& place);

    bool PreTranslateMessage(MSG& message) override;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    void PostNcDestroy() override;

private:
    CInPlaceEdit(const CListCtrl& list, int row, int column);
    void Begin(const CListCtrl& list) const;
    LRESULT OnChar(WPARAM wParam, LPARAM lParam);
    LRESULT OnMouseWheel(WPARAM wParam, LPARAM lParam);
    void OnKillFocus();
    void FocusList() const;
    void GrowToText() const;
    void ShowAsMuchAsPossible() const;

    CCellEdit m_cell;
};
