#include "ui/InPlaceEdit.h"

#include <algorithm>
#include <array>
#include <memory>

#include "framework/WindowFontDC.h"
#include "resources/resource.h"

namespace {

// How much wider than its text the edit is kept, in pixels.
constexpr int kMarginAfterText = 5;

DWORD AlignmentOf(int columnFormat)
{
    switch (columnFormat) {
        case LVCFMT_RIGHT:
            return ES_RIGHT;
        case LVCFMT_CENTER:
            return ES_CENTER;
        default:
            return ES_LEFT;
    }
}

}  // namespace

CInPlaceEdit::CInPlaceEdit(const CListCtrl& list, int row, int column) : m_cell(list, row, column) {}

void CInPlaceEdit::Open(const CListCtrl& list, int row, int column, const RECT& place)
{
    std::unique_ptr<CInPlaceEdit> editor(new CInPlaceEdit(list, row, column));
    const DWORD style = WS_VISIBLE | WS_BORDER | ES_AUTOHSCROLL | AlignmentOf(list.GetColumnFormat(column));
    if (editor->CreateChild(WC_EDITW, style, place, list, IDC_IN_PLACE_EDIT)) {
        editor.release()->Begin(list);  // PostNcDestroy deletes it
    }
}

void CInPlaceEdit::PostNcDestroy()
{
    delete this;
}

void CInPlaceEdit::Begin(const CListCtrl& list) const
{
    m_cell.Begin(*this, list);
    SetWindowText(m_cell.InitialText());
    FocusAndSelectAll();
}

const MessageMap* CInPlaceEdit::GetMessageMap() const
{
    static constexpr std::array kEntries{
        OnMessage<&CInPlaceEdit::OnChar>(WM_CHAR),
        OnMessage<&CInPlaceEdit::OnMouseWheel>(WM_MOUSEWHEEL),
        OnMessage<&CInPlaceEdit::OnKillFocus>(WM_KILLFOCUS),
    };
    static const MessageMap kMap{CEdit::GetMessageMap(), kEntries};
    return &kMap;
}

bool CInPlaceEdit::PreTranslateMessage(MSG& message)
{
    if (CCellEdit::KeepsKey(message)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
        return true;
    }
    return CEdit::PreTranslateMessage(message);
}

LRESULT CInPlaceEdit::OnChar(WPARAM wParam, LPARAM lParam)
{
    if (wParam == VK_ESCAPE || wParam == VK_RETURN) {
        if (wParam == VK_ESCAPE) {
            m_cell.Cancel();
        }
        FocusList();  // deletes this object
        return 0;
    }
    const LRESULT result = CEdit::OnChar(wParam, lParam);
    GrowToText();
    return result;
}

// Passes the wheel to the list, whose scrolling ends this edit.
LRESULT CInPlaceEdit::OnMouseWheel(WPARAM wParam, LPARAM lParam)
{
    return ::SendMessageW(GetParent(m_hWnd), WM_MOUSEWHEEL, wParam, lParam);
}

void CInPlaceEdit::OnKillFocus()
{
    Default();
    m_cell.End(*this);
}

void CInPlaceEdit::FocusList() const
{
    ::SetFocus(GetParent(m_hWnd));
}

// Widens the edit to fit its text, at most to the right edge of the list's client area.
void CInPlaceEdit::GrowToText() const
{
    const HWND list = GetParent(m_hWnd);
    const std::wstring text = GetWindowText();
    SIZE extent{};
    GetTextExtentPoint32W(CWindowFontDC(list).Get(), text.c_str(), static_cast<int>(text.size()), &extent);
    const LONG missing = extent.cx + kMarginAfterText - GetClientRect().right;
    if (missing <= 0) {
        return;
    }
    RECT place{};
    GetWindowRect(m_hWnd, &place);
    MapWindowPoints(nullptr, list, reinterpret_cast<POINT*>(&place), 2);
    RECT limits{};
    ::GetClientRect(list, &limits);
    place.right = std::max(place.right, std::min(place.right + missing, limits.right));
    SetWindowPos(m_hWnd, nullptr, 0, 0, place.right - place.left, place.bottom - place.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ShowAsMuchAsPossible();
}

// Scrolls the text back as far as possible with the caret still visible: while the edit was too narrow, the
// text has scrolled.
void CInPlaceEdit::ShowAsMuchAsPossible() const
{
    const auto [start, end] = GetSel();
    SetSel(0, 0);
    ScrollCaret();
    SetSel(static_cast<int>(start), static_cast<int>(end));
    ScrollCaret();
}
