#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Files.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/TextFile.h"

// Registers documentviewer for documents with an extension such as ".pdf"; it writes their paths to a file.
// The earlier program is noted in the registry until it is back, also for RestoreLeftovers.
class CDocumentViewer
{
public:
    CDocumentViewer(std::wstring extension, std::wstring noteFile)
        : m_extension(std::move(extension)), m_noteFile(std::move(noteFile))
    {
        RestoreLeftovers();
        Write(std::wstring(kClass) + kBefore, m_extension, Read(m_extension, L"").value_or(kNone));
        Write(std::wstring(kClass) + L"\\shell\\open\\command", L"",
              L"\"" + OwnFolder() + L"\\documentviewer.exe\" \"" + m_noteFile + L"\" \"%1\"");
        Write(m_extension, L"", kClass);
    }
    ~CDocumentViewer() { RestoreLeftovers(); }
    CDocumentViewer(const CDocumentViewer&) = delete;
    CDocumentViewer& operator=(const CDocumentViewer&) = delete;

    // Gives the extensions back to their earlier programs.
    static void RestoreLeftovers()
    {
        for (const wchar_t* const extension : {L".pdf", L".html"}) {
            if (const std::optional<std::wstring> before = Read(std::wstring(kClass) + kBefore, extension)) {
                Restore(extension, *before);
            }
        }
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, Path(kClass).c_str());
    }

    // On Windows the user's own choice of program takes precedence over any registration.
    static bool IsOverruled(const std::wstring& extension)
    {
        const std::wstring key = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\" +
                                 extension + L"\\UserChoice";
        return RegGetValueW(HKEY_CURRENT_USER, key.c_str(), L"ProgId", RRF_RT_REG_SZ, nullptr, nullptr,
                            nullptr) == ERROR_SUCCESS;
    }

    // The documents opened so far.
    [[nodiscard]] std::vector<std::wstring> Opened() const
    {
        return PathExists(m_noteFile) ? ReadLines(m_noteFile) : std::vector<std::wstring>();
    }

private:
    static constexpr const wchar_t* kClass = L"TalvenorTestDocument";
    static constexpr const wchar_t* kBefore = L"\\Before";  // key of the earlier programs' classes
    static constexpr const wchar_t* kNone = L"?";           // there was none; no class has this name

    static std::wstring Path(const std::wstring& key) { return L"SOFTWARE\\Classes\\" + key; }
    static std::optional<std::wstring> Read(const std::wstring& key, const std::wstring& name)
    {
        wchar_t text[256] = L"";
        DWORD bytes = sizeof text;
        const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, Path(key).c_str(), name.c_str(),
                                            RRF_RT_REG_SZ, nullptr, text, &bytes);
        return status == ERROR_SUCCESS ? std::optional<std::wstring>(text) : std::nullopt;
    }
    static void Write(const std::wstring& key, const std::wstring& name, const std::wstring& text)
    {
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, Path(key).c_str(), name.c_str(), REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    static void Restore(const std::wstring& extension, const std::wstring& before)
    {
        if (before != kNone) {
            Write(extension, L"", before);
            return;
        }
        RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, Path(extension).c_str(), nullptr);
        HKEY key = nullptr;
        DWORD keys = 1;
        DWORD values = 1;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, Path(extension).c_str(), 0, KEY_READ, &key);
        const UniqueKey owner(key);
        RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                         nullptr, nullptr);
        if (keys == 0 && values == 0) {
            RegDeleteKeyW(HKEY_LOCAL_MACHINE, Path(extension).c_str());
        }
    }

    std::wstring m_extension;
    std::wstring m_noteFile;
};
