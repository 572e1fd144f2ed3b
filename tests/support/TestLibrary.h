#pragma once

#include <string>
#include <vector>

#include "framework/Handles.h"
#include "tests/support/TestScopes.h"

// A standard-parts folder of a test's own. Blanks and an umlaut in its name, as users have them, unless the
// test gives another name.
class CTestLibrary
{
public:
    explicit CTestLibrary(const std::wstring& name = L"Normteile für Tests");

    [[nodiscard]] std::wstring Path() const { return m_path; }
    [[nodiscard]] std::wstring MappedPath() const { return m_path + L"\\Mapped"; }
    [[nodiscard]] std::wstring MapPath() const { return MappedPath() + L"\\PartsMap.txt"; }
    [[nodiscard]] std::wstring Part(const std::wstring& name) const { return m_path + L"\\" + name; }
    [[nodiscard]] std::wstring Copy(const std::wstring& name) const { return MappedPath() + L"\\" + name; }

    // Adds a standard part with these configurations.
    void AddPart(const std::wstring& name, const std::vector<std::wstring>& configurations) const;
    // Makes the Mapped folder with a map file of these bytes.
    void WriteMapFile(const std::string& bytes) const;
    [[nodiscard]] std::string MapFileBytes() const { return ReadBytes(MapPath()); }
    // Takes the Mapped folder away with all that is in it.
    void RemoveMapped() const;
    // The four lines that every map file of this library starts with, as bytes.
    [[nodiscard]] std::string MapHeader() const;
    // The program's question before it overwrites this library's map file.
    [[nodiscard]] std::wstring OverwriteQuestion() const;

private:
    CTempFolder m_temp;
    std::wstring m_path;
};

// The names in a folder, in order; none when there is no folder.
std::vector<std::wstring> NamesIn(const std::wstring& folder);

// Whether something is at the path.
bool PathExists(const std::wstring& path);

// Whether the file at the path is there and read-only.
bool IsReadOnly(const std::wstring& path);

// Keeps every other program from opening the file, which is made when it is missing, until the handle is
// closed.
UniqueHandle LockFile(const std::wstring& path);
