#include "ui/FindBar.h"

#include <algorithm>

#include "core/NameTemplate.h"
#include "framework/Language.h"
#include "framework/MessageText.h"
#include "resources/resource.h"

namespace {

constexpr Text kNotFound{L"'%1' kommt nicht vor.", L"'%1' is not in the list."};

bool IsDown(int key)
{
    return GetKeyState(key) < 0;
}

// Ignores case.
bool Contains(const std::wstring& text, const std::wstring& part)
{
    return FindStringOrdinal(FIND_FROMSTART, text.c_str(), static_cast<int>(text.size()), part.c_str(),
                             static_cast<int>(part.size()), TRUE) >= 0;
}

bool RowContains(const CConversionTable& table, int row, const std::wstring& text)
{
    for (const int column : {kColumnOriginal, kColumnRenamed, kColumnBomName}) {
        if (Contains(table.GetItemText(row, column), text)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool CFindBar::PreTranslateMessage(MSG& message)
{
    if (message.message == WM_KEYDOWN && message.wParam == VK_RETURN) {
        FindNext(!IsDown(VK_SHIFT));
        return true;
    }
    if (message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE) {
        Close();
        return true;
    }
    return CEdit::PreTranslateMessage(message);
}

bool CFindBar::TakeKey(const MSG& message)
{
    if (message.message != WM_KEYDOWN) {
        return false;
    }
    if (message.wParam == L'F' && IsDown(VK_CONTROL) && !IsDown(VK_MENU)) {
        Open();
        return true;
    }
    if (message.wParam == VK_F3 && !IsDown(VK_CONTROL)) {
        FindNext(!IsDown(VK_SHIFT));
        return true;
    }
    return false;
}

void CFindBar::Open()
{
    m_list.EndEdit();
    ::ShowWindow(::GetDlgItem(GetParent(m_hWnd), IDC_FIND_LABEL), SW_SHOWNA);
    ShowWindow(SW_SHOWNA);
    FocusAndSelectAll();
}

// The text stays for F3.
void CFindBar::Close()
{
    m_list.SetFocus();
    ::ShowWindow(::GetDlgItem(GetParent(m_hWnd), IDC_FIND_LABEL), SW_HIDE);
    ShowWindow(SW_HIDE);
    m_status.ShowNumbers();
}

void CFindBar::FindNext(bool forward)
{
    if (GetWindowText().empty()) {
        Open();
        return;
    }
    m_list.EndEdit();
    const int focused = m_list.GetNextItem(-1, LVNI_FOCUSED);
    Find(forward ? focused + 1 : std::max(focused, 0) - 1, forward);
}

void CFindBar::OnChange()
{
    if (!GetWindowText().empty()) {
        Find(std::max(m_list.GetNextItem(-1, LVNI_FOCUSED), 0), true);
    }
}

// Looks at each row at most once, beginning at `start`, which may be one beyond either end of the list.
void CFindBar::Find(int start, bool forward)
{
    const std::wstring text = GetWindowText();
    const int count = m_list.GetItemCount();
    for (int step = 0; step < count; ++step) {
        const int row = (start + (forward ? step : -step) + 2 * count) % count;
        if (RowContains(m_list, row, text)) {
            m_list.SelectOnly(row);
            return;
        }
    }
    m_status.Say(FillPlaceholders(kNotFound.Current(), {text}));
}
