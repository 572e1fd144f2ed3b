#include "ui/ConvList.h"

#include <windowsx.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "core/NameTemplate.h"
#include "framework/Language.h"
#include "framework/WindowFontDC.h"
#include "platform/TemplateStore.h"
#include "resources/resource.h"
#include "ui/DlgTemplate.h"
#include "ui/InPlaceEdit.h"
#include "ui/InPlaceList.h"

namespace {

constexpr Text kRenamedMenuTitle{L"Spalte: Umbenannt nach...", L"Column: Renamed to..."};
constexpr Text kBomNameMenuTitle{L"Spalte: Benennung d. Stücklisteneintrags...", L"Column: BOM names..."};

// Said by screen readers.
constexpr Text kPending{L"vorgemerkt", L"marked for conversion"};
constexpr Text kConverted{L"umgesetzt", L"converted"};

// Limits of the column width and the step of a key press, in pixels at 100 % scaling.
constexpr int kMinColumnWidth = 80;
constexpr int kMaxColumnWidth = 400;
constexpr int kColumnWidthStep = 10;

// An editor's place in its cell, in pixels.
constexpr int kNarrowestEditedColumn = 5;
constexpr int kEditorIndent = 4;
constexpr int kEditorGap = 3;

// From the header to the start of the column lines, in pixels.
constexpr int kLineGap = 2;

bool IsGenerated(int column)
{
    return column == kColumnRenamed || column == kColumnBomName;
}

bool IsDown(int key)
{
    return GetKeyState(key) < 0;
}

}  // namespace

CConvList::CConvList() : m_menus{CColumnMenu(kRenamedMenuTitle), CColumnMenu(kBomNameMenuTitle)} {}

const MessageMap* CConvList::GetMessageMap() const
{
    using Self = CConvList;
    static constexpr std::array kEntries{
        OnMessage<&Self::OnScroll>(WM_HSCROLL),
        OnMessage<&Self::OnScroll>(WM_VSCROLL),
        OnMessage<&Self::OnWheel>(WM_MOUSEWHEEL),
        OnMessage<&Self::OnWheel>(WM_MOUSEHWHEEL),
        OnMessage<&Self::OnPaint>(WM_PAINT),
        OnMessage<&Self::OnLButtonDown>(WM_LBUTTONDOWN),
        OnMessage<&Self::OnLButtonDblClk>(WM_LBUTTONDBLCLK),
        OnMessage<&Self::OnRButtonDown>(WM_RBUTTONDOWN),
        OnMessage<&Self::OnContextMenu>(WM_CONTEXTMENU),
        ::OnCommand<&Self::OnInPlaceListClosed>(IDC_IN_PLACE_LIST, CBN_CLOSEUP),
        ::OnNotify<&Self::OnHeaderBeginDrag>(HDN_BEGINTRACKW),
        ::OnNotify<&Self::OnHeaderBeginDrag>(HDN_DIVIDERDBLCLICKW),
        ::OnNotify<&Self::OnHeaderBeginDrag>(HDN_BEGINDRAG),
        ::OnNotify<&Self::OnHeaderItemChanging>(HDN_ITEMCHANGINGW),
        ::OnNotify<&Self::OnHeaderItemChanged>(HDN_ITEMCHANGEDW),
        OnReflectedNotify<&Self::OnEndLabelEditNotify>(LVN_ENDLABELEDITW),
    };
    static const MessageMap kMap{CConversionTable::GetMessageMap(), kEntries};
    return &kMap;
}

// ---- Places

// The columns from left to right.
std::vector<CConvList::ColumnPlace> CConvList::ColumnPlaces() const
{
    std::vector<ColumnPlace> places;
    int left = -GetScrollPos(m_hWnd, SB_HORZ);
    for (const int column : GetColumnOrder()) {
        const int right = left + GetColumnWidth(column);
        places.push_back({column, left, right});
        left = right;
    }
    return places;
}

std::optional<int> CConvList::ColumnAt(int x) const
{
    for (const ColumnPlace& place : ColumnPlaces()) {
        if (x >= place.left && x < place.right) {
            return place.column;
        }
    }
    return std::nullopt;
}

