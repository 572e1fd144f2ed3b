#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

#include "core/UTtabEntry.h"
#include "framework/Controls.h"
#include "framework/Handles.h"

// Loads the dialog templates for the lifetime of the result.
[[nodiscard]] UniqueModule LoadBareResources();

// Creates a modeless dialog that no object is bound to.
[[nodiscard]] HWND MakeBareDialog(UINT id, HWND owner);

// Announces the number of rows to an empty list.
void AnnounceBareRows(HWND list, std::size_t count);

// Appends a row, as pending or converted. `row` is its number.
void AppendBareRow(HWND list, int row, const UTtab_entry& entry, bool pending);

// Appends the rows to an empty list, with redraw off.
void FillBare(HWND list, const std::vector<UTtab_entry>& rows, bool pending);

void SetBareText(HWND list, int row, int column, const std::wstring& text);
void SetBareMark(HWND list, int row, bool pending);

// A bare copy of the main dialog: created from the same template, with the same styles, columns and state
// images, and filled with plain messages. No object is bound to the window or its controls. The dialog is
// modeless; the caller runs the message loop. The destructor destroys the dialog.
class CBareDialog
{
public:
    CBareDialog();
    CBareDialog(const CBareDialog&) = delete;
    CBareDialog& operator=(const CBareDialog&) = delete;
    ~CBareDialog();

    [[nodiscard]] HWND Window() const { return m_window; }
    [[nodiscard]] HWND List() const { return m_list; }

    // The list must be empty.
    void Fill(const std::vector<UTtab_entry>& rows, bool pending) const { FillBare(List(), rows, pending); }

private:
    CImageList m_stateImages;
    HWND m_window;
    HWND m_list;
};

// Turns redraw off during its lifetime. The destructor turns redraw on and invalidates the window.
class CBareRedrawPause
{
public:
    explicit CBareRedrawPause(HWND window);
    CBareRedrawPause(const CBareRedrawPause&) = delete;
    CBareRedrawPause& operator=(const CBareRedrawPause&) = delete;
    ~CBareRedrawPause();

private:
    HWND m_window;
};
