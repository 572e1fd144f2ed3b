#include "tests/acceptance/ListOnScreen.h"

#include <commctrl.h>

#include "tests/acceptance/OtherWindows.h"
#include "tests/cadserver/TextFile.h"

namespace {

constexpr int kLongestCell = 1024;

// Memory in another process, of one structure and a text behind it.
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

    // Sends the message with the structure and leaves in it what the window made of it.
    LRESULT Send(HWND window, UINT message, WPARAM wParam, Structure& structure) const
    {
        WriteProcessMemory(m_process, m_memory, &structure, sizeof structure, nullptr);
        const LRESULT answer = Ask(window, message, wParam, reinterpret_cast<LPARAM>(m_memory));
        ReadProcessMemory(m_process, m_memory, &structure, sizeof structure, nullptr);
        return answer;
    }

    // The place of the text in the other process.
    [[nodiscard]] wchar_t* TextPlace() const
    {
        return reinterpret_cast<wchar_t*>(m_memory + sizeof(Structure));
    }
    [[nodiscard]] std::wstring ReadText() const
    {
        std::wstring text(kLongestCell, L'\0');
        ReadProcessMemory(m_process, TextPlace(), text.data(), kTextBytes, nullptr);
        return text.c_str();
    }

private:
    static constexpr SIZE_T kTextBytes = kLongestCell * sizeof(wchar_t);

    HANDLE m_process;
    BYTE* m_memory;
};

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

std::vector<std::wstring> CListOnScreen::Headers() const
{
    std::vector<std::wstring> headers;
    const auto header = reinterpret_cast<HWND>(Ask(m_list, LVM_GETHEADER));
    const auto count = static_cast<WPARAM>(Ask(header, HDM_GETITEMCOUNT));
    for (WPARAM column = 0; column < count; ++column) {
        const CRemote<HDITEMW> remote(m_process);
        HDITEMW item{};
        item.mask = HDI_TEXT;
        item.pszText = remote.TextPlace();
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

POINT CListOnScreen::CellPosition(int row, int column) const
{
    const CRemote<RECT> remote(m_process);
    RECT cell{};
    cell.left = LVIR_LABEL;
    cell.top = column;
    remote.Send(m_list, LVM_GETSUBITEMRECT, static_cast<WPARAM>(row), cell);
    POINT middle{(cell.left + cell.right) / 2, (cell.top + cell.bottom) / 2};
    ClientToScreen(m_list, &middle);
    return middle;
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
    item.pszText = remote.TextPlace();
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
