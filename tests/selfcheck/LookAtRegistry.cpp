#include <windows.h>

#include <objbase.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "framework/Handles.h"
#include "tests/cadserver/ClassFamily.h"
#include "tests/selfcheck/Looks.h"
#include "tests/support/TextFile.h"

namespace {

UniqueKey Open(HKEY hive, const wchar_t* path, REGSAM view)
{
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(hive, path, 0, KEY_READ | view, &key);
    return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
}

std::optional<std::wstring> TextOf(HKEY hive, const std::wstring& path, const wchar_t* name, DWORD view)
{
    wchar_t text[1024] = L"";
    DWORD bytes = sizeof text;
    const LSTATUS status =
        RegGetValueW(hive, path.c_str(), name, RRF_RT_REG_SZ | view, nullptr, text, &bytes);
    return status == ERROR_SUCCESS ? std::optional<std::wstring>(text) : std::nullopt;
}

// The number of the sub-keys and the time of the last change.
std::pair<DWORD, ULONGLONG> StateOf(HKEY key)
{
    DWORD keys = 0;
    FILETIME time{};
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr, &time);
    return {keys, ULARGE_INTEGER{{time.dwLowDateTime, time.dwHighDateTime}}.QuadPart};
}

}  // namespace

Finding LookAtLibraryView()
{
    constexpr const wchar_t* kLibrary = L"SOFTWARE\\Zelmar\\input";
    const auto in64 = TextOf(HKEY_LOCAL_MACHINE, kLibrary, L"parts", RRF_SUBKEY_WOW6464KEY);
    const auto in32 = TextOf(HKEY_LOCAL_MACHINE, kLibrary, L"parts", RRF_SUBKEY_WOW6432KEY);
    if (!in64 && !in32) {
        return NotTried("no library is registered");
    }
    if (in64 && in32 && *in64 != *in32) {
        return No("64-bit: " + ToUtf8(*in64) + "; 32-bit: " + ToUtf8(*in32));
    }
    return Yes((in64 ? "64-bit: " : "32-bit: ") + ToUtf8(in64 ? *in64 : *in32));
}

Finding LookAtUserView()
{
    const UniqueKey in64 = Open(HKEY_CURRENT_USER, L"SOFTWARE", KEY_WOW64_64KEY);
    const UniqueKey in32 = Open(HKEY_CURRENT_USER, L"SOFTWARE", KEY_WOW64_32KEY);
    if (!in64 || !in32) {
        return No("HKCU\\SOFTWARE cannot be opened in both views");
    }
    const auto state = StateOf(in64.get());
    return YesIf(state == StateOf(in32.get()), std::to_string(state.first) + " keys in the 64-bit view");
}

Finding LookAtCadVersions()
{
    const auto current = TextOf(HKEY_CLASSES_ROOT, std::wstring(kCommonProgId) + L"\\CLSID", nullptr, 0);
    if (!current) {
        return NotTried("no SOLIDWORKS is registered");
    }
    std::string versions;
    bool found = false;
    for (int version = kFirstVersion; version <= kLastVersion; ++version) {
        const std::wstring progId = kCommonProgId + (L"." + std::to_wstring(version));
        if (const auto classText = TextOf(HKEY_CLASSES_ROOT, progId + L"\\CLSID", nullptr, 0)) {
            versions += " " + std::to_string(version);
            found = found || LowerCase(*classText) == LowerCase(*current);
        }
    }
    return YesIf(found, "versions:" + versions + (found ? "" : "; none has the class of the current one"));
}

Finding LookAtCurrentCad()
{
    CLSID classId{};
    if (FAILED(CLSIDFromProgID(kCommonProgId, &classId))) {
        return NotTried("no SOLIDWORKS is registered");
    }
    LPOLESTR raw = nullptr;
    const HRESULT status = ProgIDFromCLSID(classId, &raw);
    const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> text(raw, &CoTaskMemFree);
    if (FAILED(status)) {
        return No("the class has no name: status " + std::to_string(status));
    }
    const std::wstring name = text.get();
    const bool hasVersion = name.starts_with(kCommonProgId + std::wstring(L"."));
    return YesIf(hasVersion && TextOf(HKEY_CLASSES_ROOT, name + L"\\CLSID", nullptr, 0), ToUtf8(name));
}
