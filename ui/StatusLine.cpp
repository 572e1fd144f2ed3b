#include "ui/StatusLine.h"

#include <algorithm>
#include <utility>

#include "core/NameTemplate.h"
#include "files/MapLine.h"
#include "framework/AccessibleName.h"
#include "framework/FileNames.h"
#include "framework/Language.h"
#include "framework/MessageText.h"
#include "resources/resource.h"

namespace {

constexpr Text kNumbers{L"Zeilen: %1   Vorgemerkt: %2   Ausgewählt: %3",
                        L"Rows: %1   Marked: %2   Selected: %3"};
constexpr Text kCheckNames{L"Namen &prüfen: %1", L"Chec&k names: %1"};
// Short, with the reason first: in a window of the smallest size, the end of the text is cut off.
constexpr Text kSameCopy{L"Name doppelt (Groß/klein): '%1'", L"Same name (letter case): '%1'"};
constexpr Text kLongRecord{L"Zu lang für die Map-Datei (mehr als %1 Bytes)",
                           L"Too long for the map file (more than %1 bytes)"};

// Moving the selection changes other states only.
bool MayChangeMark(const NMLISTVIEW& change)
{
    return change.uChanged != LVIF_STATE ||
           ((change.uOldState ^ change.uNewState) & LVIS_STATEIMAGEMASK) != 0;
}

}  // namespace

void CStatusLine::Begin(HWND dialog)
{
    m_dialog = dialog;
    RowsChanged();
}

void CStatusLine::ListFilled(const CConversionTable::FilledRows& rows)
{
    FindNames(rows.count, rows.read);
    m_pending = rows.pending ? static_cast<int>(rows.count) : 0;
    m_namesChanged = false;
    m_marksChanged = false;
    ShowNumbers();
}

void CStatusLine::OnNotify(const NMHDR& header)
{
    switch (header.code) {
        case LVN_ITEMCHANGED:
            m_marksChanged = m_marksChanged || MayChangeMark(reinterpret_cast<const NMLISTVIEW&>(header));
            ShowNumbers();
            break;
        case LVN_INSERTITEM:
        case LVN_DELETEITEM:
        case LVN_DELETEALLITEMS:
            RowsChanged();
            break;
        default:
            break;
    }
}

void CStatusLine::RowsChanged()
{
    m_namesChanged = true;
    m_marksChanged = true;
    ShowNumbers();
}

void CStatusLine::ShowNumbers()
{
    m_listChanged = true;
    m_requestUpdate();
}

// Updates first: an update that was requested earlier would replace the text.
void CStatusLine::Say(const std::wstring& text)
{
    Update();
    Show(text);
    Announce(GetDlgItem(m_dialog, IDC_STATUS_TEXT));
}

void CStatusLine::Show(const std::wstring& text)
{
    if (text != m_shown) {
        m_shown = text;
        SetDlgItemTextW(m_dialog, IDC_STATUS_TEXT, text.c_str());
    }
}

void CStatusLine::Update()
{
    if (std::exchange(m_namesChanged, false)) {
        const auto read = [this](std::size_t row, UTtab_entry& entry) {
            entry = m_table.GetRow(static_cast<int>(row));
        };
        FindNames(static_cast<std::size_t>(m_table.GetItemCount()), read);
    }
    if (std::exchange(m_marksChanged, false)) {
        m_pending = m_table.CountPendingRows();
    }
    if (std::exchange(m_listChanged, false)) {
        Show(FillPlaceholders(kNumbers.Current(),
                              {std::to_wstring(m_table.GetItemCount()), std::to_wstring(m_pending),
                               std::to_wstring(m_table.GetSelectedCount())}));
    }
}

void CStatusLine::FindNames(std::size_t rows, const RowReader& read)
{
    m_toCheck = FindNamesToCheck(rows, read, &FoldFileName);
    const HWND button = GetDlgItem(m_dialog, IDC_CHECK_NAMES);
    // A hidden button must not keep the focus: no key would reach the dialog.
    if (m_toCheck.empty() && GetFocus() == button) {
        SetFocus(m_table.m_hWnd);
    }
    const std::wstring caption = FillPlaceholders(kCheckNames.Current(), {std::to_wstring(m_toCheck.size())});
    SetWindowTextW(button, caption.c_str());
    ShowWindow(button, m_toCheck.empty() ? SW_HIDE : SW_SHOWNA);
}

void CStatusLine::GoToNextName()
{
    Update();
    if (m_toCheck.empty()) {
        return;
    }
    const int focused = m_table.GetNextItem(-1, LVNI_FOCUSED);
    auto next = std::ranges::upper_bound(m_toCheck, focused, {}, &NameToCheck::row);
    if (next == m_toCheck.end()) {
        next = m_toCheck.begin();
    }
    m_table.SelectOnly(next->row);
    Say(Problem(*next));
}

std::wstring CStatusLine::Problem(const NameToCheck& name) const
{
    if (name.problem == NameProblem::longRecord) {
        return FillPlaceholders(kLongRecord.Current(), {std::to_wstring(kMapLineMaxBytes)});
    }
    return FillPlaceholders(kSameCopy.Current(), {m_table.GetItemText(name.otherRow, kColumnOriginal)});
}
