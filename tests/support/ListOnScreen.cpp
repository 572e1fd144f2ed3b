#include "tests/support/ListOnScreen.h"

#include <commctrl.h>

#include <array>

#include "resources/resource.h"
#include "tests/support/Input.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/Rects.h"
#include "tests/support/TextFile.h"

namespace {

constexpr int kLongestCell = 1024;

// Memory in another process for a structure followed by a text.
template <class Structure>
class CRemote
{
public:
    explicit CRemote(HANDLE process)
        : m_process(process)
        , m_memory(static_cast<BYTE*>(VirtualAllocEx(process, nullptr, sizeof(Structure) + kTextBytes,
                                                     MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE)))
    {
    }
    CRemote(const CRemote&) = delete;
    CRemote& operator=(const CRemote&) = delete;
    ~CRemote() { VirtualFreeEx(m_process, m_memory, 0, MEM_RELEASE); }

    // Sends the message with the structure and reads the structure back.
    LRESULT Send(HWND window, UINT message, WPARAM wParam, Structure& structure) const
    {
        WriteProcessMemory(m_process, m_memory, &structure, sizeof structure, nullptr);
        const LRESULT answer = Ask(window, message, wParam, reinterpret_cast<LPARAM>(m_memory));
        ReadProcessMemory(m_process, m_memory, &structure, sizeof structure, nullptr);
        return answer;
    }

    // The address of the text in the other process.
    [[nodiscard]] wchar_t* TextAddress() const
    {
        return reinterpret_cast<wchar_t*>(m_memory + sizeof(Structure));
    }
    [[nodiscard]] std::wstring ReadText() const
    {
        std::wstring text(kLongestCell, L'\0');
        ReadProcessMemory(m_process, TextAddress(), text.data(), kTextBytes, nullptr);
        return text.c_str();
    }

private:
    static constexpr SIZE_T kTextBytes = kLongestCell * sizeof(wchar_t);

    HANDLE m_process;
    BYTE* m_memory;
};

RECT OnScreen(HWND window, RECT rect)
{
    MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

const char* NameOf(Mark mark)
{
    return mark == Mark::pending ? "pending" : mark == Mark::converted ? "converted" : "odd";
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const RowOnScreen& row)
{
    return out << ToUtf8(row.original) << " | " << ToUtf8(row.renamed) << " | " << ToUtf8(row.bomName)
               << " | " << NameOf(row.mark);
}

std::vector<RowOnScreen> CListOnScreen::Rows() const
{
    std::vector<RowOnScreen> rows;
    const auto count = static_cast<int>(Ask(m_list, LVM_GETITEMCOUNT));
    for (int row = 0; row < count; ++row) {
        rows.push_back(Row(row));
    }
    return rows;
}

std::vector<int> CListOnScreen::Selection() const
{
    std::vector<int> rows;
    const auto next = [&](int row) {
        return static_cast<int>(Ask(m_list, LVM_GETNEXTITEM, static_cast<WPARAM>(row), LVNI_SELECTED));
    };
    for (int row = next(-1); row != -1; row = next(row)) {
        rows.push_back(row);
    }
    return rows;
}

void CListOnScreen::Select(int row, bool selected) const
{
    const CRemote<LVITEMW> remote(m_process);
    LVITEMW item{};
    item.state = selected ? LVIS_SELECTED : 0;
    item.stateMask = LVIS_SELECTED;
    remote.Send(m_list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), item);
}

std::vector<std::wstring> CListOnScreen::Headers() const
{
    std::vector<std::wstring> headers;
    const HWND header = Header();
    const auto count = static_cast<WPARAM>(Ask(header, HDM_GETITEMCOUNT));
    for (WPARAM column = 0; column < count; ++column) {
        const CRemote<HDITEMW> remote(m_process);
        HDITEMW item{};
        item.mask = HDI_TEXT;
        item.pszText = remote.TextAddress();
        item.cchTextMax = kLongestCell;
        remote.Send(header, HDM_GETITEMW, column, item);
        headers.push_back(remote.ReadText());
    }
    return headers;
}

int CListOnScreen::ColumnWidth(int column) const
{
    return static_cast<int>(Ask(m_list, LVM_GETCOLUMNWIDTH, static_cast<WPARAM>(column)));
}

std::vector<int> CListOnScreen::ColumnOrder() const
{
    std::array<int, 8> order{};
    const auto count = static_cast<std::size_t>(Ask(Header(), HDM_GETITEMCOUNT));
    const CRemote<std::array<int, 8>> remote(m_process);
    remote.Send(m_list, LVM_GETCOLUMNORDERARRAY, count, order);
    return {order.begin(), order.begin() + static_cast<std::ptrdiff_t>(count)};
}

POINT CListOnScreen::CellPosition(int row, int column) const
{
    return Uncovered({MiddleOf(HeaderRect(column)).x, MiddleOf(RowRect(row)).y});
}

POINT CListOnScreen::DividerPosition(int column) const
{
    const RECT header = HeaderRect(column);
    return Uncovered({header.right - 1, MiddleOf(header).y});
}

POINT CListOnScreen::PositionBelowRows(int column) const
{
    constexpr int kAboveTheEnd = 5;  // pixels
    return Uncovered({MiddleOf(HeaderRect(column)).x, ClientRect().bottom - kAboveTheEnd});
}

RECT CListOnScreen::ClientRect() const
{
    RECT client{};
    GetClientRect(m_list, &client);
    return OnScreen(m_list, client);
}

HWND CListOnScreen::Editor() const
{
    return GetDlgItem(m_list, IDC_IN_PLACE_EDIT);
}

POINT CListOnScreen::Uncovered(POINT position) const
{
    WaitUntilOnTop(m_list, position);
    return position;
}

HWND CListOnScreen::Header() const
{
    return reinterpret_cast<HWND>(Ask(m_list, LVM_GETHEADER));
}

RECT CListOnScreen::HeaderRect(int column) const
{
    const CRemote<RECT> remote(m_process);
    RECT rect{};
    remote.Send(Header(), HDM_GETITEMRECT, static_cast<WPARAM>(column), rect);
    return OnScreen(Header(), rect);
}

RECT CListOnScreen::RowRect(int row) const
{
    const CRemote<RECT> remote(m_process);
    RECT rect{};
    rect.left = LVIR_BOUNDS;
    remote.Send(m_list, LVM_GETITEMRECT, static_cast<WPARAM>(row), rect);
    return OnScreen(m_list, rect);
}

RowOnScreen CListOnScreen::Row(int row) const
{
    return {CellText(row, 0), CellText(row, 1), CellText(row, 2), MarkOf(row)};
}

std::wstring CListOnScreen::CellText(int row, int column) const
{
    const CRemote<LVITEMW> remote(m_process);
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = remote.TextAddress();
    item.cchTextMax = kLongestCell;
    remote.Send(m_list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), item);
    return remote.ReadText();
}

Mark CListOnScreen::MarkOf(int row) const
{
    const CRemote<LVITEMW> remote(m_process);
    LVITEMW item{};
    item.mask = LVIF_PARAM | LVIF_STATE;
    item.iItem = row;
    item.stateMask = LVIS_STATEIMAGEMASK;
    remote.Send(m_list, LVM_GETITEMW, 0, item);
    const bool pending = item.lParam == 1 && item.state == INDEXTOSTATEIMAGEMASK(1);
    const bool converted = item.lParam == 0 && item.state == INDEXTOSTATEIMAGEMASK(2);
    return pending ? Mark::pending : converted ? Mark::converted : Mark::odd;
}
