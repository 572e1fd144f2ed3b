#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "framework/Handles.h"

// Files and folders for tests. Locks, attributes and mappings make file operations of the program fail from
// outside; CFailingFile makes single operations fail.

// An empty folder below the user's temporary folder, removed with its contents at the end of the scope. A
// folder left by a crashed process with the same process id is removed first.
class CTempFolder
{
public:
    CTempFolder()
    {
        static int made = 0;
        m_path = std::filesystem::temp_directory_path() /
                 (L"talvenor-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++made));
        Remove();
        EXPECT_TRUE(std::filesystem::create_directory(m_path));
    }
    ~CTempFolder() { Remove(); }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    // The folder, without a backslash at its end.
    [[nodiscard]] std::wstring Path() const { return m_path.wstring(); }

    // The path of something in the folder.
    [[nodiscard]] std::wstring operator/(const std::wstring& name) const { return (m_path / name).wstring(); }

private:
    void Remove() const
    {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path, ignored)) {
            ::SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
        }
        std::filesystem::remove_all(m_path, ignored);
    }

    std::filesystem::path m_path;
};

// Changes the working folder until the end of the scope.
class CWorkingFolderScope
{
public:
    explicit CWorkingFolderScope(const std::wstring& folder) : m_before(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder);
    }
    ~CWorkingFolderScope() { std::filesystem::current_path(m_before); }
    CWorkingFolderScope(const CWorkingFolderScope&) = delete;
    CWorkingFolderScope& operator=(const CWorkingFolderScope&) = delete;

private:
    std::filesystem::path m_before;
};

// Creates or overwrites a file.
inline void WriteBytes(const std::wstring& path, const std::string& bytes)
{
    std::ofstream file(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    file << bytes;
    ASSERT_TRUE(file.flush().good());
}

// All bytes of a file.
inline std::string ReadBytes(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    EXPECT_TRUE(file.is_open());
    return {std::istreambuf_iterator<char>(file), {}};
}

// The names in a folder, sorted; none if the folder does not exist.
inline std::vector<std::wstring> NamesIn(const std::wstring& folder)
{
    std::vector<std::wstring> names;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
        names.push_back(entry.path().filename().wstring());
    }
    std::ranges::sort(names);
    return names;
}

// Whether a file or folder is at the path.
inline bool FileExists(const std::wstring& path)
{
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Whether the file, which must exist, is read-only.
inline bool IsReadOnly(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    EXPECT_NE(attributes, INVALID_FILE_ATTRIBUTES);
    return (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

inline void MakeReadOnly(const std::wstring& path)
{
    EXPECT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
}

// Opens an existing file as another program does, until the handle is closed. Returns null if it cannot be
// opened.
inline UniqueHandle OpenAsOther(const std::wstring& path, DWORD access, DWORD share)
{
    return UniqueHandle(
        ValidHandle(::CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr)));
}

// Keeps every other program from opening the file until the handle is closed. Creates a missing file.
inline UniqueHandle LockFile(const std::wstring& path)
{
    UniqueHandle file(ValidHandle(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                                OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)));
    EXPECT_NE(nullptr, file);
    return file;
}

// Whether the system keeps the user from writing to a read-only file. Windows does; Wine leaves it to the
// file permissions of its host, which do not bind root.
inline bool ReadOnlyFilesDenyWriting()
{
    const CTempFolder folder;
    const std::wstring path = folder / L"read-only";
    WriteBytes(path, "");
    MakeReadOnly(path);
    return !std::ofstream(std::filesystem::path(path)).is_open();
}

// Maps the file into memory until the end of the scope, as another program may. Until then the file cannot be
// truncated.
class CMappedFile
{
public:
    explicit CMappedFile(const std::wstring& path)
        : m_file(ValidHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                         nullptr, OPEN_EXISTING, 0, nullptr)))
        , m_mapping(CreateFileMappingW(m_file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr))
        , m_view(MapViewOfFile(m_mapping.get(), FILE_MAP_READ, 0, 0, 0))
    {
        EXPECT_NE(nullptr, m_view);
    }
    CMappedFile(const CMappedFile&) = delete;
    CMappedFile& operator=(const CMappedFile&) = delete;
    ~CMappedFile() { UnmapViewOfFile(m_view); }

private:
    UniqueHandle m_file;
    UniqueHandle m_mapping;
    const void* m_view;
};
