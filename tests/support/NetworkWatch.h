#pragma once

#include <string>
#include <vector>

#include "tests/support/FileInterceptor.h"

// While it lives, the program's file operations on the network fail without being tried; it records their
// paths.
class CNetworkWatch : public CFileInterceptor
{
public:
    DWORD ErrorFor(const FileOperation& operation) override
    {
        if (!operation.path.starts_with(L"\\\\")) {
            return ERROR_SUCCESS;
        }
        m_paths.push_back(operation.path);
        return ERROR_BAD_NETPATH;
    }

    std::vector<std::wstring> m_paths;
};
