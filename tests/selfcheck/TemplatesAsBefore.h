#pragma once

#include <array>
#include <optional>
#include <string>

// The program stores its two default templates at its start where the user has none, and a person may change
// them while the self-check asks for something. The end of the scope puts the user's settings back.
class CTemplatesAsBefore
{
public:
    CTemplatesAsBefore();
    ~CTemplatesAsBefore();
    CTemplatesAsBefore(const CTemplatesAsBefore&) = delete;
    CTemplatesAsBefore& operator=(const CTemplatesAsBefore&) = delete;

private:
    // From the inside out
    static constexpr std::array<const wchar_t*, 3> kKeys{L"SOFTWARE\\Zelmar\\Tools\\Talvenor",
                                                         L"SOFTWARE\\Zelmar\\Tools", L"SOFTWARE\\Zelmar"};
    static constexpr std::array<const wchar_t*, 2> kValues{L"Template Text Column 1",
                                                           L"Template Text Column 2"};

    std::array<bool, kKeys.size()> m_hadKey{};
    std::array<std::optional<std::wstring>, kValues.size()> m_texts;
};
