#pragma once

#include <string>
#include <vector>

#include "framework/Controls.h"
#include "ui/CellEdit.h"

// The drop-down list from which a cell of a list is given one of several texts. Enter, the loss of the focus
// and the closing of its list end it with the chosen text, Escape without one. The object belongs to its
// window and goes with it.
class CInPlaceList : public CComboBox
{
public:
    // Opens an editor for the cell at a place in the list's client area; the cell's text is chosen when it is
    // among the choices. Nothing happens when the system refuses the window. The list moves the focus to
    // itself when it hears that the drop-down list closed up (CBN_CLOSEUP of IDC_IN_PLACE_LIST).
    static void Open(const CListCtrl& list, int row, int column, const RECT& place,
                     const std::vector<std::wstring>& choices);

    bool PreTranslateMessage(MSG& message) override;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    void PostNcDestroy() override;

private:
    CInPlaceList(int row, int column, std::wstring text);
    void Begin(const CListCtrl& list, const std::vector<std::wstring>& choices) const;
    LRESULT OnKeyDown(WPARAM wParam, LPARAM lParam);
    void OnKillFocus();

    CCellEdit m_cell;
};
