#include "ui/InPlaceList.h"

#include <array>
#include <memory>

#include "resources/resource.h"

namespace {

// Maximum height of the drop-down, in cells.
constexpr int kDroppedCells = 8;

}  // namespace

CInPlaceList::CInPlaceList(const CListCtrl& list, int row, int column) : m_cell(list, row, column) {}

void CInPlaceList::Open(const CListCtrl& list, int row, int column, const RECT& place,
                        const std::vector<std::wstring>& choices)
{
    std::unique_ptr<CInPlaceList> editor(new CInPlaceList(list, row, column));
    RECT dropped = place;
    dropped.bottom += kDroppedCells * (place.bottom - place.top);
    if (editor->CreateChild(WC_COMBOBOXW, WS_VISIBLE | WS_VSCROLL | CBS_DROPDOWNLIST, dropped, list,
                            IDC_IN_PLACE_LIST)) {
        editor.release()->Begin(list, choices);  // PostNcDestroy deletes it
    }
}

void CInPlaceList::PostNcDestroy()
{
    delete this;
}

void CInPlaceList::Begin(const CListCtrl& list, const std::vector<std::wstring>& choices) const
{
    m_cell.Begin(*this, list);
    for (const std::wstring& choice : choices) {
        const int index = AddString(choice);
        if (choice == m_cell.InitialText()) {
            SetCurSel(index);
        }
    }
    SetFocus();
}

const MessageMap* CInPlaceList::GetMessageMap() const
{
    static constexpr std::array kEntries{
        OnMessage<&CInPlaceList::OnKeyDown>(WM_KEYDOWN),
        OnMessage<&CInPlaceList::OnKillFocus>(WM_KILLFOCUS),
    };
    static const MessageMap kMap{CComboBox::GetMessageMap(), kEntries};
    return &kMap;
}

bool CInPlaceList::PreTranslateMessage(MSG& message)
{
    if (CCellEdit::KeepsKey(message)) {
        DispatchMessageW(&message);
        return true;
    }
    return CComboBox::PreTranslateMessage(message);
}

LRESULT CInPlaceList::OnKeyDown(WPARAM wParam, LPARAM)
{
    if (wParam != VK_ESCAPE && wParam != VK_RETURN) {
        return Default();
    }
    if (wParam == VK_ESCAPE) {
        m_cell.Cancel();
    }
    ::SetFocus(GetParent(m_hWnd));  // deletes this object
    return 0;
}

// If nothing is chosen, the cell keeps its text.
void CInPlaceList::OnKillFocus()
{
    Default();
    if (GetCurSel() == CB_ERR) {
        m_cell.Cancel();
    }
    m_cell.End(*this);
}
