#pragma once

#include "tests/acceptance/AcceptanceTest.h"
#include "tests/support/MenuOnScreen.h"

// Base class of the tests of the list: steps with cell editors, menus and rows.
class ListTest : public AcceptanceTest
{
protected:
    // Waits for a cell editor with the focus; throws CNotOnScreen if none opens.
    static HWND WaitForEditor(const CProgramUnderTest& program);
    // Waits until no editor is open; throws CNotOnScreen if an editor stays open.
    static void WaitForNoEditor(const CProgramUnderTest& program);
    // Opens the editor of a cell with a double-click, which may be repeated once (MayRepeat).
    static HWND OpenEditor(const CProgramUnderTest& program, int row, int column);
    // Replaces the selected text of the open editor by typing, and waits for the new text.
    static void TypeOver(const CProgramUnderTest& program, const std::wstring& text);
    // Edits a cell and presses Enter, which may bring up a message box.
    static void EditCell(const CProgramUnderTest& program, int row, int column, const std::wstring& text);

    // Waits until the control's text equals `text`, or fails the test.
    static void WaitForTextOf(HWND control, const std::wstring& text);

    // Opens the menu of a column with a right-click on a cell.
    static CMenuOnScreen OpenMenu(const CProgramUnderTest& program, int row, int column);

    // Moves the keyboard focus to the first row of the list and selects that row.
    static void FocusFirstRow(const CProgramUnderTest& program);

    // The frame's caption when the map-file view has changes.
    static std::wstring ChangedMapView();

private:
    // The open editor if it has the focus, otherwise null.
    static HWND FindEditor(const CProgramUnderTest& program);
};
