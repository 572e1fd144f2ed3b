#include "tests/cadserver/Settings.h"

#include "tests/support/TextFile.h"

namespace {

void WriteText(const wchar_t* name, const std::wstring& text)
{
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    RegSetKeyValueW(HKEY_CURRENT_USER, kSettingsKey, name, REG_SZ, text.c_str(), bytes);
}

std::wstring ReadText(const wchar_t* name)
{
    wchar_t text[1024] = L"";
    DWORD bytes = sizeof text;
    const LSTATUS status =
        RegGetValueW(HKEY_CURRENT_USER, kSettingsKey, name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return status == ERROR_SUCCESS ? text : L"";
}

}  // namespace

void ConfigureServer(const std::wstring& script, const std::wstring& log)
{
    RemoveSettings();
    if (!script.empty()) {
        WriteText(L"Script", FullPath(script));
    }
    if (!log.empty()) {
        WriteText(L"Log", FullPath(log));
    }
}

void RemoveSettings()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
}

std::wstring ScriptPath()
{
    return ReadText(L"Script");
}

std::wstring LogPath()
{
    return ReadText(L"Log");
}

DWORD ReadCounter(const std::wstring& name)
{
    DWORD value = 0;
    DWORD bytes = sizeof value;
    RegGetValueW(HKEY_CURRENT_USER, kSettingsKey, name.c_str(), RRF_RT_REG_DWORD, nullptr, &value, &bytes);
    return value;
}

void WriteCounter(const std::wstring& name, DWORD value)
{
    RegSetKeyValueW(HKEY_CURRENT_USER, kSettingsKey, name.c_str(), REG_DWORD, &value, sizeof value);
}
