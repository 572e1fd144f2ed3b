#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "files/MapLine.h"

// The parts map file is 8-bit text in a code page of Windows. The functions take a code page by its number,
// such as 1252, and support every code page that the system has.

// Returns what ChooseMapCodePage chooses for this process and system.
[[nodiscard]] UINT MapCodePage();

// Returns the ANSI code page of the process (GetACP) unless that is UTF-8, which takes more than one byte for
// an umlaut. Otherwise returns the ANSI code page of the system's locale or, where that is UTF-8 as well or
// missing (0), Windows-1252.
[[nodiscard]] UINT ChooseMapCodePage(UINT ansiOfProcess, UINT ansiOfLocale);

// Returns the one byte that the code page decodes to exactly this character, which is above U+00FF; '?' if
// there is none.
[[nodiscard]] char EncodeMapCharacter(wchar_t character, UINT codePage);

// Decodes the bytes into text. Bytes that are invalid in the code page become the system's default character.
void DecodeMapText(std::string_view bytes, UINT codePage, std::wstring& text);

// Return EncodeMapCharacter and DecodeMapText bound to a code page.
[[nodiscard]] MapEncoder MapEncoderOf(UINT codePage);
[[nodiscard]] MapDecoder MapDecoderOf(UINT codePage);
