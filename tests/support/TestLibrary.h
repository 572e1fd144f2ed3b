#pragma once

#include <string>
#include <vector>

#include "tests/support/Files.h"

// A temporary standard-parts folder. Its name contains blanks and an umlaut, as users' folders do.
class CTestLibrary
{
public:
    CTestLibrary();

    [[nodiscard]] std::wstring Path() const { return m_path; }
    [[nodiscard]] std::wstring MappedPath() const { return m_path + L"\\Mapped"; }
    [[nodiscard]] std::wstring MapPath() const { return MappedPath() + L"\\PartsMap.txt"; }
    [[nodiscard]] std::wstring Part(const std::wstring& name) const { return m_path + L"\\" + name; }
    [[nodiscard]] std::wstring Copy(const std::wstring& name) const { return MappedPath() + L"\\" + name; }

    // Adds a standard part with these configurations.
    void AddPart(const std::wstring& name, const std::vector<std::wstring>& configurations) const;
    // Creates the Mapped folder with a map file.
    void WriteMapFile(const std::string& bytes) const;
    [[nodiscard]] std::string MapFileBytes() const { return ReadBytes(MapPath()); }
    // Removes the Mapped folder with its contents.
    void RemoveMapped() const;
    // The four lines at the beginning of this library's map files.
    [[nodiscard]] std::string MapHeader() const;
    // The program's question before it overwrites this library's map file.
    [[nodiscard]] std::wstring OverwriteQuestion() const;

private:
    CTempFolder m_temp;
    const std::wstring m_path = m_temp / L"Normteile für Tests";
};
