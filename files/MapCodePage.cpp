#include "files/MapCodePage.h"

namespace {

constexpr UINT kWesternEurope = 1252;

// Returns 0 if the system's locale has no ANSI code page (Hindi, for example). Queried by the locale's name,
// because Wine 8 does not know LOCALE_NAME_SYSTEM_DEFAULT.
UINT AnsiCodePageOfLocale()
{
    wchar_t name[LOCALE_NAME_MAX_LENGTH] = L"";
    DWORD codePage = 0;
    if (::GetSystemDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH) == 0 ||
        ::GetLocaleInfoEx(name, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                          reinterpret_cast<wchar_t*>(&codePage),
                          static_cast<int>(sizeof codePage / sizeof(wchar_t))) == 0) {
        return 0;
    }
    return codePage;
}

}  // namespace

UINT MapCodePage()
{
    return ChooseMapCodePage(::GetACP(), AnsiCodePageOfLocale());
}

UINT ChooseMapCodePage(UINT ansiOfProcess, UINT ansiOfLocale)
{
    if (ansiOfProcess != CP_UTF8) {
        return ansiOfProcess;
    }
    return ansiOfLocale != 0 && ansiOfLocale != CP_UTF8 ? ansiOfLocale : kWesternEurope;
}

char EncodeMapCharacter(wchar_t character, UINT codePage)
{
    char bytes[2] = {};
    const int count = ::WideCharToMultiByte(codePage, 0, &character, 1, bytes, 2, nullptr, nullptr);
    // The comparison rejects a best fit, such as "a" for "ā".
    std::wstring decoded;
    DecodeMapText({bytes, 1}, codePage, decoded);
    return count == 1 && decoded == std::wstring(1, character) ? bytes[0] : '?';
}

void DecodeMapText(std::string_view bytes, UINT codePage, std::wstring& text)
{
    // In every code page, n bytes decode to at most n UTF-16 units.
    const int size = static_cast<int>(bytes.size());
    text.resize(bytes.size());
    const int length = ::MultiByteToWideChar(codePage, 0, bytes.data(), size, text.data(), size);
    text.resize(static_cast<std::size_t>(length));
}

MapEncoder MapEncoderOf(UINT codePage)
{
    return [codePage](wchar_t character) { return EncodeMapCharacter(character, codePage); };
}

MapDecoder MapDecoderOf(UINT codePage)
{
    return [codePage](std::string_view bytes, std::wstring& text) { DecodeMapText(bytes, codePage, text); };
}
