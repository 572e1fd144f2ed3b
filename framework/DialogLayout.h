#pragma once

#include <windows.h>

#include <vector>

// Anchors the controls of a resizable dialog to its edges, at every scaling. While the dialog has the size of
// its template, each control is where the template puts it. Places are kept in dialog units and mapped to
// pixels anew each time. Dialog units follow the font, and the font's size does not grow in exact proportion
// to the scaling ("MapDialogRect function"). On a screen that is too small for the template, the dialog may
// be smaller than the template.
class CDialogLayout
{
public:
    // The edges of the dialog from which a control keeps its distance. A control with two opposite edges
    // grows with the dialog.
    enum Edges : unsigned
    {
        left = 1,
        top = 2,
        right = 4,
        bottom = 8
    };

    // Call it while the controls are where the template puts them. `natural` is the size of the client area
    // in the template, in dialog units. The window may be smaller, as the system creates no window much
    // larger than the screen ("WM_GETMINMAXINFO message"). Until Anchor is called for a control, the control
    // keeps its distance from the left and top edges.
    void Begin(HWND dialog, SIZE natural);

    // Sets the edges of a control. Does nothing if the dialog has no such control.
    void Anchor(int id, unsigned edges);

    // Call on WM_SIZE, and on WM_DPICHANGED after the default processing.
    void Arrange() const;

    // How much wider the client area is than in the template, in pixels; at least 0.
    [[nodiscard]] int ExtraWidth() const;

    // Handles WM_GETMINMAXINFO: the smallest size is the template's size, but neither wider nor higher than
    // the monitor's work area.
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
        bool isComboBox;  // only moved: a new height would become the height of the drop-down list
    };

    // The size of an average character, of which dialog units are fractions, and the DPI at which it was
    // measured.
    struct Units
    {
        UINT dpi;
        SIZE mapped;    // an average character, in pixels, by MapDialogRect
        SIZE measured;  // the same, measured in the dialog's font
    };

    [[nodiscard]] SIZE Character() const;
    [[nodiscard]] Place ToUnits(const RECT& pixels) const;
    [[nodiscard]] RECT ToPixels(const Place& place) const;
    [[nodiscard]] SIZE ExtraSize() const;

    HWND m_dialog = nullptr;
    Units m_first{};   // when Begin was called
    Place m_client{};  // the client area in the template
    std::vector<Anchored> m_controls;
};
