#include "bench/BareRunWindows.h"

#include <commctrl.h>

#include <algorithm>
#include <stdexcept>

#include "files/FileMisc.h"
#include "framework/WindowFontDC.h"
#include "resources/resource.h"

namespace {

constexpr int kFull = 100;

void Show(HWND window)
{
    ShowWindow(window, SW_SHOW);
    UpdateWindow(window);
}

// Shows the main dialog, disabled as during a run, and creates the progress dialog.
HWND MakeProgressDialog(const CBareDialog& main, const std::vector<UTtab_entry>& rows)
{
    main.Fill(rows, true);
    Show(main.Window());
    EnableWindow(main.Window(), FALSE);
    const HWND window = MakeBareDialog(IDD_PROGRESS, main.Window());
    if (main.Window() == nullptr || window == nullptr) {
        throw std::runtime_error("cannot create the dialogs");
    }
    return window;
}

}  // namespace

CBareRunWindows::CBareRunWindows(const std::vector<UTtab_entry>& rows, ULONGLONG scrollInterval)
    : m_window(MakeProgressDialog(m_main, rows))
    , m_first{GetDlgItem(m_window, IDC_PROGRESS_FIRST), {}}
    , m_second{GetDlgItem(m_window, IDC_PROGRESS_SECOND), {}}
    , m_third{GetDlgItem(m_window, IDC_PROGRESS_THIRD), {}}
    , m_fileBar(GetDlgItem(m_window, IDC_PROGRESS_FILE))
    , m_overallBar(GetDlgItem(m_window, IDC_PROGRESS_OVERALL))
    , m_cancel(GetDlgItem(m_window, IDCANCEL))
    , m_scrollInterval(scrollInterval)
    , m_rows(static_cast<int>(rows.size()))
{
    for (const HWND bar : {m_fileBar, m_overallBar}) {
        SendMessageW(bar, PBM_SETRANGE, 0, MAKELPARAM(0, kFull));
        ShowWindow(bar, SW_SHOW);
    }
    Show(m_window);
    m_page = ListView_GetCountPerPage(m_main.List());
}

CBareRunWindows::~CBareRunWindows()
{
    DestroyWindow(m_window);
}

void CBareRunWindows::ShowCopy(const std::wstring& source, const std::wstring& target)
{
    SetPath(m_first, L"Kopiere: ", source);
    SetPath(m_second, L"nach: ", target);
    SetText(m_third, {});
    SetBar(m_fileBar, 0);
    SetBar(m_overallBar, OverallPosition(m_done));
}

void CBareRunWindows::ShowCurrentFile(const std::wstring& target)
{
    SetPath(m_first, L"Bearbeite Datei: ", target);
}

void CBareRunWindows::ShowConfiguration(const std::wstring& name, const std::wstring& bomName, long index,
                                        long count)
{
    const double part = static_cast<double>(index) / static_cast<double>(count);
    SetBar(m_fileBar, static_cast<int>(part * kFull));
    SetBar(m_overallBar, OverallPosition(m_done + part));
    SetText(m_second, L"Aktuelle Konfiguration:  " + name);
    SetText(m_third, L"Setze neuen Stückl.-Eintrag:  " + bomName);
}

void CBareRunWindows::ShowSaving()
{
    SetBar(m_fileBar, kFull);
    SetBar(m_overallBar, OverallPosition(m_done + 1));
    EnableCancel(false);
    SetText(m_second, L"Schreibe Datei...");
    SetText(m_third, {});
}

void CBareRunWindows::FinishRow()
{
    SetBareMark(m_main.List(), m_done, false);
    const bool isLast = m_done + 1 == m_rows;
    if (m_done >= ListView_GetTopIndex(m_main.List()) + m_page &&
        (isLast || GetTickCount64() - m_scrolledAt >= m_scrollInterval)) {
        ListView_EnsureVisible(m_main.List(), std::min(m_done + m_page, m_rows) - 1, FALSE);
        m_scrolledAt = GetTickCount64();
    }
    PumpOneMessage();
    ++m_done;
}

void CBareRunWindows::CheckAllShown() const
{
    const HWND list = m_main.List();
    bool shown = ListView_GetItemCount(list) == m_rows && m_done == m_rows &&
                 IsWindowVisible(m_window) != FALSE && ListView_GetTopIndex(list) + m_page >= m_rows;
    for (int row = 0; row < m_rows; ++row) {
        shown = shown && ListView_GetItemState(list, row, LVIS_STATEIMAGEMASK) == INDEXTOSTATEIMAGEMASK(2U);
    }
    for (const Line& line : {m_first, m_second, m_third}) {
        shown = shown && CWnd::TextOf(line.control) == line.text;
    }
    if (!shown || m_first.text.empty()) {
        throw std::runtime_error("the baseline did not show all rows");
    }
}

void CBareRunWindows::PumpOneMessage()
{
    MSG message;
    if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

void CBareRunWindows::SetText(Line& line, const std::wstring& text)
{
    if (text != line.text) {
        SetWindowTextW(line.control, text.c_str());
        line.text = text;
    }
}

void CBareRunWindows::SetPath(Line& line, const std::wstring& prefix, const std::wstring& path)
{
    const CWindowFontDC dc(line.control);
    RECT area{};
    GetClientRect(line.control, &area);
    SetText(line, CFileMisc::FitPathToWidth(dc.Get(), prefix, path, area.right));
}

void CBareRunWindows::SetBar(HWND bar, int position)
{
    SendMessageW(bar, PBM_SETPOS, static_cast<WPARAM>(position), 0);
}

int CBareRunWindows::OverallPosition(double rows) const
{
    return static_cast<int>(rows * kFull / m_rows);
}
