#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "files/MapLine.h"

// The parts map file is 8-bit text in a code page of Windows. The functions take a code page by its number,
// such as 1252, and support every code page that the system has.

// Returns the code page of the map file on this system: the ANSI code page of the process or, where that is
// UTF-8, what ChooseMapCodePage returns.
[[nodiscard]] UINT MapCodePage();

// Returns the ANSI code page of the process (GetACP) unless that is UTF-8, which takes more than one byte for
// an umlaut. Otherwise returns the ANSI code page of the system's locale or, where that is UTF-8 as well or
// missing (0), Windows-1252.
[[nodiscard]] UINT ChooseMapCodePage(UINT ansiOfProcess, UINT ansiOfLocale);

// Returns the byte of a character above U+00FF if the code page has one that decodes to exactly this
// character, otherwise '?'.
[[nodiscard]] char MapByteFor(wchar_t character, UINT codePage);

// Decodes the bytes into text. Bytes that are invalid in the code page become the system's default character.
void DecodeMapText(std::string_view bytes, UINT codePage, std::wstring& text);

// Return MapByteFor and DecodeMapText bound to a code page, for MapLine.h.
[[nodiscard]] MapByteRule MapByteRuleOf(UINT codePage);
[[nodiscard]] MapDecoder MapDecoderOf(UINT codePage);
