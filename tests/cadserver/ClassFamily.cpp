#include "tests/cadserver/ClassFamily.h"

#include <objbase.h>

#include <array>

#include "framework/Handles.h"
#include "tests/support/TextFile.h"

namespace {

// The last byte of a class identifier is the version.
constexpr CLSID kClassFamily = {0x7e3b5a10, 0x94c6, 0x4d2f, {0x8b, 0x61, 0x0a, 0x57, 0xc9, 0xd0, 0xe0, 0x00}};

bool IsCadProgId(const std::wstring& key)
{
    return LowerCase(key).starts_with(LowerCase(kCommonProgId));
}

bool IsOfOtherProgram(HKEY classes, const std::wstring& progId)
{
    std::array<wchar_t, 64> text{};
    DWORD bytes = sizeof text;
    RegGetValueW(classes, (progId + L"\\CLSID").c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text.data(),
                 &bytes);
    return !IsOurClass(text.data());
}

std::optional<std::wstring> OtherCadSystemIn(HKEY hive)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(hive, L"Software\\Classes", 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    const UniqueKey classes(key);
    std::array<wchar_t, 256> name{};
    for (DWORD at = 0; RegEnumKeyW(key, at, name.data(), 256) == ERROR_SUCCESS; ++at) {
        if (IsCadProgId(name.data()) && IsOfOtherProgram(key, name.data())) {
            return name.data();
        }
    }
    return std::nullopt;
}

}  // namespace

CLSID ClassOf(int version)
{
    CLSID identifier = kClassFamily;
    identifier.Data4[7] = static_cast<unsigned char>(version);
    return identifier;
}

bool IsOurClass(const std::wstring& classText)
{
    CLSID identifier{};
    if (FAILED(CLSIDFromString(classText.c_str(), &identifier))) {
        return false;
    }
    identifier.Data4[7] = kClassFamily.Data4[7];
    return IsEqualGUID(identifier, kClassFamily) != 0;
}

std::optional<std::wstring> OtherCadSystem()
{
    const std::optional<std::wstring> ofMachine = OtherCadSystemIn(HKEY_LOCAL_MACHINE);
    return ofMachine ? ofMachine : OtherCadSystemIn(HKEY_CURRENT_USER);
}
