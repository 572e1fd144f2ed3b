#pragma once

#include <optional>

#include "tests/support/KeysAside.h"
#include "tests/support/OnlyTests.h"

// A machine on which tests may begin.
class CTestMachine
{
public:
    // Puts back what killed tests have changed. Throws std::runtime_error, whose text says why, if that is
    // not possible, or if another test program is running.
    CTestMachine();

private:
    const COnlyTests m_only;
};

// For test programs that register the stand-in server, the library or a viewer of documents, which every
// program of the machine sees.
class CSharedMachine
{
public:
    // Also throws std::runtime_error if a CAD system or a library is registered that is not the tests' own.
    // Otherwise puts aside what the file dialogs remember.
    CSharedMachine();

private:
    const CTestMachine m_machine;
    std::optional<CKeysAside> m_fileDialogs;
};

// Runs all tests with a CSharedMachine. Returns the process's exit status. If this machine must be left
// alone, returns kRefused and writes the reason to standard error. The run also fails if something cannot be
// undone at its end.
int RunTestsOnSharedMachine();

// The same for tests in one process, which may run beside a CAD system and a library: no test reaches the
// product's keys, not even one that has no COwnRegistry of its own.
int RunTestsInOneProcess();

// Runs one test in a process that such a test has started.
int RunTestInOwnProcess();

inline constexpr int kRefused = 3;
