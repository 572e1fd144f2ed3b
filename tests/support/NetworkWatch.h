#pragma once

#include <string>
#include <vector>

#include "tests/support/FileInterceptor.h"

// While it exists, the program's file operations on network paths fail without being tried, and their paths
// are recorded.
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
