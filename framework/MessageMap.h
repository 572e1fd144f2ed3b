#pragma once

#include <windows.h>

#include <span>
#include <type_traits>

class CWnd;

// Message maps: the tables of the window classes' message handlers.

// A row of a window class's message map: a message and its handler. OnMessage, OnCommand, OnNotify and
// OnReflectedNotify below make rows and check the handler's signature.
struct MessageEntry
{
    enum class Kind
    {
        message,  // `code`: the window message
        command,  // WM_COMMAND; `code`: the notification (BN_CLICKED for menus, too), `id`: the control
        notify,   // WM_NOTIFY of a child window; `code`: the notification
        reflectedNotify  // WM_NOTIFY that the parent reflects to its sender; `code`: the notification
    };

    Kind kind;
    UINT code;
    UINT id;
    LRESULT (*handler)(CWnd& window, WPARAM wParam, LPARAM lParam);
};

// A class's table, chained to that of its base class.
struct MessageMap
{
    const MessageMap* base;
    std::span<const MessageEntry> entries;

    // The first matching row in this table or those of the base classes, or null.
    [[nodiscard]] const MessageEntry* Find(MessageEntry::Kind kind, UINT code, UINT id) const
    {
        for (const MessageMap* map = this; map != nullptr; map = map->base) {
            for (const MessageEntry& entry : map->entries) {
                if (entry.kind == kind && entry.code == code && entry.id == id) {
                    return &entry;
                }
            }
        }
        return nullptr;
    }
};

namespace message_map_detail {

template <class Class, class Result, class... Args>
struct MemberTraits
{
    using Owner = Class;
};

template <class Class, class Result, class... Args>
MemberTraits<Class, Result, Args...> Traits(Result (Class::*)(Args...));

template <auto Handler>
using OwnerOf = typename decltype(Traits(Handler))::Owner;

// Unpacks the parameters as the handler's signature requires.
template <auto Handler>
LRESULT CallForMessage(CWnd& window, [[maybe_unused]] WPARAM wParam, [[maybe_unused]] LPARAM lParam)
{
    using Owner = OwnerOf<Handler>;
    auto& self = static_cast<Owner&>(window);
    if constexpr (std::is_invocable_r_v<LRESULT, decltype(Handler), Owner&, WPARAM, LPARAM>) {
        return (self.*Handler)(wParam, lParam);
    } else if constexpr (std::is_invocable_v<decltype(Handler), Owner&, UINT, SIZE>) {  // WM_SIZE
        (self.*Handler)(static_cast<UINT>(wParam), SIZE{LOWORD(lParam), HIWORD(lParam)});
        return 0;
    } else if constexpr (std::is_invocable_v<decltype(Handler), Owner&, MINMAXINFO&>) {  // WM_GETMINMAXINFO
        (self.*Handler)(*reinterpret_cast<MINMAXINFO*>(lParam));
        return 0;
    } else if constexpr (std::is_invocable_r_v<HICON, decltype(Handler), Owner&>) {  // WM_QUERYDRAGICON
        return reinterpret_cast<LRESULT>((self.*Handler)());
    } else {
        static_assert(std::is_invocable_r_v<void, decltype(Handler), Owner&>, "no way to call this handler");
        (self.*Handler)();
        return 0;
    }
}

template <auto Handler>
LRESULT CallForNotify(CWnd& window, WPARAM, LPARAM lParam)
{
    using Owner = OwnerOf<Handler>;
    return (static_cast<Owner&>(window).*Handler)(*reinterpret_cast<NMHDR*>(lParam));
}

}  // namespace message_map_detail

// A row for a window message. The handler is a member `void ()`, `LRESULT (WPARAM, LPARAM)`, `void (UINT
// type, SIZE client)`, `void (MINMAXINFO&)` or `HICON ()`.
template <auto Handler>
constexpr MessageEntry OnMessage(UINT message)
{
    return {MessageEntry::Kind::message, message, 0, &message_map_detail::CallForMessage<Handler>};
}

// A row for a button's click, a menu command or, with another code, a control's notification in WM_COMMAND.
// The handler is a member `void ()`.
template <auto Handler>
constexpr MessageEntry OnCommand(UINT id, UINT code = BN_CLICKED)
{
    return {MessageEntry::Kind::command, code, id, &message_map_detail::CallForMessage<Handler>};
}

// A row for a notification of a child window. The handler is a member `LRESULT (NMHDR&)` that returns the
// notification's result.
template <auto Handler>
constexpr MessageEntry OnNotify(UINT code)
{
    return {MessageEntry::Kind::notify, code, 0, &message_map_detail::CallForNotify<Handler>};
}

// A row of a control for its own notifications, which the parent reflects. The handler is a member `LRESULT
// (NMHDR&)` that returns the notification's result.
template <auto Handler>
constexpr MessageEntry OnReflectedNotify(UINT code)
{
    return {MessageEntry::Kind::reflectedNotify, code, 0, &message_map_detail::CallForNotify<Handler>};
}
