#pragma once

#include <windows.h>

#include <array>

// A window's rectangle on the screen.
inline RECT RectOf(HWND window)
{
    RECT rect{};
    ::GetWindowRect(window, &rect);
    return rect;
}

// A window's rectangle in the client coordinates of another window.
inline RECT RectIn(HWND other, HWND window)
{
    RECT rect = RectOf(window);
    ::MapWindowPoints(nullptr, other, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

inline RECT ClientRectOf(HWND window)
{
    RECT rect{};
    ::GetClientRect(window, &rect);
    return rect;
}

inline POINT MiddleOf(const RECT& rect)
{
    return {(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
}

// Left, top, right and bottom of a rectangle, in a form that tests can compare and print.
using Edges = std::array<LONG, 4>;

inline Edges EdgesOf(const RECT& rect)
{
    return {rect.left, rect.top, rect.right, rect.bottom};
}
