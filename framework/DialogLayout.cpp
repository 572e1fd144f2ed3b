#include "framework/DialogLayout.h"

void CDialogLayout::Begin(HWND dialog)
{
    m_dialog = dialog;
    m_dpi = GetDpiForWindow(dialog);
    m_controls.clear();
    RECT rect{};
    GetClientRect(dialog, &rect);
    m_client = {rect.right, rect.bottom};
    GetWindowRect(dialog, &rect);
    m_window = {rect.right - rect.left, rect.bottom - rect.top};
}

void CDialogLayout::Anchor(int id, unsigned edges)
{
    Anchored anchored{GetDlgItem(m_dialog, id), edges, {}};
    if (anchored.control == nullptr) {
        return;
    }
    GetWindowRect(anchored.control, &anchored.place);
    MapWindowPoints(nullptr, m_dialog, reinterpret_cast<POINT*>(&anchored.place), 2);
    m_controls.push_back(anchored);
}

void CDialogLayout::Arrange() const
{
    RECT client{};
    GetClientRect(m_dialog, &client);
    const LONG wider = client.right - Scaled(m_client.cx);
    const LONG higher = client.bottom - Scaled(m_client.cy);
    HDWP moves = BeginDeferWindowPos(static_cast<int>(m_controls.size()));
    for (const Anchored& anchored : m_controls) {
        RECT place{Scaled(anchored.place.left), Scaled(anchored.place.top), Scaled(anchored.place.right),
                   Scaled(anchored.place.bottom)};
        place.left += (anchored.edges & left) != 0 ? 0 : wider;
        place.right += (anchored.edges & right) != 0 ? wider : 0;
        place.top += (anchored.edges & top) != 0 ? 0 : higher;
        place.bottom += (anchored.edges & bottom) != 0 ? higher : 0;
        if (moves != nullptr) {
            moves = DeferWindowPos(moves, anchored.control, nullptr, place.left, place.top,
                                   place.right - place.left, place.bottom - place.top,
                                   SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
        }
    }
    if (moves != nullptr) {
        EndDeferWindowPos(moves);
    }
    // Redraws everything: a group box overlaps other controls, so no old pixels can be reused.
    RedrawWindow(m_dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void CDialogLayout::LimitSize(MINMAXINFO& limits) const
{
    limits.ptMinTrackSize = {Scaled(m_window.cx), Scaled(m_window.cy)};
}

LONG CDialogLayout::Scaled(LONG length) const
{
    return MulDiv(length, static_cast<int>(GetDpiForWindow(m_dialog)), static_cast<int>(m_dpi));
}
