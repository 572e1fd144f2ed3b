#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "framework/Handles.h"
#include "tests/support/KeysAside.h"
#include "tests/support/OwnRegistry.h"
#include "tests/support/TestMark.h"

// Sets and reads the values of the standard-part library, in both views of the registry, and the program's
// templates.
class CZelmarValues
{
public:
    // Return false if this process may not write there. view: KEY_WOW64_64KEY or KEY_WOW64_32KEY.
    bool SetPartsFolder(const std::wstring& folder, REGSAM view = KEY_WOW64_64KEY) const
    {
        return SetFolder(L"parts", folder, view);
    }
    bool SetProgramFolder(const std::wstring& folder, REGSAM view = KEY_WOW64_64KEY) const
    {
        return SetFolder(L"prg", folder, view);
    }
    // These two act on the 64-bit view.
    void RemovePartsFolder() const
    {
        RegDeleteValueW(Open(HKEY_LOCAL_MACHINE, kLibrary, KEY_WOW64_64KEY).get(), L"parts");
    }
    void RemoveLibrary() const
    {
        RegDeleteKeyExW(Open(HKEY_LOCAL_MACHINE, kProduct, KEY_WOW64_64KEY).get(), L"input", KEY_WOW64_64KEY,
                        0);
    }

    // The template of column 1 or 2.
    void SetTemplate(int column, const std::wstring& text, DWORD type = REG_SZ) const
    {
        Write(HKEY_CURRENT_USER, kTemplates, ValueOf(column), text, 0, type);
    }
    void SetTemplateNumber(int column, DWORD number) const
    {
        WriteData(HKEY_CURRENT_USER, kTemplates, ValueOf(column), REG_DWORD, &number, sizeof number, 0);
    }
    void RemoveTemplate(int column) const
    {
        RegDeleteValueW(Open(HKEY_CURRENT_USER, kTemplates).get(), ValueOf(column).c_str());
    }
    // None if there is none of type REG_SZ.
    [[nodiscard]] std::optional<std::wstring> Template(int column) const
    {
        std::wstring text(2048, L'\0');
        auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        if (RegGetValueW(Open(HKEY_CURRENT_USER, kTemplates).get(), nullptr, ValueOf(column).c_str(),
                         RRF_RT_REG_SZ, nullptr, text.data(), &size) != ERROR_SUCCESS) {
            return std::nullopt;
        }
        return text.substr(0, size / sizeof(wchar_t) - 1);
    }

    // Stores a template in the history: as REG_SZ, or as another type with the text as its bytes.
    void SetHistory(int column, int place, const std::wstring& text, DWORD type = REG_SZ) const
    {
        Write(HKEY_CURRENT_USER, std::wstring(kTemplates) + L"\\Template History",
              L"Column " + std::to_wstring(column) + L" Template " + std::to_wstring(place), text, 0, type);
    }

protected:
    // Lists the text in the mark of the test, as if the test had stored it.
    static void NoteTemplate(int column, const std::wstring& text)
    {
        NoteData(HKEY_CURRENT_USER, kTemplates, ValueOf(column), REG_SZ, text.c_str(), SizeOf(text), 0);
    }

private:
    static constexpr const wchar_t* kProduct = L"SOFTWARE\\Zelmar";
    static constexpr const wchar_t* kLibrary = L"SOFTWARE\\Zelmar\\input";
    static constexpr const wchar_t* kTemplates = L"SOFTWARE\\Zelmar\\Tools\\Talvenor";

    static std::wstring ValueOf(int column) { return L"Template Text Column " + std::to_wstring(column); }
    static UniqueKey Open(HKEY hive, const std::wstring& name, REGSAM view = 0)
    {
        HKEY key = nullptr;
        const LSTATUS status = RegOpenKeyExW(hive, name.c_str(), 0, KEY_ALL_ACCESS | view, &key);
        return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
    }
    static UniqueKey Create(HKEY hive, const std::wstring& name, REGSAM view = 0)
    {
        HKEY key = nullptr;
        const LSTATUS status =
            RegCreateKeyExW(hive, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr, &key, nullptr);
        return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
    }
    static bool Write(HKEY hive, const std::wstring& name, const std::wstring& value,
                      const std::wstring& text, REGSAM view = 0, DWORD type = REG_SZ)
    {
        return WriteData(hive, name, value, type, text.c_str(), SizeOf(text), view);
    }
    static DWORD SizeOf(const std::wstring& text)
    {
        return static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    }
    // Adds the value to the list in the mark of the product's key. The key has a mark only in the machine's
    // own registry; without one, nothing happens.
    static bool NoteData(HKEY hive, const std::wstring& name, const std::wstring& value, DWORD type,
                         const void* data, DWORD size, REGSAM view)
    {
        const std::wstring below = name.substr(std::wstring(kProduct).size() + 1);
        return NoteTestValue(Open(hive, kProduct, view).get(), below, value, type, data, size);
    }
    static bool WriteData(HKEY hive, const std::wstring& name, const std::wstring& value, DWORD type,
                          const void* data, DWORD size, REGSAM view)
    {
        if (!NoteData(hive, name, value, type, data, size, view)) {
            return false;
        }
        const UniqueKey key = Create(hive, name, view);
        return key && RegSetValueExW(key.get(), value.c_str(), 0, type, static_cast<const BYTE*>(data),
                                     size) == ERROR_SUCCESS;
    }
    static bool SetFolder(const wchar_t* name, const std::wstring& folder, REGSAM view)
    {
        return Write(HKEY_LOCAL_MACHINE, kLibrary, name, folder, view);
    }
};

// For code in the test's process: a registry of the test's own, which has none of the values at first.
class CZelmarRegistry : public COwnRegistry, public CZelmarValues
{
};

// For programs that the test starts: the machine's own registry, which has none of the values at first. The
// values that it had before are put aside until the end of the scope; see CKeysAside.
class CSharedZelmarRegistry : public CZelmarValues
{
public:
    // The program stores the default templates without being asked. They are noted as the test's own, because
    // what a killed test has left of them need not be kept.
    CSharedZelmarRegistry()
    {
        NoteTemplate(1, L"%5%3_%4.changed.%6");
        NoteTemplate(2, L"Norm %1 - %2");
    }

private:
    CKeysAside m_machine{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY};
    CKeysAside m_machine32{HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY};
    CKeysAside m_user{HKEY_CURRENT_USER};
};
