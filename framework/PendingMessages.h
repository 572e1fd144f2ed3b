#pragma once

#include <windows.h>

#include <array>
#include <span>
#include <vector>

// Takes, examines and dispatches messages that wait in the thread's queue.

// Both ends belong to the range.
struct MessageRange
{
    UINT first;
    UINT last;
};

// Keys, mouse buttons, wheels and touches, without the moves of mouse and pointer.
inline constexpr std::array kPressesAndReleases{
    MessageRange{WM_KEYFIRST, WM_KEYLAST}, MessageRange{WM_LBUTTONDOWN, WM_MOUSELAST},
    MessageRange{WM_NCLBUTTONDOWN, WM_NCXBUTTONDBLCLK}, MessageRange{WM_NCPOINTERDOWN, WM_NCPOINTERUP},
    MessageRange{WM_POINTERDOWN, WM_POINTERUP}};

inline constexpr std::array kAllInput{MessageRange{WM_KEYFIRST, WM_KEYLAST},
                                      MessageRange{WM_MOUSEFIRST, WM_MOUSELAST},
                                      MessageRange{WM_NCMOUSEMOVE, WM_NCXBUTTONDBLCLK},
                                      MessageRange{WM_NCPOINTERUPDATE, WM_POINTERROUTEDRELEASED}};

// Takes the messages of the ranges out of the thread's queue, for any window, and returns them in the order
// of their times. The system returns WM_QUIT for every range; it is posted again.
std::vector<MSG> TakePendingMessages(std::span<const MessageRange> ranges);

// Takes the messages of the ranges out of the thread's queue and discards them. Does not throw.
void DropPendingMessages(std::span<const MessageRange> ranges);

// Whether the queue holds input or posted messages, which may be input that was posted again. Makes a single
// system call; looking for each kind of input would take one call for each kind.
[[nodiscard]] bool MayHavePendingInput();

// Whether the message is a key or a button that goes down, or a touch that begins.
[[nodiscard]] bool IsPress(UINT message);

// Makes the system send WM_SETCURSOR for presses on disabled windows: the system sends the message when the
// queue is examined, and then discards the press ("WM_SETCURSOR message").
void NoticePresses();

// Dispatches the pending WM_PAINT messages, at most 100: a window that never validates its update region
// would get WM_PAINT forever.
void PaintPendingWindows();
