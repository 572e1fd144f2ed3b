#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "files/MapLine.h"

// The parts map file is 8-bit text in a code page of Windows. The functions take a code page by its number,
// such as 1252, and support every code page that the system has.

// Returns what ChooseMapCodePage chooses for this process and system.
[[nodiscard]] UINT MapCodePage();

// Chooses between the ANSI code page of the process (GetACP) and that of the system's locale (0: none). UTF-8
// is ruled out, because an umlaut takes two bytes in it. Returns the first of the two that is a code page
// other than UTF-8, or else Windows-1252.
[[nodiscard]] UINT ChooseMapCodePage(UINT ansiOfProcess, UINT ansiOfLocale);

// Returns the one byte that the code page decodes to exactly this character; '?' if there is none. The
// character must be above U+00FF.
[[nodiscard]] char EncodeMapCharacter(wchar_t character, UINT codePage);

// Decodes the bytes into text. Bytes that are invalid in the code page become the system's default character.
void DecodeMapText(std::string_view bytes, UINT codePage, std::wstring& text);

// Return EncodeMapCharacter and DecodeMapText bound to a code page.
[[nodiscard]] MapEncoder MapEncoderOf(UINT codePage);
[[nodiscard]] MapDecoder MapDecoderOf(UINT codePage);
