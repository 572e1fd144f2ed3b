#pragma once

#include <array>
#include <string_view>

#include "framework/Language.h"

// The headers of the conversion table's columns, by column number.
inline constexpr std::array kColumnHeaders{
    Text{L"Original Normteil-Dateien", L"Original Standard-Part-Files"},
    Text{L"Umbenannt nach...", L"Renamed to..."}, Text{L"Benennung d. Stücklisteneintrags", L"BOM names"}};

// Whether the text is the header of the first column in either language.
[[nodiscard]] constexpr bool IsFirstColumnHeader(std::wstring_view text)
{
    return text == kColumnHeaders.front().german || text == kColumnHeaders.front().english;
}
