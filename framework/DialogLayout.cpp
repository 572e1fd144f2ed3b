#include "framework/DialogLayout.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "framework/WindowFontDC.h"

namespace {

// MapDialogRect maps this many units to the width and height of an average character.
constexpr int kUnitsPerWidth = 4;
constexpr int kUnitsPerHeight = 8;

bool IsSame(SIZE a, SIZE b)
{
    return a.cx == b.cx && a.cy == b.cy;
}

SIZE MappedCharacter(HWND dialog)
{
    RECT character{0, 0, kUnitsPerWidth, kUnitsPerHeight};
    MapDialogRect(dialog, &character);
    return {character.right, character.bottom};
}

// The average character of the dialog's font, as the dialog manager measures it ("How To Calculate Dialog
// Base Units with Non-System-Based Font").
SIZE MeasuredCharacter(HWND dialog)
{
    constexpr std::wstring_view kLetters = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    const CWindowFontDC dc(dialog);
    SIZE extent{};
    TEXTMETRICW metrics{};
    GetTextExtentPoint32W(dc.Get(), kLetters.data(), static_cast<int>(kLetters.size()), &extent);
    GetTextMetricsW(dc.Get(), &metrics);
    return {(extent.cx / 26 + 1) / 2, metrics.tmHeight};
}

// The work area (without the taskbar) of the monitor that has the largest part of the window.
RECT WorkAreaOf(HWND window)
{
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
    return monitor.rcWork;
}

SIZE SizeOf(const RECT& rect)
{
    return {rect.right - rect.left, rect.bottom - rect.top};
}

SIZE SmallerOf(SIZE a, SIZE b)
{
    return {std::min(a.cx, b.cx), std::min(a.cy, b.cy)};
}

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

void CDialogLayout::Begin(HWND dialog, SIZE natural)
{
    m_dialog = dialog;
    m_first = {GetDpiForWindow(dialog), MappedCharacter(dialog), MeasuredCharacter(dialog)};
    m_client = {0, 0, natural.cx, natural.cy};
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
    const SIZE smallest = SmallerOf(SizeOf(window), SizeOf(WorkAreaOf(m_dialog)));
    limits.ptMinTrackSize = {smallest.cx, smallest.cy};
}

void CDialogLayout::FitIntoWorkArea() const
{
    RECT window{};
    GetWindowRect(m_dialog, &window);
    const RECT work = WorkAreaOf(m_dialog);
    const SIZE size = SmallerOf(SizeOf(window), SizeOf(work));
    SetWindowPos(m_dialog, nullptr, std::clamp(window.left, work.left, work.right - size.cx),
                 std::clamp(window.top, work.top, work.bottom - size.cy), size.cx, size.cy,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

// Returns the size of an average character at the current scaling, in pixels. MapDialogRect may go on using
// the font that the dialog was created with (undocumented). If MapDialogRect's result has not changed with
// the scaling, the dialog's current font is measured. If the measured size has not changed either, the old
// size is multiplied by the ratio of the scalings.
SIZE CDialogLayout::Character() const
{
    const SIZE mapped = MappedCharacter(m_dialog);
    const UINT dpi = GetDpiForWindow(m_dialog);
    if (dpi == m_first.dpi || !IsSame(mapped, m_first.mapped)) {
        return mapped;
    }
    const SIZE measured = MeasuredCharacter(m_dialog);
    const bool isMeasured = measured.cx != 0;  // 0 without a device context
    if (isMeasured && !IsSame(measured, m_first.measured)) {
        return measured;
    }
    const auto scale = [&](LONG length) {
        return MulDiv(length, static_cast<int>(dpi), static_cast<int>(m_first.dpi));
    };
    return {scale(mapped.cx), scale(mapped.cy)};
}

// The inverse of mapping units to pixels. No unit is lost in the rounding: a unit is larger than a pixel, so
// each number of pixels comes from at most one number of units.
CDialogLayout::Place CDialogLayout::ToUnits(const RECT& pixels) const
{
    const SIZE character = Character();
    const auto x = [&](LONG length) { return MulDiv(length, kUnitsPerWidth, character.cx); };
    const auto y = [&](LONG length) { return MulDiv(length, kUnitsPerHeight, character.cy); };
    return {x(pixels.left), y(pixels.top), x(pixels.right - pixels.left), y(pixels.bottom - pixels.top)};
}

// Rounds position and size, as the dialog manager does. Rounding the right and bottom edges would give other
// sizes.
RECT CDialogLayout::ToPixels(const Place& place) const
{
    const SIZE character = Character();
    const auto x = [&](int units) { return MulDiv(units, character.cx, kUnitsPerWidth); };
    const auto y = [&](int units) { return MulDiv(units, character.cy, kUnitsPerHeight); };
    return {x(place.x), y(place.y), x(place.x) + x(place.width), y(place.y) + y(place.height)};
}

SIZE CDialogLayout::ExtraSize() const
{
    const RECT client = ClientRect(m_dialog);
    const RECT natural = ToPixels(m_client);
    return {client.right - natural.right, client.bottom - natural.bottom};
}
