#pragma once

#include <string>
#include <string_view>

// Stands in for the file system's case folding.
inline std::wstring SmallLetters(std::wstring_view name)
{
    std::wstring folded(name);
    for (wchar_t& character : folded) {
        const bool isCapital = (character >= L'A' && character <= L'Z') || character == L'\u00DC';
        character = isCapital ? static_cast<wchar_t>(character + 0x20) : character;
    }
    return folded;
}
