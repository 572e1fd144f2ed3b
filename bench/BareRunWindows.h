#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "bench/BareDialog.h"
#include "core/UTtabEntry.h"

// Displays what a run displays for each row and configuration, without the program's window objects: in the
// bare main dialog with its rows, and in a progress dialog that no object is bound to. Sets a text only if it
// has changed. PumpOneMessage is called once for each row and configuration. The windows are painted when it
// dispatches a paint message, and when controls paint themselves.
class CBareRunWindows
{
public:
    // Shows both windows. All rows are pending. Scrolls at most once in `scrollInterval` milliseconds.
    explicit CBareRunWindows(const std::vector<UTtab_entry>& rows, ULONGLONG scrollInterval = 0);
    CBareRunWindows(const CBareRunWindows&) = delete;
    CBareRunWindows& operator=(const CBareRunWindows&) = delete;
    ~CBareRunWindows();

    void ShowCopy(const std::wstring& source, const std::wstring& target);

    void ShowCurrentFile(const std::wstring& target);

    // Displays a configuration of the copy; index is 0 to count - 1.
    void ShowConfiguration(const std::wstring& name, const std::wstring& bomName, long index, long count);

    // Displays that the copy is being saved. Disables the cancel button; the caller enables the button when
    // the copy is closed.
    void ShowSaving();
    void EnableCancel(bool enable) const { EnableWindow(m_cancel, enable); }

    // Displays that the row is done. Scrolls by whole pages.
    void FinishRow();

    // Throws std::runtime_error unless all rows are shown as done. Otherwise the measurement would be
    // worthless.
    void CheckAllShown() const;

    // Dispatches one waiting message, if any.
    static void PumpOneMessage();

private:
    struct Line
    {
        HWND control;
        std::wstring text;
    };

    static void SetText(Line& line, const std::wstring& text);
    static void SetPath(Line& line, const std::wstring& prefix, const std::wstring& path);
    static void SetBar(HWND bar, int position);
    [[nodiscard]] int OverallPosition(double rows) const;

    CBareDialog m_main;
    HWND m_window;
    Line m_first;
    Line m_second;
    Line m_third;
    HWND m_fileBar;
    HWND m_overallBar;
    HWND m_cancel;
    ULONGLONG m_scrollInterval;
    ULONGLONG m_scrolledAt = 0;
    int m_rows;
    int m_page;
    int m_done = 0;
};
