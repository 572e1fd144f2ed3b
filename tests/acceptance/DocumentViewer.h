#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/Files.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/TextFile.h"

// Makes documentviewer the program that opens documents with an extension such as ".pdf". The viewer appends
// the path of each document that it opens to the note file.
class CDocumentViewer
{
public:
    CDocumentViewer(std::wstring extension, std::wstring noteFile)
        : m_extension(std::move(extension)), m_noteFile(std::move(noteFile)), m_before(Read())
    {
        Write(m_extension, kClass);
        Write(std::wstring(kClass) + L"\\shell\\open\\command",
              L"\"" + OwnFolder() + L"\\documentviewer.exe\" \"" + m_noteFile + L"\" \"%1\"");
    }
    ~CDocumentViewer()
    {
        Write(m_extension, m_before);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (std::wstring(kClasses) + kClass).c_str());
    }
    CDocumentViewer(const CDocumentViewer&) = delete;
    CDocumentViewer& operator=(const CDocumentViewer&) = delete;

    // Whether the user has chosen a program for the extension. On Windows, this choice takes precedence over
    // any registration.
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
    static constexpr const wchar_t* kClasses = L"SOFTWARE\\Classes\\";
    static constexpr const wchar_t* kClass = L"TalvenorTestDocument";

    [[nodiscard]] std::wstring Read() const
    {
        wchar_t text[256] = L"";
        DWORD bytes = sizeof text;
        RegGetValueW(HKEY_LOCAL_MACHINE, (kClasses + m_extension).c_str(), nullptr, RRF_RT_REG_SZ, nullptr,
                     text, &bytes);
        return text;
    }
    static void Write(const std::wstring& key, const std::wstring& text)
    {
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), nullptr, REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }

    std::wstring m_extension;
    std::wstring m_noteFile;
    std::wstring m_before;
};
