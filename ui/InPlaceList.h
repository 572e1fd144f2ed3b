#pragma once

#include <string>
#include <vector>

#include "framework/Controls.h"
#include "ui/CellEdit.h"

// The drop-down list for a cell of a list. Enter, loss of the focus and closing the drop-down pass the chosen
// text to the list; Escape discards the choice. The object is owned by its window.
class CInPlaceList : public CComboBox
{
public:
    // Opens an editor for the cell at a place in the list's client area, with the cell's text chosen if it is
    // among the choices. Does nothing when the window cannot be created. On CBN_CLOSEUP of IDC_IN_PLACE_LIST
    // the list view must take the focus.
    static void Open(const CListCtrl& list, int row, int column, const RECT& place,
                     const std::vector<std::wstring>& choices);

    bool PreTranslateMessage(MSG& message) override;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    void PostNcDestroy() override;

private:
    CInPlaceList(const CListCtrl& list, int row, int column);
    void Begin(const CListCtrl& list, const std::vector<std::wstring>& choices) const;
    LRESULT OnKeyDown(WPARAM wParam, LPARAM lParam);
    void OnKillFocus();

    CCellEdit m_cell;
};
