#pragma once

#include <array>

#include "framework/Language.h"

// The headers of the conversion table's columns, in the order of their numbers.
inline constexpr std::array kColumnHeaders{
    Text{L"Original Normteil-Dateien", L"Original Standard-Part-Files"},
    Text{L"Umbenannt nach...", L"Renamed to..."}, Text{L"Benennung d. Stücklisteneintrags", L"BOM names"}};
