#pragma once

#include <windows.h>

#include <vector>

// Keeps the controls of a resizable dialog at its edges, at every scaling. Without extra room a control is
// where the dialog template puts it: its dialog units are mapped anew each time, as they follow the font,
// whose size does not grow in exact proportion to the scaling ("MapDialogRect function"). On a screen that is
// too small for that, the dialog may be smaller.
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

    // Call it while the controls are where the template puts them. `natural` is the size of the client area
    // in the template, in dialog units: the window itself may be smaller, as the system creates none much
    // larger than the screen ("WM_GETMINMAXINFO message"). All controls keep their distance from left and
    // top.
    void Begin(HWND dialog, SIZE natural);

    // Does nothing without such a control.
    void Anchor(int id, unsigned edges);

    // Call on WM_SIZE, and on WM_DPICHANGED after the default processing.
    void Arrange() const;

    // The width of the client area beyond that of the template, in pixels; at least 0.
    [[nodiscard]] int ExtraWidth() const;

    // Handles WM_GETMINMAXINFO: the smallest size is that of the template, or that of the monitor's work area
    // where the template's is larger.
    void LimitSize(MINMAXINFO& limits) const;

    // Makes the window no larger than its monitor's work area, and puts it inside.
    void FitIntoWorkArea() const;

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

    // What dialog units are multiples of, and what it was measured at.
    struct Units
    {
        UINT dpi;
        SIZE mapped;    // an average character, in pixels, by MapDialogRect
        SIZE measured;  // the same by the dialog's font
    };

    [[nodiscard]] SIZE Character() const;
    [[nodiscard]] Place ToUnits(const RECT& pixels) const;
    [[nodiscard]] RECT ToPixels(const Place& place) const;
    [[nodiscard]] SIZE ExtraSize() const;

    HWND m_dialog = nullptr;
    Units m_first{};   // when it began
    Place m_client{};  // the client area in the template
    std::vector<Anchored> m_controls;
};
