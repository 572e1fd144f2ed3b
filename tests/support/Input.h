#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

// Mouse and keyboard input. Mouse input goes to the window under the mouse, keyboard input to the window with
// the focus. The functions return before the program has handled the input; only PressOn and ClickOn wait
// until a button has taken the press.

// Clicks the left button once at a position of the screen.
void ClickAt(POINT position);

// Clicks the left button twice in a row.
void DoubleClickAt(POINT position);

// Clicks the right button once at a position of the screen.
void RightClickAt(POINT position);

// Presses the left button, moves the mouse in one step and releases the button.
void Drag(POINT from, POINT to);

// The middle of a control on the screen.
POINT MiddleOf(HWND control);

// Waits briefly until no other window covers a control at a position of the screen: a window may open below
// another one and come to the top later. Returns false if the control is still covered.
bool WaitUntilOnTop(HWND control, POINT position);

// Presses the left button in the middle of a push button, waits until the button has taken the press, and
// releases it. Returns false if the button did not take it.
[[nodiscard]] bool PressOn(HWND button);

// Clicks the left button in the middle of a control, once no other window covers it. A press that a button
// does not take may be repeated once (MayRepeat); throws CNotOnScreen if that fails, too.
void ClickOn(HWND control);

// Presses the keys one after the other and releases them in reverse order: {VK_MENU, 'T'} is Alt+T.
void PressKeys(std::initializer_list<int> keys);

// The same, but releases the keys in the order in which they were pressed: Alt before T.
void PressKeysReleasingFirstFirst(std::initializer_list<int> keys);

// Types a text, whatever the keyboard layout.
void TypeText(const std::wstring& text);

// The key for the character after the ampersand of a caption; 0 if there is no ampersand.
int MnemonicIn(const std::wstring& caption);

// The same for a control's text.
int MnemonicOf(HWND control);
