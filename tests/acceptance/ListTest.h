#pragma once

#include "tests/acceptance/AcceptanceTest.h"
#include "tests/acceptance/MenuOnScreen.h"

// What the tests of the list in the user's hands share.
class ListTest : public AcceptanceTest
{
protected:
    // Waits for the editor of a cell to be open, with the focus; throws CNotOnScreen when it does not come.
    static HWND WaitForEditor(const CProgramUnderTest& program);
    // Waits until no editor is open; throws CNotOnScreen when one stays.
    static void WaitForNoEditor(const CProgramUnderTest& program);
    // Opens the editor of a cell by a double click, which is repeated when no editor comes.
    static HWND OpenEditor(const CProgramUnderTest& program, int row, int column);
    static HWND OpenEditorAt(const CProgramUnderTest& program, POINT position);
    // Types over the text of an open editor, which is selected, and waits until the text is there.
    static void TypeOver(const CProgramUnderTest& program, const std::wstring& text);
    // Types over the text of the cell and ends the edit with Enter; a message box may be open then.
    static void Rename(const CProgramUnderTest& program, int row, int column, const std::wstring& text);

    // Waits until a control has this text.
    static void WaitForTextOf(HWND control, const std::wstring& text);
    // The text of an editor has to be this, all of it selected.
    static void ExpectSelectedText(HWND editor, const std::wstring& text);

    // Opens the menu of a column by a click of the right button on a cell.
    static CMenuOnScreen OpenMenu(const CProgramUnderTest& program, int row, int column);

    // Has the list in front of the keyboard with the focus on its first row, which is selected.
    static void FocusFirstRow(const CProgramUnderTest& program);

    // A map file with many records: more than the list shows at a time.
    void WriteManyRecords() const;

    // The caption of the frame in the map-file view after a change.
    static std::wstring ChangedMapView();

private:
    // The open editor, once it has the focus; or null.
    static HWND FindEditor(const CProgramUnderTest& program);
};

// For comparing rectangles and for the messages of failed comparisons.
inline bool operator==(const RECT& left, const RECT& right)
{
    return EqualRect(&left, &right) != FALSE;
}
inline void PrintTo(const RECT& place, std::ostream* out)
{
    *out << place.left << "," << place.top << " to " << place.right << "," << place.bottom;
}
