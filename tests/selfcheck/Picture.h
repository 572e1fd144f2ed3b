#pragma once

#include <windows.h>

#include <string>
#include <vector>

// What a window shows.
class CPicture
{
public:
    explicit CPicture(HWND window);

    // Whether every pixel has the same colour. If so, the system gives no picture: Wine gives none of the
    // windows of other processes.
    [[nodiscard]] bool IsBlank() const;
    [[nodiscard]] COLORREF At(int x, int y) const;

    // Writes a bitmap file.
    void Write(const std::wstring& path) const;

private:
    BITMAPINFOHEADER m_header{};
    std::vector<DWORD> m_pixels;  // from the bottom up
};
