#pragma once

#include <string>
#include <vector>

#include "framework/Handles.h"

// Keeps other instances of the program on this machine, whoever runs them, from converting the same folder.
// The lock ends with the object or with its process.
class CFolderLock
{
public:
    // `folder` must exist. All its paths lock the same folder: through a mapped drive or a junction, by a
    // short name and, if the file system numbers its files, through a share. If the system cannot make a
    // mutex, the folder is not locked, and not taken.
    explicit CFolderLock(const std::wstring& folder);

    // Whether the folder was already locked; this object then locks nothing.
    [[nodiscard]] bool IsTaken() const { return m_taken; }

private:
    void Lock(const std::wstring& name);

    std::vector<UniqueHandle> m_mutexes;  // exist as long as the lock; nobody waits for them
    bool m_taken = false;
};
