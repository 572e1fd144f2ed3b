#pragma once

#include <windows.h>

#include <optional>
#include <string>

// The values of the standard-part library and of the program's templates in the registry. The tests have the
// registry of their machine to themselves: both keys are gone before a test and after it.
class CZelmarRegistry
{
public:
    CZelmarRegistry() { Clear(); }
    ~CZelmarRegistry() { Clear(); }
    CZelmarRegistry(const CZelmarRegistry&) = delete;
    CZelmarRegistry& operator=(const CZelmarRegistry&) = delete;

    void SetPartsFolder(const std::wstring& folder) { Write(HKEY_LOCAL_MACHINE, kLibrary, L"parts", folder); }
    void SetProgramFolder(const std::wstring& folder) { Write(HKEY_LOCAL_MACHINE, kLibrary, L"prg", folder); }

    // The template of column 1 or 2.
    void SetTemplate(int column, const std::wstring& text)
    {
        Write(HKEY_CURRENT_USER, kTemplates, ValueOf(column), text);
    }
    void RemoveTemplate(int column)
    {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kTemplates, ValueOf(column).c_str());
    }
    [[nodiscard]] std::optional<std::wstring> Template(int column) const
    {
        wchar_t text[256] = L"";
        DWORD bytes = sizeof text;
        const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, kTemplates, ValueOf(column).c_str(),
                                            RRF_RT_REG_SZ, nullptr, text, &bytes);
        return status == ERROR_SUCCESS ? std::optional<std::wstring>(text) : std::nullopt;
    }

private:
    static constexpr const wchar_t* kLibrary = L"SOFTWARE\\Zelmar\\input";
    static constexpr const wchar_t* kTemplates = L"SOFTWARE\\Zelmar\\Tools\\Talvenor";

    static std::wstring ValueOf(int column) { return L"Template Text Column " + std::to_wstring(column); }
    static void Write(HKEY hive, const wchar_t* key, const std::wstring& name, const std::wstring& text)
    {
        RegSetKeyValueW(hive, key, name.c_str(), REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    static void Clear()
    {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kLibrary);
        RegDeleteTreeW(HKEY_CURRENT_USER, L"SOFTWARE\\Zelmar");
    }
};
