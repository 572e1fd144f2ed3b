#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

// Mouse and keyboard as a person uses them: what is done goes to the window that is under the mouse, and to
// the one that has the focus. The program acts when it gets to it; only ClickOn waits until a button is
// pressed.

// Clicks the left button once at a position of the screen.
void ClickAt(POINT position);

// Clicks the left button twice in a row.
void DoubleClickAt(POINT position);

// Clicks the right button once at a position of the screen.
void RightClickAt(POINT position);

// Presses the left button, moves the mouse in one go and releases the button.
void Drag(POINT from, POINT to);

// Turns the wheel over a position of the screen by so many notches, negative ones towards the user, which
// scrolls down.
void TurnWheelAt(POINT position, int notches);

// The middle of a control on the screen.
POINT MiddleOf(HWND control);

// Waits a moment until no other window covers a control at a position of the screen: a window that has just
// been opened may still lie under another one. False when one still does.
bool WaitUntilOnTop(HWND control, POINT position);

// Presses the left button in the middle of a push button, waits until the button has taken the press, and
// releases it. False when the button did not take it.
[[nodiscard]] bool PressOn(HWND button);

// Clicks the left button in the middle of a control, once no other window covers it. A press that a button
// does not take may be repeated once (MayRepeat); throws CNotOnScreen when it does not take that one either.
void ClickOn(HWND control);

// Presses the keys one after the other and releases them in reverse order: {VK_MENU, 'T'} is Alt+T.
void PressKeys(std::initializer_list<int> keys);

// Types a text, whatever the keyboard layout.
void TypeText(const std::wstring& text);

// The key that stands behind the ampersand of a caption; 0 when there is none.
int MnemonicIn(const std::wstring& caption);

// The key that stands behind the ampersand of a control's text.
int MnemonicOf(HWND control);
