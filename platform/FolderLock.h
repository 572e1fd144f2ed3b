#pragma once

#include <string>

#include "framework/Handles.h"

// Keeps other instances of the program on this machine, of whatever user, from converting the same folder.
// The lock ends with the object or with its process.
class CFolderLock
{
public:
    // The folder exists. However it is written, by a mapped drive or through a junction, it is the same
    // folder.
    explicit CFolderLock(const std::wstring& folder);

    // Whether another lock is on the folder; this one then locks nothing.
    [[nodiscard]] bool IsTaken() const { return m_taken; }

private:
    UniqueHandle m_mutex;  // exists as long as the lock; nobody waits for it
    bool m_taken = false;
};
