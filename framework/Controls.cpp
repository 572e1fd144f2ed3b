#include "framework/Controls.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <optional>
#include <utility>

#include "framework/Clipboard.h"
#include "framework/ResourceHandle.h"

namespace {

// Most texts fit, and are read in one message.
constexpr std::size_t kFirstBufferSize = 260;

// The character that Ctrl+Backspace types. The edit control would insert the character (undocumented).
constexpr wchar_t kDelete = 0x7F;

// The window's rectangle in screen coordinates; empty for a null window.
RECT WindowRect(HWND window)
{
    RECT place{};
    GetWindowRect(window, &place);
    return place;
}

}  // namespace

CEdit::Selection CEdit::GetSel() const
{
    Selection selection{};
    SendMessage(EM_GETSEL, reinterpret_cast<WPARAM>(&selection.start),
                reinterpret_cast<LPARAM>(&selection.end));
    return selection;
}

void CEdit::FocusAndSelectAll() const
{
    SetFocus();
    SetSel(0, -1);
    ScrollCaret();
}

const MessageMap* CEdit::GetMessageMap() const
{
    static constexpr std::array kEntries{
        OnMessage<&CEdit::OnChar>(WM_CHAR),
        OnMessage<&CEdit::OnPaste>(WM_PASTE),
    };
    static const MessageMap kMap{CWnd::GetMessageMap(), kEntries};
    return &kMap;
}

LRESULT CEdit::OnChar(WPARAM wParam, LPARAM)
{
    if (wParam != kDelete) {
        return Default();
    }
    DeleteWordBeforeCaret();
    return 0;
}

void CEdit::DeleteWordBeforeCaret() const
{
    auto [start, end] = GetSel();
    if (start == end) {
        const std::wstring text = GetWindowText();
        while (start > 0 && text[start - 1] == L' ') {
            --start;
        }
        while (start > 0 && text[start - 1] != L' ') {
            --start;
        }
        SetSel(static_cast<int>(start), static_cast<int>(end));
    }
    SendMessage(EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L""));
}

// Replaces the default handling because copied spreadsheet cells are separated by tabs, which no file name
// can contain.
void CEdit::OnPaste()
{
    if (std::optional<std::wstring> text = ReadClipboard(m_hWnd)) {
        const std::wstring inserted = CutToLimit(TextToPaste(std::move(*text)));
        SendMessage(EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(inserted.c_str()));
    }
}

std::wstring CEdit::TextToPaste(std::wstring text) const
{
    text.resize(std::min(text.size(), text.find_first_of(L"\r\n")));
    const auto isControl = [](wchar_t character) { return std::iswcntrl(character) != 0; };
    std::ranges::replace_if(text, isControl, L' ');
    return text;
}

// The control itself cuts off what exceeds its limit, even within a character of two units.
std::wstring CEdit::CutToLimit(std::wstring inserted) const
{
    const auto limit = static_cast<std::size_t>(SendMessage(EM_GETLIMITTEXT));
    const auto [start, end] = GetSel();
    const std::size_t kept = GetWindowText().size() - (end - start);
    std::size_t room = std::max(limit, kept) - kept;
    if (room < inserted.size()) {
        room -= room > 0 && IS_SURROGATE_PAIR(inserted[room - 1], inserted[room]) ? 1 : 0;
        inserted.resize(room);
    }
    return inserted;
}

const MessageMap* CComboBox::GetMessageMap() const
{
    static constexpr std::array kEntries{OnMessage<&CComboBox::OnMouseWheel>(WM_MOUSEWHEEL)};
    static const MessageMap kMap{CWnd::GetMessageMap(), kEntries};
    return &kMap;
}

// The system may send the wheel's message to the window under the pointer, even without the focus
// ("SystemParametersInfoW function", SPI_SETMOUSEWHEELROUTING). A closed combo box would then change its
// selection, unnoticed by a user who scrolls past. So the combo box's parent gets the message instead.
LRESULT CComboBox::OnMouseWheel(WPARAM wParam, LPARAM lParam)
{
    if (SendMessage(CB_GETDROPPEDSTATE) != FALSE) {
        return Default();
    }
    return ::SendMessageW(GetParent(m_hWnd), WM_MOUSEWHEEL, wParam, lParam);
}

std::wstring CComboBox::GetLBText(int index) const
{
    const LRESULT length = SendMessage(CB_GETLBTEXTLEN, static_cast<WPARAM>(index));
    if (length == CB_ERR) {
        return {};
    }
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    SendMessage(CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(text.data()));
    return text;
}

// A themed bar moves gradually to a greater position and lags behind, but moves at once to a smaller position
// (undocumented). So the bar is set one position too far and then back. The bar cannot be set beyond the end
// of the range. There it is set to the end, one position back, which shows at once, and to the end again:
// only that last position shows gradually.
void CProgressCtrl::SetPos(int position)
{
    m_onTheWay = true;
    if (const int before = GetPos(); before < position) {
        SendMessage(PBM_DELTAPOS, static_cast<WPARAM>(position + 1 - before));
        if (GetPos() == position) {
            SendMessage(PBM_DELTAPOS, static_cast<WPARAM>(-1));
        }
    }
    m_onTheWay = false;
    SendMessage(PBM_SETPOS, static_cast<WPARAM>(position));
}