std::optional<int> CConvList::RowAt(POINT point) const
{
    const int bottom = GetClientRect().bottom;
    for (int row = GetTopIndex(); row < GetItemCount(); ++row) {
        const RECT place = GetRowRect(row);
        if (point.y >= place.top && point.y < place.bottom) {
            return row;
        }
        if (place.bottom >= bottom) {
            break;
        }
    }
    return std::nullopt;
}

// The place of a column that exists.
CConvList::ColumnPlace CConvList::PlaceOf(int column) const
{
    const std::vector<ColumnPlace> places = ColumnPlaces();
    return *std::ranges::find(places, column, &ColumnPlace::column);
}

bool CConvList::IsReport() const
{
    return (GetWindowLongPtrW(m_hWnd, GWL_STYLE) & LVS_TYPEMASK) == LVS_REPORT;
}

int CConvList::HeaderHeight() const
{
    RECT header{};
    ::GetClientRect(GetHeader(), &header);
    return header.bottom;
}

// ---- Windows messages

// Scrolling ends an open edit. SB_ENDSCROLL (the release of the scroll bar) must not move the focus: a
// message about the typed folder may just have returned the focus to the folder field.
LRESULT CConvList::OnScroll(WPARAM wParam, LPARAM)
{
    if (LOWORD(wParam) != SB_ENDSCROLL) {
        SetFocus();
    }
    return Default();
}

// Takes the focus from an open cell editor only: the wheel also scrolls a list that does not have the focus.
void CConvList::OnWheel()
{
    EndEdit();
    Default();
}

// Continues the columns' grid lines below the last row.
void CConvList::OnPaint()
{
    RECT damaged{};
    GetUpdateRect(m_hWnd, &damaged, FALSE);
    Default();
    if (!IsReport()) {
        return;
    }
    const CWindowFontDC dc(m_hWnd);
    const RECT client = GetClientRect();
    const int top = HeaderHeight() + kLineGap;
    for (const ColumnPlace& place : ColumnPlaces()) {
        if (place.right > client.right) {
            break;
        }
        const RECT line{place.right - 1, top, place.right, client.bottom};
        RECT part{};
        if (IntersectRect(&part, &line, &damaged) != FALSE) {
            FillRect(dc.Get(), &part, GetSysColorBrush(COLOR_3DFACE));
        }
    }
}

LRESULT CConvList::OnLButtonDown(WPARAM, LPARAM)
{
    return EndEditInPress() ? 0 : Default();
}

