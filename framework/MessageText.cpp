#include "framework/MessageText.h"

#include <cstddef>

std::wstring FillPlaces(std::wstring_view pattern, std::initializer_list<std::wstring_view> values)
{
    std::wstring filled;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const wchar_t digit = pattern[at] == L'%' && at + 1 < pattern.size() ? pattern[at + 1] : L'0';
        const bool isPlace = digit >= L'1' && digit <= L'9';
        const auto number = static_cast<std::size_t>(digit - L'0');
        if (isPlace && number <= values.size()) {
            filled += values.begin()[number - 1];
            ++at;
        } else {
            filled += pattern[at];
        }
    }
    return filled;
}
