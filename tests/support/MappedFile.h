#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "framework/Handles.h"

// As long as it lives, the file cannot be made shorter: another program has it mapped into its memory.
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
