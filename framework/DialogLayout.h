#pragma once

#include <windows.h>

#include <vector>

// Keeps a resizable dialog's controls at the edges of the dialog that they belong to. Begin notes the
// dialog's first size, which is also its smallest.
class CDialogLayout
{
public:
    // The edges that a control's own edges keep their distance from. With both opposite edges it grows.
    enum Edges : unsigned
    {
        left = 1,
        top = 2,
        right = 4,
        bottom = 8
    };

    void Begin(HWND dialog);
    void Anchor(int id, unsigned edges);

    // To be called when the dialog's client area has a new size.
    void Arrange() const;

    // Answers WM_GETMINMAXINFO.
    void LimitSize(MINMAXINFO& limits) const;

private:
    // A length at the first scaling in pixels of today's.
    [[nodiscard]] LONG Scaled(LONG length) const;

    struct Anchored
    {
        HWND control;
        unsigned edges;
        RECT place;  // at the dialog's first size, in its client coordinates
    };

    HWND m_dialog = nullptr;
    UINT m_dpi = USER_DEFAULT_SCREEN_DPI;  // the first scaling, in dots per inch
    SIZE m_client{};                       // the client area's first size
    SIZE m_window{};                       // the window's first size
    std::vector<Anchored> m_controls;
};
