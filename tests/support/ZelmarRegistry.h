#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "framework/Handles.h"

// The registry values of the standard-part library, in both views of the registry, and of the program's
// templates. At first there are none. The end of the scope restores the earlier values.
class CZelmarRegistry
{
public:
    // Return false if this process may not write there. view: KEY_WOW64_64KEY or KEY_WOW64_32KEY.
    bool SetPartsFolder(const std::wstring& folder, REGSAM view = KEY_WOW64_64KEY)
    {
        return SetFolder(L"parts", folder, view);
    }
    bool SetProgramFolder(const std::wstring& folder, REGSAM view = KEY_WOW64_64KEY)
    {
        return SetFolder(L"prg", folder, view);
    }
    // In the 64-bit view
    void RemovePartsFolder() { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kLibrary, L"parts"); }
    void RemoveLibrary() { RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kLibrary, KEY_WOW64_64KEY, 0); }

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
    // Moves the product's key in a hive aside until the end of the scope, in one view of the registry.
    class CAsideScope
    {
    public:
        explicit CAsideScope(HKEY hive, REGSAM view = 0)
            : m_hive(hive), m_view(view), m_moved(Move(kProduct, m_aside))
        {
        }
        ~CAsideScope()
        {
            Delete(kProduct);
            if (m_moved) {
                Move(m_aside, kProduct);
            }
        }
        CAsideScope(const CAsideScope&) = delete;
        CAsideScope& operator=(const CAsideScope&) = delete;

    private:
        static constexpr const wchar_t* kProduct = L"SOFTWARE\\Zelmar";

        // A new name each time, as one scope may lie within another.
        static std::wstring NewName()
        {
            static int made = 0;
            return L"SOFTWARE\\Zelmar, set aside by test " + std::to_wstring(GetCurrentProcessId()) + L"-" +
                   std::to_wstring(++made);
        }

        [[nodiscard]] UniqueKey Open(const std::wstring& name) const
        {
            HKEY key = nullptr;
            const LSTATUS status = RegOpenKeyExW(m_hive, name.c_str(), 0, KEY_ALL_ACCESS | m_view, &key);
            return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
        }

        bool Delete(const std::wstring& name) const
        {
            const UniqueKey key = Open(name);
            return key && RegDeleteTreeW(key.get(), nullptr) == ERROR_SUCCESS &&
                   RegDeleteKeyExW(m_hive, name.c_str(), m_view, 0) == ERROR_SUCCESS;
        }

        // Returns false if there is nothing to move.
        bool Move(const std::wstring& from, const std::wstring& to) const
        {
            const UniqueKey source = Open(from);
            if (!source) {
                return false;
            }
            const UniqueKey target = CreateKey(m_hive, to, m_view);
            return target && RegCopyTreeW(source.get(), nullptr, target.get()) == ERROR_SUCCESS &&
                   Delete(from);
        }

        const HKEY m_hive;
        const REGSAM m_view;
        const std::wstring m_aside = NewName();
        const bool m_moved;
    };

    static constexpr const wchar_t* kLibrary = L"SOFTWARE\\Zelmar\\input";
    static constexpr const wchar_t* kTemplates = L"SOFTWARE\\Zelmar\\Tools\\Talvenor";

    static std::wstring ValueOf(int column) { return L"Template Text Column " + std::to_wstring(column); }
    static UniqueKey CreateKey(HKEY hive, const std::wstring& name, REGSAM view)
    {
        HKEY key = nullptr;
        const LSTATUS status =
            RegCreateKeyExW(hive, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr, &key, nullptr);
        return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
    }
    static bool Write(HKEY hive, const wchar_t* name, const std::wstring& value, const std::wstring& text,
                      REGSAM view = 0)
    {
        const UniqueKey key = CreateKey(hive, name, view);
        const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
        return key && RegSetValueExW(key.get(), value.c_str(), 0, REG_SZ,
                                     reinterpret_cast<const BYTE*>(text.c_str()), size) == ERROR_SUCCESS;
    }
    static bool SetFolder(const wchar_t* name, const std::wstring& folder, REGSAM view)
    {
        return Write(HKEY_LOCAL_MACHINE, kLibrary, name, folder, view);
    }

    CAsideScope m_machine{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY};
    CAsideScope m_machine32{HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY};
    CAsideScope m_user{HKEY_CURRENT_USER};
};
