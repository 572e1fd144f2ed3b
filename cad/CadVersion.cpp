#include "cad/CadVersion.h"

#include <cwchar>

namespace {

constexpr int kYearOfVersionZero = 1992;
constexpr std::size_t kYearDigits = 4;

// 0 when the text does not begin with a number.
int LeadingNumber(const std::wstring& text)
{
    return static_cast<int>(std::wcstol(text.c_str(), nullptr, 10));
}

}  // namespace

std::optional<CCadVersion> CCadVersion::FromNumber(const std::wstring& text)
{
    const int number = LeadingNumber(text);
    return number > 0 ? std::optional(CCadVersion(number)) : std::nullopt;
}

std::optional<CCadVersion> CCadVersion::FromYear(const std::wstring& text)
{
    const int year = LeadingNumber(text.substr(0, kYearDigits));
    return year > 0 ? std::optional(CCadVersion(year - kYearOfVersionZero)) : std::nullopt;
}

std::wstring CCadVersion::Year() const
{
    return std::to_wstring(m_number + kYearOfVersionZero);
}

std::wstring CCadVersion::ProgId() const
{
    return kCurrentCadProgId + (L"." + std::to_wstring(m_number));
}
