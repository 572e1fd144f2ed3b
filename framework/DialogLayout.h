#pragma once

#include <windows.h>

#include <vector>

// Keeps the controls of a resizable dialog at its edges. The size at Begin is also the minimum size.
class CDialogLayout
{
public:
    // The dialog's edges that a control keeps its distance from. With two opposite edges it grows.
    enum Edges : unsigned
    {
        left = 1,
        top = 2,
        right = 4,
        bottom = 8
    };

    void Begin(HWND dialog);
    void Anchor(int id, unsigned edges);

    // Call on WM_SIZE.
    void Arrange() const;

    // Handles WM_GETMINMAXINFO.
    void LimitSize(MINMAXINFO& limits) const;

private:
    // Converts a length from the DPI at Begin to the current DPI.
    [[nodiscard]] LONG Scaled(LONG length) const;

    struct Anchored
    {
        HWND control;
        unsigned edges;
        RECT place;  // at Begin, in client coordinates
    };

    HWND m_dialog = nullptr;
    // At Begin
    UINT m_dpi = USER_DEFAULT_SCREEN_DPI;
    SIZE m_client{};
    SIZE m_window{};
    std::vector<Anchored> m_controls;
};
