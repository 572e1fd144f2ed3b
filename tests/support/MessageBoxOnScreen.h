#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

// An open message box of another process. Its icon cannot be asked for from outside under Wine; the
// in-process tests look at it instead.
class CMessageBoxOnScreen
{
public:
    // The topmost message box of the process, if any.
    static std::optional<CMessageBoxOnScreen> Find(DWORD process);

    // Waits for a message box; throws CNotOnScreen when none comes.
    static CMessageBoxOnScreen WaitForOne(DWORD process);

    // Waits for one with this text, wherever the focus is; throws CNotOnScreen when none or another one
    // comes.
    static CMessageBoxOnScreen WaitForText(DWORD process, const std::wstring& text);

    [[nodiscard]] std::wstring Text() const;
    // The box's title.
    [[nodiscard]] std::wstring Title() const;
    // The numbers of the buttons, from left to right.
    [[nodiscard]] std::vector<int> Buttons() const;

    // Clicks the button with the mouse and waits until the box has gone; throws CNotOnScreen when it stays.
    // Once (MayRepeat) a box that another window covers may be raised, or a press that is lost be repeated by
    // the keyboard.
    void Answer(int button) const;
    // The same without the mouse, and without the box having to come to the front.
    void Press(int button) const;
    // Waits until the box has gone; throws CNotOnScreen when it stays.
    void WaitForEnd() const;

private:
    [[nodiscard]] bool BringToFront(HWND item) const;
    void AnswerByKey(HWND item) const;

    CMessageBoxOnScreen(HWND window, DWORD process) : m_window(window), m_process(process) {}

    HWND m_window;
    DWORD m_process;
};
