#pragma once

#include <algorithm>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "files/MapLine.h"

// Shared by the two fuzz targets for the map file. They read it with Latin-1 as the code page.

inline char QuestionMark(wchar_t)
{
    return '?';
}

inline std::wstring FromLatin1(std::string_view bytes)
{
    std::wstring text;
    for (const char byte : bytes) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
    return text;
}

inline std::wstring PlainStrip(std::wstring text)
{
    const auto isBlank = [](wchar_t each) {
        return each == L' ' || each == L'\t' || each == L'\r' || each == L'\n';
    };
    while (!text.empty() && isBlank(text.front())) {
        text.erase(0, 1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    return text;
}

struct MapReading
{
    std::optional<int> badLine;
    std::vector<UTtab_entry> entries;

    bool operator==(const MapReading&) const = default;
};

inline MapReading ReadMap(const std::string& file)
{
    std::istringstream in(file);
    CList<UTtab_entry, UTtab_entry&> entries;
    const std::optional<int> badLine = ReadMapLines(
        in, [](std::string_view bytes, std::wstring& text) { text = FromLatin1(bytes); }, entries);
    return {badLine, {entries.begin(), entries.end()}};
}
