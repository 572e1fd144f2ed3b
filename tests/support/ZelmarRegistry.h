#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "framework/Handles.h"

// The values of the standard-part library and of the program's templates in the registry: none at first. The
// values from before come back at the end of the scope.
class CZelmarRegistry
{
public:
    // Return false if this process may not write there.
    bool SetPartsFolder(const std::wstring& folder) { return SetFolder(L"parts", folder); }
    bool SetProgramFolder(const std::wstring& folder) { return SetFolder(L"prg", folder); }
    void RemovePartsFolder() { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kLibrary, L"parts"); }

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
    // Moves a hive's values of the product aside for the length of the scope.
    class CAsideScope
    {
    public:
        explicit CAsideScope(HKEY hive) : m_hive(hive), m_moved(Move(kProduct, m_aside)) {}
        ~CAsideScope()
        {
            RegDeleteTreeW(m_hive, kProduct);
            if (m_moved) {
                Move(m_aside, kProduct);
            }
        }
        CAsideScope(const CAsideScope&) = delete;
        CAsideScope& operator=(const CAsideScope&) = delete;

    private:
        static constexpr const wchar_t* kProduct = L"SOFTWARE\\Zelmar";

        // A scope may stand within another.
        static std::wstring NewName()
        {
            static int made = 0;
            return L"SOFTWARE\\Zelmar, set aside by test " + std::to_wstring(GetCurrentProcessId()) + L"-" +
                   std::to_wstring(++made);
        }

        // Returns false if there is nothing to move.
        bool Move(const std::wstring& from, const std::wstring& to) const
        {
            HKEY key = nullptr;
            if (RegOpenKeyExW(m_hive, from.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
                return false;
            }
            const UniqueKey source(key);
            if (RegCreateKeyExW(m_hive, to.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
                ERROR_SUCCESS) {
                return false;
            }
            const UniqueKey target(key);
            return RegCopyTreeW(source.get(), nullptr, target.get()) == ERROR_SUCCESS &&
                   RegDeleteTreeW(m_hive, from.c_str()) == ERROR_SUCCESS;
        }

        const HKEY m_hive;
        const std::wstring m_aside = NewName();
        const bool m_moved;
    };

    static constexpr const wchar_t* kLibrary = L"SOFTWARE\\Zelmar\\input";
    static constexpr const wchar_t* kTemplates = L"SOFTWARE\\Zelmar\\Tools\\Talvenor";

    static std::wstring ValueOf(int column) { return L"Template Text Column " + std::to_wstring(column); }
    static bool Write(HKEY hive, const wchar_t* key, const std::wstring& name, const std::wstring& text)
    {
        return RegSetKeyValueW(hive, key, name.c_str(), REG_SZ, text.c_str(),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
    }
    static bool SetFolder(const wchar_t* name, const std::wstring& folder)
    {
        return Write(HKEY_LOCAL_MACHINE, kLibrary, name, folder);
    }

    CAsideScope m_machine{HKEY_LOCAL_MACHINE};
    CAsideScope m_user{HKEY_CURRENT_USER};
};
