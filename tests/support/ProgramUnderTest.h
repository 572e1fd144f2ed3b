#pragma once

#include <windows.h>

#include <string>

#include "framework/Handles.h"
#include "tests/support/ListOnScreen.h"
#include "tests/support/MessageBoxOnScreen.h"

// talvenor.exe, started as a person starts it, and seen from outside. The process ends with the object,
// whatever state it is in. Functions that wait for something throw CNotOnScreen when it does not come.
class CProgramUnderTest
{
public:
    // Starts the program beside the tests' own executable, in a working folder (empty: the program's own).
    // Another program than the one in the tests' language is named by its file.
    explicit CProgramUnderTest(const std::wstring& workingFolder = {}, const std::wstring& program = {});
    ~CProgramUnderTest();
    CProgramUnderTest(const CProgramUnderTest&) = delete;
    CProgramUnderTest& operator=(const CProgramUnderTest&) = delete;

    [[nodiscard]] DWORD ProcessId() const { return m_processId; }
    [[nodiscard]] HANDLE Process() const { return m_process.get(); }

    // The main dialog; waits until it is on the screen.
    [[nodiscard]] HWND MainWindow() const;
    // A control of the main dialog by its number.
    [[nodiscard]] HWND Control(int id) const;
    [[nodiscard]] std::wstring ControlText(int id) const;
    [[nodiscard]] CListOnScreen List() const;

    // The progress dialog of a run, null when there is none.
    [[nodiscard]] HWND ProgressDialog() const;
    // Whether the main dialog takes input and nothing else of the program is on the screen.
    [[nodiscard]] bool IsAtRest() const;

    // Clicks a control of the main dialog with the mouse.
    void Click(int id) const;
    // Presses a button of the main dialog without the mouse: the program acts when it gets to it.
    void Press(int id) const;
    // Gives the focus to an edit of the main dialog by a click.
    void Focus(int id) const;
    // Gives the focus to a control by Alt and the underlined letter of its label, which stands before it.
    void FocusByKey(int id) const;
    // Presses a button by Alt and its underlined letter.
    void PressByKey(int id) const;
    // Replaces the text of an edit of the main dialog by typing.
    void TypeInto(int id, const std::wstring& text) const;
    // Waits until a control of the main dialog has this text.
    void WaitForText(int id, const std::wstring& text) const;
    // Waits until a control of the main dialog has the focus.
    void WaitForFocus(int id) const;
    // Waits until the main dialog is the window that the keyboard writes into.
    void WaitForKeyboard() const;
    // Waits until IsAtRest.
    void WaitForRest() const;

    // Waits until the process has ended and returns its exit status.
    [[nodiscard]] DWORD WaitForEnd() const;

    // A dialog of the program that has a control with this number; null when there is none.
    [[nodiscard]] HWND DialogWith(int controlId) const;

private:
    UniqueHandle m_process;
    DWORD m_processId = 0;
};