LRESULT CConvList::OnLButtonDblClk(WPARAM, LPARAM lParam)
{
    Default();
    const POINT point{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    const std::optional<int> row = RowAt(point);
    const std::optional<int> column = ColumnAt(point.x);
    if (!row || !column) {
        return 0;
    }
    if (GetItemState(*row, LVIS_FOCUSED) != 0 && IsGenerated(*column)) {
        EditCell(*row, *column);
    } else {
        SelectAndFocus(*row);
    }
    return 0;
}

LRESULT CConvList::OnRButtonDown(WPARAM, LPARAM lParam)
{
    EndEdit();  // before the menu opens
    POINT point{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    const std::optional<int> column = ColumnAt(point.x);
    if (!column) {
        return Default();
    }
    // Below the last row, the column's number is used as the row: see docs/decisions.md.
    const Cell cell{RowAt(point).value_or(*column), *column};
    SelectAndFocus(cell.row);
    CColumnMenu::Command command = CColumnMenu::none;
    if (IsGenerated(cell.column)) {
        ClientToScreen(m_hWnd, &point);
        command = MenuOf(cell.column).Show(m_hWnd, point);
    }
    // The default handling waits to tell a click from a drag, and dispatches posted messages meanwhile
    // ("DragDetect function"). Commands post messages that act on the selection, so the chosen command is
    // performed only after the selection is restored.
    const LRESULT result = DefaultKeepingSelection(lParam);
    Perform(command, cell);
    return result;
}

// The menu key; OnRButtonDown handles clicks.
LRESULT CConvList::OnContextMenu(WPARAM, LPARAM lParam)
{
    const bool byKeyboard = GET_X_LPARAM(lParam) == -1 && GET_Y_LPARAM(lParam) == -1;
    if (!byKeyboard) {
        return Default();
    }
    // The message comes when the menu key is released; Ctrl may have been released before.
    ShowMenuByKeyboard(std::exchange(m_ctrlAtMenuKey, false) || IsDown(VK_CONTROL));
    return 0;
}

// Returns the focus to the list, unless the drop-down list closed because another window took the focus.
void CConvList::OnInPlaceListClosed()
{
    if (::GetFocus() == GetDlgItem(IDC_IN_PLACE_LIST)) {
        SetFocus();
    }
}

// Moving or resizing columns ends an open edit.
LRESULT CConvList::OnHeaderBeginDrag(NMHDR&)
{
    return EndEditInPress() ? TRUE : Default();
}

// Ends an open edit. Returns whether the left mouse button was down before and is up afterwards. If so, a
// message box about the text has swallowed the release, and no drag may begin: the drag would follow the
// mouse until the next click.
bool CConvList::EndEditInPress()
{
    const bool wasHeld = IsDown(VK_LBUTTON);
    EndEdit();
    return wasHeld && !IsDown(VK_LBUTTON);
}

// Refuses a width outside the limits.
LRESULT CConvList::OnHeaderItemChanging(NMHDR& header)
{
    const HDITEMW* change = reinterpret_cast<const NMHEADERW&>(header).pitem;
    const bool newWidth = change != nullptr && (change->mask & HDI_WIDTH) != 0;
    if (newWidth && (change->cxy < Scaled(kMinColumnWidth) || change->cxy > Scaled(kMaxColumnWidth))) {
        return TRUE;
    }
    return Default();
}

// Redraws the list below the last row: a new width moves the column lines there.
LRESULT CConvList::OnHeaderItemChanged(NMHDR& header)
{
    const LRESULT result = Default();
    const HDITEMW* change = reinterpret_cast<const NMHEADERW&>(header).pitem;
    if (IsReport() && change != nullptr && (change->mask & HDI_WIDTH) != 0) {
        RECT below = GetClientRect();
        below.top = GetItemCount() > 0 ? GetRowRect(GetItemCount() - 1).bottom : HeaderHeight();
        InvalidateRect(m_hWnd, &below, TRUE);
    }
    return result;
}

LRESULT CConvList::OnEndLabelEditNotify(NMHDR& header)
{
    const LVITEMW& item = reinterpret_cast<const NMLVDISPINFOW&>(header).item;
    return OnEndLabelEdit(item.iItem, item.iSubItem, item.pszText);
}

// ---- Editing

void CConvList::EndEdit() const
{
    if (IsChild(m_hWnd, ::GetFocus()) != FALSE) {
        SetFocus();
    }
}

void CConvList::EditCell(int row, int column)
{
    EndEdit();
    const std::optional<RECT> place = RevealCell(row, column);
    if (place) {
        m_edited = {row, column};
        CInPlaceEdit::Open(*this, row, column, *place);
    }
}

void CConvList::EditCellFromList(int row, int column, const std::vector<std::wstring>& choices)
{
    EndEdit();
    const std::optional<RECT> place = RevealCell(row, column);
    if (place) {
        m_edited = {row, column};
        CInPlaceList::Open(*this, row, column, *place, choices);
    }
}

// Scrolls a cell into view and returns the place of its editor; nullopt when there is no such cell or its
// column is too narrow.
std::optional<RECT> CConvList::RevealCell(int row, int column) const
{
    if (row < 0 || row >= GetItemCount()) {
        return std::nullopt;
    }
    EnsureVisible(row, true);
    if (column < 0 || column >= GetColumnCount() || GetColumnWidth(column) < kNarrowestEditedColumn) {
        return std::nullopt;
    }
    const ColumnPlace cell = RevealColumn(column);
    RECT place = GetRowRect(row);
    place.left = cell.left + kEditorIndent;
    place.right = std::min<LONG>(GetClientRect().right, place.left - kEditorGap + cell.right - cell.left);
    return place;
}

// Scrolls an existing column into view and returns its place. If the column is wider than the list, shows its
// left end.
CConvList::ColumnPlace CConvList::RevealColumn(int column) const
{
    const int width = GetClientRect().right;
    const ColumnPlace place = PlaceOf(column);
    if (place.left >= 0 && place.right <= width) {
        return place;
    }
    ScrollHorizontally(place.left < 0 ? place.left : std::min(place.right - width, place.left));
    return PlaceOf(column);
}

// Moves the edit to the row's other generated column.
void CConvList::EditOtherColumn()
{
    const Cell cell{m_edited.row, m_edited.column == kColumnRenamed ? kColumnBomName : kColumnRenamed};
    EditCell(cell.row, cell.column);
}

// ---- Menus

// Adds an existing row to the selection and focuses it.
void CConvList::SelectAndFocus(int row) const
{
    constexpr UINT kStates = LVIS_SELECTED | LVIS_FOCUSED;
    SetItemState(row, kStates, kStates);
}

const CColumnMenu& CConvList::MenuOf(int column) const
{
    return m_menus[column == kColumnRenamed ? 0 : 1];
}

// Opens the menu of a generated column at its cell in the focused row. Ctrl selects the menu of the BOM
// names, as Shift is already part of Shift+F10. Without a focused row the menu opens below the header; its
// template commands need no row.
void CConvList::ShowMenuByKeyboard(bool bomNames)
{
    const int column = bomNames ? kColumnBomName : kColumnRenamed;
    const int row = FocusedRow();
    const std::optional<RECT> place = RevealCell(row, column);
    if (place) {
        SelectAndFocus(row);
    }
    POINT point =
        place ? POINT{place->left, place->bottom} : POINT{RevealColumn(column).left, HeaderHeight()};
    ClientToScreen(m_hWnd, &point);
    Perform(MenuOf(column).Show(m_hWnd, point), {row, column});
}

// Performs the command chosen from a cell's menu.
void CConvList::Perform(CColumnMenu::Command command, const Cell& cell)
{
    const HWND parent = ::GetParent(m_hWnd);
    switch (command) {
        case CColumnMenu::deleteRows:
            ::PostMessageW(parent, WM_DELETESELECTED, 0, 0);
            break;
        case CColumnMenu::applyTemplate:
            ::PostMessageW(parent, WM_APPLYTEMPLATE, static_cast<WPARAM>(cell.column), 0);
            break;
        case CColumnMenu::editTemplate:
            EditTemplate(cell);
            break;
        case CColumnMenu::none:
            break;
    }
}

// Lets the user change the column's template. If none is stored, the dialog starts with the cell's text.
void CConvList::EditTemplate(const Cell& cell)
{
    CDlgTemplate dialog(g_nLanguage, cell.column,
                        ReadTemplate(cell.column).value_or(GetItemText(cell.row, cell.column)),
                        FromHandle(::GetParent(m_hWnd)));
    const bool exists = cell.row >= 0 && cell.row < GetItemCount();
    dialog.SetSample(GetItemText(exists ? cell.row : 0, kColumnOriginal));
    dialog.DoModal();
}

// The list view's default handling clears the selection on a click below the rows, but the chosen command
// still needs the selection. The default handling also waits for the release of the button ("DragDetect
// function"). If the button is up already, the menu has swallowed the release, and another release is posted:
// otherwise the wait would last until the next click.
LRESULT CConvList::DefaultKeepingSelection(LPARAM position)
{
    if (!IsDown(VK_RBUTTON)) {
        PostMessage(WM_RBUTTONUP, 0, position);
    }
    const std::vector<int> selected = SelectedRows();
    const LRESULT result = Default();
    if (SelectedRows() != selected) {
        const CRedrawPause pause(*this);
        for (const int row : selected) {
            SetItemState(row, LVIS_SELECTED, LVIS_SELECTED);
        }
    }
    return result;
}

// ---- Keys

bool CConvList::PreTranslateMessage(MSG& message)
{
    const bool keyDown = message.message == WM_KEYDOWN || message.message == WM_SYSKEYDOWN;
    if (message.hwnd == m_hWnd && ((keyDown && OnKey(message.wParam)) || IsEndOfAltDigit(message))) {
        return true;
    }
    const bool fromEditor = message.hwnd != m_hWnd && message.hwnd != GetHeader();
    if (message.message == WM_KEYDOWN && message.wParam == VK_TAB && fromEditor) {
        EditOtherColumn();
        return true;
    }
    return CConversionTable::PreTranslateMessage(message);
}

// F2 and Shift+F2 edit the focused row's generated names, Shift+F10 opens a menu, Ctrl+A selects all rows.
// With a column's number, counted from 1, Ctrl widens the column, Ctrl+Shift narrows it, and Alt moves it one
// place to the right. Alt moves a column in the last place to the first place. Returns false for other keys.
bool CConvList::OnKey(WPARAM key)
{
    const bool control = IsDown(VK_CONTROL);
    const bool alt = IsDown(VK_MENU);
    const int column = static_cast<int>(key) - '1';
    if (key == VK_F2 && !control && !alt) {
        EditCell(FocusedRow(), IsDown(VK_SHIFT) ? kColumnBomName : kColumnRenamed);
        return true;
    }
    if (key == VK_F10 && IsDown(VK_SHIFT)) {
        ShowMenuByKeyboard(control);
        return true;
    }
    if (key == VK_APPS) {
        m_ctrlAtMenuKey = control;
        return false;  // the system sends WM_CONTEXTMENU
    }
    if (key == 'A' && control && !alt) {
        const CRedrawPause pause(*this);
        SetItemState(-1, LVIS_SELECTED, LVIS_SELECTED);  // -1: every row
        return true;
    }
    if (column < 0 || column >= GetColumnCount() || control == alt) {
        return false;
    }
    if (alt) {
        m_altUsed = true;
        MoveRight(column);
    } else {
        Widen(column, IsDown(VK_SHIFT) ? -kColumnWidthStep : kColumnWidthStep);
    }
    return true;
}

// Whether the message is the release of Alt after a digit was pressed with it. The default handling has not
// seen the digit, so it would open the window's menu as after Alt alone ("WM_SYSKEYUP message").
bool CConvList::IsEndOfAltDigit(const MSG& message)
{
    if (message.wParam != VK_MENU) {
        return false;
    }
    if (message.message == WM_SYSKEYDOWN && (HIWORD(message.lParam) & KF_REPEAT) == 0) {
        m_altUsed = false;
    }
    const bool keyUp = message.message == WM_SYSKEYUP || message.message == WM_KEYUP;
    return keyUp && std::exchange(m_altUsed, false);
}

int CConvList::FocusedRow() const
{
    return GetNextItem(-1, LVNI_FOCUSED);
}

void CConvList::Widen(int column, int step) const
{
    SetColumnWidth(column, std::clamp(GetColumnWidth(column) + Scaled(step), Scaled(kMinColumnWidth),
                                      Scaled(kMaxColumnWidth)));
}

std::wstring CConvList::SpokenName(int row) const
{
    if (row < 0 || row >= GetItemCount()) {
        return {};
    }
    return GetItemText(row, kColumnOriginal) + L", " + (IsPending(row) ? kPending : kConverted).Current();
}

void CConvList::ShareExtraWidth(int extra)
{
    if (std::exchange(m_extraWidth, extra) == extra) {
        return;  // the user's own changes stay
    }
    m_shares.resize(static_cast<std::size_t>(GetColumnCount()));
    std::vector<int> own = ColumnWidths();
    for (std::size_t column = 0; column < own.size(); ++column) {
        own[column] = std::max(own[column] - m_shares[column], Scaled(kMinColumnWidth));
    }
    const int total = std::reduce(own.begin(), own.end());
    for (std::size_t column = 0; column < own.size(); ++column) {
        const int share = std::min(MulDiv(extra, own[column], total), Scaled(kMaxColumnWidth) - own[column]);
        m_shares[column] = share;
        SetColumnWidth(static_cast<int>(column), own[column] + share);
    }
}

std::vector<int> CConvList::ColumnWidths() const
{
    std::vector<int> widths;
    for (int column = 0; column < GetColumnCount(); ++column) {
        widths.push_back(GetColumnWidth(column));
    }
    return widths;
}

void CConvList::ScaleColumns(const std::vector<int>& widths, int numerator, int denominator)
{
    for (std::size_t column = 0; column < widths.size(); ++column) {
        SetColumnWidth(static_cast<int>(column), MulDiv(widths[column], numerator, denominator));
    }
    for (int& share : m_shares) {
        share = MulDiv(share, numerator, denominator);
    }
}

void CConvList::MoveRight(int column) const
{
    std::vector<int> order = GetColumnOrder();
    const auto place = std::ranges::find(order, column);
    if (place + 1 == order.end()) {
        std::rotate(order.begin(), place, order.end());
    } else {
        std::iter_swap(place, place + 1);
    }
    SetColumnOrder(std::move(order));
    InvalidateRect(m_hWnd, nullptr, TRUE);
}
