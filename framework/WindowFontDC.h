#pragma once

#include <windows.h>

// A window's device context with the window's own font selected.
class CWindowFontDC
{
public:
    explicit CWindowFontDC(HWND window) : m_hWindow(window), m_hDC(GetDC(window))
    {
        const auto font = reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0));
        m_hOldFont = SelectObject(m_hDC, font != nullptr ? font : GetStockObject(SYSTEM_FONT));
    }
    CWindowFontDC(const CWindowFontDC&) = delete;
    CWindowFontDC& operator=(const CWindowFontDC&) = delete;
    ~CWindowFontDC()
    {
        SelectObject(m_hDC, m_hOldFont);
        ReleaseDC(m_hWindow, m_hDC);
    }

    [[nodiscard]] HDC Get() const { return m_hDC; }

private:
    HWND m_hWindow;
    HDC m_hDC;
    HGDIOBJ m_hOldFont;
};
