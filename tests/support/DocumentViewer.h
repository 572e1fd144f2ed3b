#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/DocumentClass.h"
#include "tests/support/Files.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/Problem.h"
#include "tests/support/TextFile.h"

// Registers documentviewer for documents with an extension such as ".pdf"; it writes their paths to a file.
// A test must first skip if the viewer IsOverruled.
class CDocumentViewer
{
public:
    CDocumentViewer(const std::wstring& extension, std::wstring noteFile) : m_noteFile(std::move(noteFile))
    {
        Restore();
        RegisterDocumentClass(extension,
                              L"\"" + OwnFolder() + L"\\documentviewer.exe\" \"" + m_noteFile + L"\" \"%1\"");
    }
    ~CDocumentViewer() { Restore(); }
    CDocumentViewer(const CDocumentViewer&) = delete;
    CDocumentViewer& operator=(const CDocumentViewer&) = delete;

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
        return FileExists(m_noteFile) ? ReadLines(m_noteFile) : std::vector<std::wstring>();
    }

private:
    static void Restore()
    {
        for (const std::string& problem : RestoreDocumentClasses()) {
            ReportProblem(problem);
        }
    }

    std::wstring m_noteFile;
};