const MessageMap* CProgressCtrl::GetMessageMap() const
{
    static constexpr std::array kEntries{OnMessage<&CProgressCtrl::OnPaint>(WM_PAINT)};
    static const MessageMap kMap{CWnd::GetMessageMap(), kEntries};
    return &kMap;
}

// On the way, leaves the bar invalid: the control may update itself at each position, and the last one paints
// what all of them have invalidated.
void CProgressCtrl::OnPaint()
{
    if (!m_onTheWay) {
        Default();
    }
}

bool CImageList::Create(UINT bitmapId, int width, int growBy, COLORREF mask)
{
    m_imageList.reset(ImageList_LoadImageW(GetResourceHandle(), MAKEINTRESOURCEW(bitmapId), width, growBy,
                                           mask, IMAGE_BITMAP, LR_CREATEDIBSECTION));
    return m_imageList != nullptr;
}

int CListCtrl::InsertColumn(int column, const std::wstring& text, int width, int format) const
{
    LVCOLUMNW description{};
    description.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT | LVCF_SUBITEM;
    description.fmt = format;
    description.cx = width;
    description.pszText = const_cast<wchar_t*>(text.c_str());
    description.iSubItem = column;
    return static_cast<int>(
        SendMessage(LVM_INSERTCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&description)));
}

int CListCtrl::GetColumnCount() const
{
    return Header_GetItemCount(GetHeader());
}

std::wstring CListCtrl::GetColumnText(int column) const
{
    std::array<wchar_t, 256> text{};
    LVCOLUMNW description{};
    description.mask = LVCF_TEXT;
    description.pszText = text.data();
    description.cchTextMax = static_cast<int>(text.size());
    SendMessage(LVM_GETCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&description));
    return text.data();
}

int CListCtrl::GetColumnFormat(int column) const
{
    LVCOLUMNW description{};
    description.mask = LVCF_FMT;
    SendMessage(LVM_GETCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&description));
    return description.fmt & LVCFMT_JUSTIFYMASK;
}

std::vector<int> CListCtrl::GetColumnOrder() const
{
    std::vector<int> order(static_cast<std::size_t>(GetColumnCount()));
    ListView_GetColumnOrderArray(m_hWnd, static_cast<int>(order.size()), order.data());
    return order;
}

void CListCtrl::SetColumnOrder(std::vector<int> order) const
{
    ListView_SetColumnOrderArray(m_hWnd, static_cast<int>(order.size()), order.data());
}

RECT CListCtrl::GetRowRect(int row) const
{
    RECT rect{};
    ListView_GetItemRect(m_hWnd, row, &rect, LVIR_BOUNDS);
    return rect;
}

std::wstring CListCtrl::GetItemText(int row, int column) const
{
    std::array<wchar_t, kFirstBufferSize> buffer;
    std::size_t length = ReadItemText(row, column, buffer.data(), buffer.size());
    if (length + 1 < buffer.size()) {
        return {buffer.data(), length};
    }
    // The control truncates silently ("LVM_GETITEMTEXT message"): a full buffer may hold only a part of the
    // text.
    std::wstring text(buffer.size(), L'\0');
    while (length + 1 >= text.size()) {
        text.resize(text.size() * 2);
        length = ReadItemText(row, column, text.data(), text.size());
    }
    text.resize(length);
    return text;
}

// Returns the number of characters in the buffer, without the NUL.
std::size_t CListCtrl::ReadItemText(int row, int column, wchar_t* buffer, std::size_t size) const
{
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = buffer;
    item.cchTextMax = static_cast<int>(size);
    return static_cast<std::size_t>(
        SendDirect(LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item)));
}

void CListCtrl::SetItemText(int row, int column, const wchar_t* text) const
{
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = const_cast<wchar_t*>(text);
    SendDirect(LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

LPARAM CListCtrl::GetItemData(int row) const
{
    LVITEMW item{};
    item.mask = LVIF_PARAM;
    item.iItem = row;
    GetItem(item);
    return item.lParam;
}

void CListCtrl::SetItemState(int row, UINT state, UINT mask) const
{
    LVITEMW item{};
    item.state = state;
    item.stateMask = mask;
    SendDirect(LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

// While redraw is off, the list view may validate a part of its header that has not been painted yet. The
// list view also leaves a header that has moved unpainted (both observed; not mentioned in "WM_SETREDRAW
// message"). The destructor repairs both.
CRedrawPause::CRedrawPause(const CListCtrl& list)
    : m_list(list)
    , m_outermost(list.m_redrawPauses++ == 0)
    , m_header(list.GetHeader())
    , m_headerNeededRedraw(GetUpdateRect(m_header, nullptr, FALSE) != FALSE)
    , m_headerPlace(WindowRect(m_header))
{
    if (m_outermost) {
        m_list.SendMessage(WM_SETREDRAW, FALSE);
    }
}

CRedrawPause::~CRedrawPause()
{
    --m_list.m_redrawPauses;
    if (!m_outermost) {
        return;
    }
    m_list.SendMessage(WM_SETREDRAW, TRUE);
    const RECT place = WindowRect(m_header);
    const bool drawHeader = m_headerNeededRedraw || !EqualRect(&place, &m_headerPlace);
    RedrawWindow(m_list.m_hWnd, nullptr, nullptr,
                 RDW_ERASE | RDW_FRAME | RDW_INVALIDATE | (drawHeader ? RDW_ALLCHILDREN : 0U));
}
