#pragma once

#include "framework/Handles.h"

// Only one program that has such an object runs at a time, whatever the session: test programs change what
// other programs on the machine see, and two would undo each other's changes. A thread that has one object
// may make another.
class COnlyTests
{
public:
    // Throws std::runtime_error if another test program is running.
    COnlyTests();
    ~COnlyTests();
    COnlyTests(const COnlyTests&) = delete;
    COnlyTests& operator=(const COnlyTests&) = delete;

private:
    UniqueHandle m_mutex;
};
