#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

// An open message box of another process, or of this one. Under Wine its icon cannot be read from outside;
// the in-process tests check it.
class CMessageBoxOnScreen
{
public:
    // The topmost message box of the process, if any.
    static std::optional<CMessageBoxOnScreen> Find(DWORD process);

    // Waits for a message box that has the focus; throws CNotOnScreen if there is none in time.
    static CMessageBoxOnScreen WaitForOne(DWORD process);

    // Waits for a message box, which need not have the focus. Throws CNotOnScreen if none opens or if its
    // text is not `text`.
    static CMessageBoxOnScreen WaitForText(DWORD process, const std::wstring& text);

    [[nodiscard]] std::wstring Text() const;
    [[nodiscard]] std::wstring Title() const;
    // The answers that the buttons give, from left to right.
    [[nodiscard]] std::vector<int> Buttons() const;

    // Clicks the button and waits until the box closes; throws CNotOnScreen if it stays open. At most one
    // remedy is tried (MayRepeat): raising a covered box, or repeating a lost press by keyboard.
    void Answer(int button) const;
    // The same without the mouse; the box need not be in front.
    void Press(int button) const;
    // The same, but does not wait: waiting would block a box of this thread.
    void PostPress(int button) const;
    // Waits until the box closes; throws CNotOnScreen if it stays open.
    void WaitForEnd() const;

private:
    [[nodiscard]] std::vector<HWND> ButtonWindows() const;
    [[nodiscard]] HWND Button(int button) const;
    [[nodiscard]] bool BringToFront(HWND item) const;
    void AnswerByKey(HWND item) const;

    CMessageBoxOnScreen(HWND window, DWORD process) : m_window(window), m_process(process) {}

    HWND m_window;
    DWORD m_process;
};
