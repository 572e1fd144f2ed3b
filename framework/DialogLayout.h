#pragma once

#include <windows.h>

#include <vector>

// Keeps the controls of a resizable dialog at its edges, at every scaling. Without extra room a control is
// where the dialog template puts it: its dialog units are mapped anew each time, as they follow the font,
// whose size does not grow in exact proportion to the scaling ("MapDialogRect function").
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

    // Call it while the dialog has the size of its template, which is also the smallest. All controls keep
    // their distance from left and top.
    void Begin(HWND dialog);

    // Does nothing without such a control.
    void Anchor(int id, unsigned edges);

    // Call on WM_SIZE, and on WM_DPICHANGED after the default processing.
    void Arrange() const;

    // The width of the client area beyond that of the template, in pixels; at least 0.
    [[nodiscard]] int ExtraWidth() const;

    // Handles WM_GETMINMAXINFO.
    void LimitSize(MINMAXINFO& limits) const;

private:
    // In dialog units.
    struct Place
    {
        int x;
        int y;
        int width;
        int height;
    };

    struct Anchored
    {
        HWND control;
        unsigned edges;
        Place place;      // in the template
        bool isComboBox;  // only moved: its height is that of its font, and setting it sets that of its list
    };

    [[nodiscard]] Place ToUnits(const RECT& pixels) const;
    [[nodiscard]] RECT ToPixels(const Place& place) const;
    [[nodiscard]] SIZE ExtraSize() const;

    HWND m_dialog = nullptr;
    Place m_client{};  // the client area in the template
    std::vector<Anchored> m_controls;
};
