#pragma once

#include "framework/Handles.h"

// Of the programs that change what other programs of the machine see, only one runs at a time, whatever the
// session: two would undo each other's changes. A thread that has one such object may make another.
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
