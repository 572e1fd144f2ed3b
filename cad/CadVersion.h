#pragma once

#include <optional>
#include <string>

// The version-independent ProgID, which leads to the current version.
inline constexpr const wchar_t* kCurrentCadProgId = L"SldWorks.Application";

// A SOLIDWORKS release. Its ProgID contains the major version number. Users know the release by its year:
// version 20 is 2012.
class CCadVersion
{
public:
    explicit CCadVersion(int number) : m_number(number) {}

    // Return the version for the major version number, or for the four-digit year, at the start of the text;
    // nullopt when there is no number above 0.
    [[nodiscard]] static std::optional<CCadVersion> FromNumber(const std::wstring& text);
    [[nodiscard]] static std::optional<CCadVersion> FromYear(const std::wstring& text);

    // The year in four digits, as the user chooses it.
    [[nodiscard]] std::wstring Year() const;

    // "SldWorks.Application." and the major version number.
    [[nodiscard]] std::wstring ProgId() const;

private:
    int m_number;
};
