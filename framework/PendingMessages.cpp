#include "framework/PendingMessages.h"

#include <algorithm>

namespace {

constexpr int kPaintsAtOnce = 100;

// Takes the next message of the range from the queue. Returns false when the queue has none. If the system
// returns WM_QUIT instead, posts WM_QUIT again and returns false.
bool TakePendingMessage(MSG& message, const MessageRange& range)
{
    if (PeekMessageW(&message, nullptr, range.first, range.last, PM_REMOVE) == FALSE) {
        return false;
    }
    if (message.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(message.wParam));
        return false;
    }
    return true;
}

}  // namespace

std::vector<MSG> TakePendingMessages(std::span<const MessageRange> ranges)
{
    std::vector<MSG> messages;
    for (const MessageRange& range : ranges) {
        for (MSG message{}; TakePendingMessage(message, range);) {
            messages.push_back(message);
        }
    }
    std::ranges::stable_sort(messages, [](const MSG& one, const MSG& other) {
        return static_cast<LONG>(one.time - other.time) < 0;  // the tick count wraps around
    });
    return messages;
}

void DropPendingMessages(std::span<const MessageRange> ranges)
{
    MSG message{};
    for (const MessageRange& range : ranges) {
        while (TakePendingMessage(message, range)) {
        }
    }
}

// Looking for one kind of message clears QS_POSTMESSAGE, although others may be left; QS_ALLPOSTMESSAGE stays
// ("MsgWaitForMultipleObjectsEx function").
bool MayHavePendingInput()
{
    return HIWORD(GetQueueStatus(QS_INPUT | QS_POSTMESSAGE | QS_ALLPOSTMESSAGE | QS_HOTKEY)) != 0;
}

bool IsPress(UINT message)
{
    switch (message) {
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
        case WM_RBUTTONDOWN:
        case WM_RBUTTONDBLCLK:
        case WM_MBUTTONDOWN:
        case WM_MBUTTONDBLCLK:
        case WM_XBUTTONDOWN:
        case WM_XBUTTONDBLCLK:
        case WM_NCLBUTTONDOWN:
        case WM_NCLBUTTONDBLCLK:
        case WM_NCRBUTTONDOWN:
        case WM_NCRBUTTONDBLCLK:
        case WM_NCMBUTTONDOWN:
        case WM_NCMBUTTONDBLCLK:
        case WM_NCXBUTTONDOWN:
        case WM_NCXBUTTONDBLCLK:
        case WM_NCPOINTERDOWN:
        case WM_POINTERDOWN:
            return true;
        default:
            return false;
    }
}

void NoticePresses()
{
    if (!MayHavePendingInput()) {
        return;
    }
    MSG message{};
    for (const MessageRange& range : kPressesAndReleases) {
        PeekMessageW(&message, nullptr, range.first, range.last, PM_NOREMOVE);
    }
}

void PaintPendingWindows()
{
    MSG message{};
    for (int paints = 0;
         paints < kPaintsAtOnce && TakePendingMessage(message, MessageRange{WM_PAINT, WM_PAINT}); ++paints) {
        DispatchMessageW(&message);
    }
}
