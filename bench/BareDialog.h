#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "core/UTtabEntry.h"
#include "framework/Controls.h"
#include "framework/Handles.h"

// Makes the dialogs' templates ready, for as long as the result lives.
[[nodiscard]] UniqueModule LoadBareResources();

// A modeless dialog of that template with no object behind it.
[[nodiscard]] HWND MakeBareDialog(UINT id, HWND owner);

// Inserts the rows behind each other into an empty list, with redraw off; as pending rows or converted.
void FillBare(HWND list, const std::vector<UTtab_entry>& rows, bool pending);

// One cell or one mark of a row, by the one message that it needs.
void SetBareText(HWND list, int row, int column, const std::wstring& text);
void SetBareMark(HWND list, int row, bool pending);

// The main dialog's controls without the program: made from the same template, with the same styles, columns
// and state images, and filled by the bare messages. No object is bound to the window or its controls.
// Modeless, so that whoever makes it has a message loop. Goes with the object.
class CBareDialog
{
public:
    CBareDialog();
    CBareDialog(const CBareDialog&) = delete;
    CBareDialog& operator=(const CBareDialog&) = delete;
    ~CBareDialog();

    [[nodiscard]] HWND Window() const { return m_window; }
    [[nodiscard]] HWND List() const { return m_list; }

    // Inserts the rows into the list, which is empty.
    void Fill(const std::vector<UTtab_entry>& rows, bool pending) const { FillBare(List(), rows, pending); }

private:
    CImageList m_stateImages;
    HWND m_window;
    HWND m_list;
};

// Keeps a bare window from redrawing, and has it redrawn at the end.
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
