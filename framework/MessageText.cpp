#include "framework/MessageText.h"

#include <cstddef>

std::wstring FillPlaceholders(std::wstring_view message, std::initializer_list<std::wstring_view> values)
{
    std::wstring filled;
    for (std::size_t at = 0; at < message.size(); ++at) {
        const wchar_t digit = message[at] == L'%' && at + 1 < message.size() ? message[at + 1] : L'0';
        const bool isPlaceholder = digit >= L'1' && digit <= L'9';
        const auto number = static_cast<std::size_t>(digit - L'0');
        if (isPlaceholder && number <= values.size()) {
            filled += values.begin()[number - 1];
            ++at;
        } else {
            filled += message[at];
        }
    }
    return filled;
}
