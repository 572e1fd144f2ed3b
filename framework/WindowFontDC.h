#pragma once

#include <windows.h>

// A window's device context with the window's own font selected.
class CWindowFontDC
{
public:
    explicit CWindowFontDC(HWND window) : m_window(window), m_dc(GetDC(window))
    {
        const auto font = reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0));
        m_oldFont = SelectObject(m_dc, font != nullptr ? font : GetStockObject(SYSTEM_FONT));
    }
    CWindowFontDC(const CWindowFontDC&) = delete;
    CWindowFontDC& operator=(const CWindowFontDC&) = delete;
    ~CWindowFontDC()
    {
        SelectObject(m_dc, m_oldFont);
        ReleaseDC(m_window, m_dc);
    }

    [[nodiscard]] HDC Get() const { return m_dc; }

private:
    HWND m_window;
    HDC m_dc;
    HGDIOBJ m_oldFont;
};
