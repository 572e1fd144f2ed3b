#pragma once

#include <windows.h>

#include <array>
#include <map>
#include <string>
#include <vector>

// The program stores its two default templates at its start where the user has none, and a person may change
// them while the self-check asks for something. The end of the scope puts back every value of the program's
// key as it was. A self-check that is killed meanwhile leaves them as they are then.
class CTemplatesAsBefore
{
public:
    CTemplatesAsBefore();
    ~CTemplatesAsBefore();
    CTemplatesAsBefore(const CTemplatesAsBefore&) = delete;
    CTemplatesAsBefore& operator=(const CTemplatesAsBefore&) = delete;

private:
    struct Value
    {
        DWORD type = REG_NONE;
        std::vector<BYTE> data;
    };

    [[nodiscard]] static std::map<std::wstring, Value> Values();

    // From the inside out
    static constexpr std::array<const wchar_t*, 3> kKeys{L"SOFTWARE\\Zelmar\\Tools\\Talvenor",
                                                         L"SOFTWARE\\Zelmar\\Tools", L"SOFTWARE\\Zelmar"};

    std::array<bool, kKeys.size()> m_hadKey{};
    std::map<std::wstring, Value> m_values;
};
