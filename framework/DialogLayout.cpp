#include "framework/DialogLayout.h"

#include <commctrl.h>

#include <algorithm>
#include <array>

namespace {

// MapDialogRect maps this many units to the width and height of an average character.
constexpr int kUnitsPerWidth = 4;
constexpr int kUnitsPerHeight = 8;

RECT ClientRect(HWND window)
{
    RECT rect{};
    GetClientRect(window, &rect);
    return rect;
}

// A control's place in the dialog.
RECT PlaceOf(HWND control, HWND dialog)
{
    RECT place{};
    GetWindowRect(control, &place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

bool IsComboBox(HWND control)
{
    std::array<wchar_t, 16> name{};
    GetClassNameW(control, name.data(), static_cast<int>(name.size()));
    return lstrcmpiW(name.data(), WC_COMBOBOXW) == 0;
}

}  // namespace

void CDialogLayout::Begin(HWND dialog)
{
    m_dialog = dialog;
    m_client = ToUnits(ClientRect(dialog));
    m_controls.clear();
    for (HWND control = GetWindow(dialog, GW_CHILD); control != nullptr;
         control = GetWindow(control, GW_HWNDNEXT)) {
        m_controls.push_back({control, left | top, ToUnits(PlaceOf(control, dialog)), IsComboBox(control)});
    }
}

void CDialogLayout::Anchor(int id, unsigned edges)
{
    const auto anchored = std::ranges::find(m_controls, GetDlgItem(m_dialog, id), &Anchored::control);
    if (anchored != m_controls.end()) {
        anchored->edges = edges;
    }
}

void CDialogLayout::Arrange() const
{
    const SIZE extra = ExtraSize();
    HDWP moves = BeginDeferWindowPos(static_cast<int>(m_controls.size()));
    for (const Anchored& anchored : m_controls) {
        RECT place = ToPixels(anchored.place);
        place.left += (anchored.edges & left) != 0 ? 0 : extra.cx;
        place.right += (anchored.edges & right) != 0 ? extra.cx : 0;
        place.top += (anchored.edges & top) != 0 ? 0 : extra.cy;
        place.bottom += (anchored.edges & bottom) != 0 ? extra.cy : 0;
        if (moves != nullptr) {
            moves = DeferWindowPos(
                moves, anchored.control, nullptr, place.left, place.top, place.right - place.left,
                place.bottom - place.top,
                SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS | (anchored.isComboBox ? SWP_NOSIZE : 0U));
        }
    }
    if (moves != nullptr) {
        EndDeferWindowPos(moves);
    }
    // Redraws everything: a group box overlaps other controls, so no old pixels can be reused.
    RedrawWindow(m_dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

int CDialogLayout::ExtraWidth() const
{
    return std::max(0L, ExtraSize().cx);
}

void CDialogLayout::LimitSize(MINMAXINFO& limits) const
{
    if (m_dialog == nullptr) {
        return;
    }
    RECT window = ToPixels(m_client);
    AdjustWindowRectExForDpi(&window, static_cast<DWORD>(GetWindowLongW(m_dialog, GWL_STYLE)), FALSE,
                             static_cast<DWORD>(GetWindowLongW(m_dialog, GWL_EXSTYLE)),
                             GetDpiForWindow(m_dialog));
    limits.ptMinTrackSize = {window.right - window.left, window.bottom - window.top};
}

// Exact for what came from a template: a unit is larger than a pixel, so no two become the same.
CDialogLayout::Place CDialogLayout::ToUnits(const RECT& pixels) const
{
    RECT character{0, 0, kUnitsPerWidth, kUnitsPerHeight};
    MapDialogRect(m_dialog, &character);
    const auto x = [&](LONG length) { return MulDiv(length, kUnitsPerWidth, character.right); };
    const auto y = [&](LONG length) { return MulDiv(length, kUnitsPerHeight, character.bottom); };
    return {x(pixels.left), y(pixels.top), x(pixels.right - pixels.left), y(pixels.bottom - pixels.top)};
}

// Maps position and size, as the dialog manager does, not the right and bottom edges.
RECT CDialogLayout::ToPixels(const Place& place) const
{
    RECT mapped{place.x, place.y, place.width, place.height};
    MapDialogRect(m_dialog, &mapped);
    return {mapped.left, mapped.top, mapped.left + mapped.right, mapped.top + mapped.bottom};
}

SIZE CDialogLayout::ExtraSize() const
{
    const RECT client = ClientRect(m_dialog);
    const RECT natural = ToPixels(m_client);
    return {client.right - natural.right, client.bottom - natural.bottom};
}
