#pragma once

#include <optional>

#include "framework/Handles.h"
#include "tests/support/KeysAside.h"

// For test programs that register the stand-in server, the library or a viewer of documents, which every
// program of the machine sees. Only one of them runs at a time.
class CSharedMachine
{
public:
    // Puts back what killed tests have changed. Throws std::runtime_error, whose text says why, if a CAD
    // system or a library is registered that is not the tests' own, if something cannot be put back, or if
    // another test program is running. Nothing is changed then.
    CSharedMachine();

private:
    UniqueHandle m_only;
    std::optional<CKeysAside> m_fileDialogs;
};

// Runs all tests with such a machine. Returns the process's exit status; 3 and the reason on standard error
// if this machine must be left alone.
int RunTestsOnSharedMachine();

inline constexpr int kRefused = 3;
