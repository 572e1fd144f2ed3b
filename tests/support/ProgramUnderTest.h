#pragma once

#include <windows.h>

#include <string>

#include "framework/Handles.h"
#include "tests/support/ListOnScreen.h"
#include "tests/support/MessageBoxOnScreen.h"

// talvenor.exe, operated from outside. The destructor ends the process by force. Functions that wait for
// something throw CNotOnScreen if it does not appear.
class CProgramUnderTest
{
public:
    // Starts a program, by default the one in the tests' language. `program` is a full path or a file in the
    // tests' own folder (OwnFolder). That is also the working folder if `workingFolder` is empty.
    explicit CProgramUnderTest(const std::wstring& workingFolder = {}, const std::wstring& program = {});
    ~CProgramUnderTest();
    CProgramUnderTest(const CProgramUnderTest&) = delete;
    CProgramUnderTest& operator=(const CProgramUnderTest&) = delete;

    [[nodiscard]] DWORD ProcessId() const { return m_processId; }
    [[nodiscard]] HANDLE Process() const { return m_process.get(); }

    // The main dialog; waits until it is on the screen.
    [[nodiscard]] HWND MainWindow() const;
    // A control of the main dialog by its id.
    [[nodiscard]] HWND Control(int id) const;
    [[nodiscard]] std::wstring ControlText(int id) const;
    [[nodiscard]] CListOnScreen List() const;

    // The progress dialog of a run, null if there is none.
    [[nodiscard]] HWND ProgressDialog() const;
    // Whether the main dialog accepts input and no other window of the program is on screen.
    [[nodiscard]] bool IsAtRest() const;

    // Clicks a control of the main dialog with the mouse.
    void Click(int id) const;
    // Posts a press of a button of the main dialog.
    void Press(int id) const;
    // Focuses an edit of the main dialog by a click.
    void Focus(int id) const;
    // Focuses a control by Alt and the underlined letter of the label before it.
    void FocusByKey(int id) const;
    // Presses a button by Alt and its underlined letter.
    void PressByKey(int id) const;
    // Replaces the text of an edit of the main dialog by typing.
    void TypeInto(int id, const std::wstring& text) const;
    // Waits until a control of the main dialog has this text.
    void WaitForText(int id, const std::wstring& text) const;
    // Waits until a control of the main dialog has the focus.
    void WaitForFocus(int id) const;
    // Waits until the main dialog gets keyboard input.
    void WaitForKeyboard() const;
    // Waits until IsAtRest.
    void WaitForRest() const;

    // Waits until the process has ended and returns its exit status.
    [[nodiscard]] DWORD WaitForEnd() const;

    // A dialog of the program that has a control with this id; null if there is none.
    [[nodiscard]] HWND DialogWith(int controlId) const;

private:
    UniqueHandle m_process;
    DWORD m_processId = 0;
};
