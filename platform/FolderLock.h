#pragma once

#include <string>

#include "framework/Handles.h"

// Keeps other instances of the program on this machine, whoever runs them, from converting the same folder.
// The lock ends with the object or with its process.
class CFolderLock
{
public:
    // `folder` must exist. A path through a mapped drive or a junction locks the same folder as its direct
    // path.
    explicit CFolderLock(const std::wstring& folder);

    // Whether the folder was already locked; this object then locks nothing.
    [[nodiscard]] bool IsTaken() const { return m_taken; }

private:
    UniqueHandle m_mutex;  // exists as long as the lock; nobody waits for it
    bool m_taken = false;
};
