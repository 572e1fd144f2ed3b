#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "bench/BareDialog.h"
#include "core/UTtabEntry.h"

// What a run has to show by its rules, row by row and configuration by configuration, without the program:
// the bare main dialog with its rows and a progress dialog that no object is bound to. A text goes to its
// control only when it changes. Painting is left to the one message that each row and each configuration
// takes, and to what the controls paint by themselves.
class CBareRunWindows
{
public:
    // Shows both windows. The rows are all pending.
    explicit CBareRunWindows(const std::vector<UTtab_entry>& rows);
    CBareRunWindows(const CBareRunWindows&) = delete;
    CBareRunWindows& operator=(const CBareRunWindows&) = delete;
    ~CBareRunWindows();

    // A row begins.
    void ShowCopy(const std::wstring& source, const std::wstring& target);

    // Its copy is there.
    void ShowCurrentFile(const std::wstring& target);

    // One of the copy's configurations, the first being 0 of `count`.
    void ShowConfiguration(const std::wstring& name, const std::wstring& bomName, long index, long count);

    // The copy is saved; its button cannot be pressed until it is closed.
    void ShowSaving();
    void EnableCancel(bool enable) const { EnableWindow(m_cancel, enable); }

    // The row is done; a page of rows scrolls into view at a time.
    void FinishRow();

    // Throws unless all rows were shown as done: what was not shown is no measurement.
    void CheckAllShown() const;

    // Takes one message that waits, if there is one.
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
    int m_rows;
    int m_page;
    int m_done = 0;
};
