#include "tests/selfcheck/Picture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/support/Rects.h"

#ifndef PW_RENDERFULLCONTENT  // missing in older headers
#define PW_RENDERFULLCONTENT 2
#endif

CPicture::CPicture(HWND window)
{
    const RECT rect = RectOf(window);
    m_header.biSize = sizeof m_header;
    m_header.biWidth = rect.right - rect.left;
    m_header.biHeight = rect.bottom - rect.top;
    m_header.biPlanes = 1;
    m_header.biBitCount = 32;
    m_pixels.resize(static_cast<std::size_t>(m_header.biWidth) * static_cast<std::size_t>(m_header.biHeight));
    HDC const screen = GetDC(nullptr);
    HDC const memory = CreateCompatibleDC(screen);
    HBITMAP const bitmap = CreateCompatibleBitmap(screen, m_header.biWidth, m_header.biHeight);
    HGDIOBJ const before = SelectObject(memory, bitmap);
    PrintWindow(window, memory, PW_RENDERFULLCONTENT);
    SelectObject(memory, before);
    BITMAPINFO info{m_header, {}};
    GetDIBits(screen, bitmap, 0, static_cast<UINT>(m_header.biHeight), m_pixels.data(), &info,
              DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}

bool CPicture::IsBlank() const
{
    return std::ranges::all_of(m_pixels, [this](DWORD pixel) { return pixel == m_pixels.front(); });
}

COLORREF CPicture::At(int x, int y) const
{
    const LONG row = m_header.biHeight - 1 - y;
    const DWORD pixel =
        m_pixels.at(static_cast<std::size_t>(row) * static_cast<std::size_t>(m_header.biWidth) +
                    static_cast<std::size_t>(x));
    return RGB((pixel >> 16) & 0xFF, (pixel >> 8) & 0xFF, pixel & 0xFF);
}

void CPicture::Write(const std::wstring& path) const
{
    const auto bytes = static_cast<DWORD>(m_pixels.size() * sizeof(DWORD));
    BITMAPFILEHEADER file{};
    file.bfType = 0x4D42;  // "BM"
    file.bfOffBits = sizeof file + sizeof m_header;
    file.bfSize = file.bfOffBits + bytes;
    std::ofstream stream(std::filesystem::path(path), std::ios::binary);
    stream.write(reinterpret_cast<const char*>(&file), sizeof file);
    stream.write(reinterpret_cast<const char*>(&m_header), sizeof m_header);
    stream.write(reinterpret_cast<const char*>(m_pixels.data()), static_cast<std::streamsize>(bytes));
}
