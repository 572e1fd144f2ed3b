#pragma once

#include <string>
#include <vector>

#include "tests/faults/FileWatch.h"

// Keeps what the program asks of files and folders in the network, until the end of the scope, and has it
// fail at once.
class CNetworkWatch : public CFileWatch
{
public:
    DWORD ErrorOf(const FileOperation& operation) override
    {
        if (!operation.path.starts_with(L"\\\\")) {
            return ERROR_SUCCESS;
        }
        m_paths.push_back(operation.path);
        return ERROR_BAD_NETPATH;
    }

    std::vector<std::wstring> m_paths;
};
