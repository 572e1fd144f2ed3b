#include "tests/cadserver/Registration.h"

#include <objbase.h>

#include <stdexcept>
#include <string>

#include "tests/support/TextFile.h"

namespace {

std::wstring ProgIdOf(int version)
{
    return kCommonProgId + (L"." + std::to_wstring(version));
}

std::wstring TextOf(const CLSID& identifier)
{
    wchar_t text[40] = L"";
    StringFromGUID2(identifier, text, 40);
    return text;
}

std::wstring ClassesKey(const std::wstring& key)
{
    return L"Software\\Classes\\" + key;
}

std::wstring ReadClassOf(const std::wstring& progId)
{
    wchar_t text[64] = L"";
    DWORD bytes = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, ClassesKey(progId + L"\\CLSID").c_str(), nullptr, RRF_RT_REG_SZ, nullptr,
                 text, &bytes);
    return text;
}

void WriteDefault(const std::wstring& key, const std::wstring& text)
{
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    const LSTATUS status =
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, ClassesKey(key).c_str(), nullptr, REG_SZ, text.c_str(), bytes);
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error("cannot write HKLM\\" + ToUtf8(ClassesKey(key)));
    }
}

std::wstring Executable()
{
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

void RegisterVersion(int version)
{
    const std::wstring classText = TextOf(ClassOf(version));
    const std::wstring classKey = L"CLSID\\" + classText;
    const std::wstring description =
        L"Stand-in CAD application " + std::to_wstring(version) + L" (test equipment)";
    WriteDefault(classKey, description);
    WriteDefault(classKey + L"\\ProgID", ProgIdOf(version));
    WriteDefault(classKey + L"\\VersionIndependentProgID", kCommonProgId);
    WriteDefault(classKey + L"\\LocalServer32",
                 L"\"" + Executable() + L"\" --serve " + std::to_wstring(version));
    WriteDefault(ProgIdOf(version), description);
    WriteDefault(ProgIdOf(version) + L"\\CLSID", classText);
}

void RegisterCurrent(int version)
{
    WriteDefault(kCommonProgId, L"Stand-in CAD application (test equipment)");
    WriteDefault(kCommonProgId + std::wstring(L"\\CLSID"), TextOf(ClassOf(version)));
    WriteDefault(kCommonProgId + std::wstring(L"\\CurVer"), ProgIdOf(version));
}

void RemoveProgId(const std::wstring& progId)
{
    if (IsOurClass(ReadClassOf(progId))) {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassesKey(progId).c_str());
    }
}

}  // namespace

void RegisterVersions(const std::vector<int>& versions, std::optional<int> current)
{
    if (const std::optional<std::wstring> other = OtherCadSystem()) {
        throw std::runtime_error(ToUtf8(*other) + " belongs to another program");
    }
    UnregisterVersions();
    for (const int version : versions) {
        RegisterVersion(version);
    }
    if (current) {
        RegisterCurrent(*current);
    }
}

void UnregisterVersions()
{
    RemoveProgId(kCommonProgId);
    for (int version = kFirstVersion; version <= kLastVersion; ++version) {
        RemoveProgId(ProgIdOf(version));
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassesKey(L"CLSID\\" + TextOf(ClassOf(version))).c_str());
    }
}
