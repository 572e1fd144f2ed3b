#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/FaultBench.h"
#include "tests/support/EveryFault.h"

// The languages to inject faults in: both with EveryFault, otherwise German.
std::vector<int> LanguagesToTry();

// Two parts, a part that is already converted, and an assembly that opens with a warning.
std::vector<ModelRow> FourRows();

// Counts injected faults, and those that left the expected state, for the report of the test.
class CountingTest : public testing::Test
{
protected:
    void TearDown() override;

    // Counts injected faults. They have passed if there are no differences; otherwise the test fails.
    void Count(int injected, const std::string& differences);

private:
    int m_injected = 0;
    int m_passed = 0;
};

// Tests with faults in runs of one CFaultBench.
class FaultTest : public CountingTest
{
protected:
    virtual CFaultBench& Bench() = 0;

    // Makes a run with the faults of the script and those that the test has prepared. `undo` removes the
    // prepared ones before the results are compared. Then, if m_thorough, a second run must complete the
    // work. Finally a run of all rows must succeed.
    void RunAndRepeat(const ServerScript& script, const std::function<void()>& undo = nullptr);

    bool m_thorough = EveryFault();
};
