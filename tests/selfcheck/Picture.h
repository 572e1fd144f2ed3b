#pragma once

#include <windows.h>

#include <string>
#include <vector>

// What a window shows.
class CPicture
{
public:
    explicit CPicture(HWND window);

    // Whether every pixel has the same colour: the system gives no picture, as Wine of other processes.
    [[nodiscard]] bool IsBlank() const;
    [[nodiscard]] COLORREF At(int x, int y) const;

    // Writes a bitmap file.
    void Write(const std::wstring& path) const;

private:
    BITMAPINFOHEADER m_header{};
    std::vector<DWORD> m_pixels;  // from the bottom up
};
