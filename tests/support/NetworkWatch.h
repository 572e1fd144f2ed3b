#pragma once

#include <string>
#include <vector>

#include "tests/support/FileInterceptor.h"

// During its lifetime, records the paths of the program's file operations on the network and makes these
// operations fail at once.
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
