#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "files/MapLine.h"

// The 8-bit text of the parts map file in the code pages of Windows. A code page is given by its number, such
// as 1252; all functions work in every code page that the system has.

// Returns the code page of the map file on this system: the ANSI code page of the process and, where that is
// UTF-8, the one that ChooseMapCodePage takes instead.
[[nodiscard]] UINT MapCodePage();

// Returns the ANSI code page of the process (GetACP), unless that is UTF-8, which has more than one byte for
// an umlaut: then the ANSI code page of the system's locale, and where that is UTF-8 too or there is none
// (0), Windows-1252.
[[nodiscard]] UINT ChooseMapCodePage(UINT ansiOfProcess, UINT ansiOfLocale);

// Returns the byte of a character above U+00FF: the one byte that stands for exactly this character in the
// code page, so that the reader gets it back, otherwise '?'.
[[nodiscard]] char MapByteFor(wchar_t character, UINT codePage);

// Sets text to what the bytes stand for in the code page. A byte, or a pair of them, that stands for nothing
// there becomes the character that the system has for such.
void DecodeMapText(std::string_view bytes, UINT codePage, std::wstring& text);

// Return these two in one code page, as writer and reader of the map file's text take them.
[[nodiscard]] MapByteRule MapByteRuleOf(UINT codePage);
[[nodiscard]] MapDecoder MapDecoderOf(UINT codePage);
