#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/FaultBench.h"

// Whether every fault is to be injected, as tools/faults has it, or the main ones of each kind.
bool EveryFault();

// The languages to inject a fault in: both, or German alone when time is short.
std::vector<int> LanguagesToTry();

// Two parts, a part that was converted before, and an assembly that opens with reservations.
std::vector<ModelRow> FourRows();

// Counts what was injected and how much of that left everything true, for the test's report.
class CountingTest : public testing::Test
{
protected:
    void TearDown() override;

    // Differences from what has to be are failures.
    void Note(int injected, const std::string& differences);

private:
    int m_injected = 0;
    int m_true = 0;
};

// Faults in runs of one bench.
class FaultTest : public CountingTest
{
protected:
    virtual CFaultBench& Bench() = 0;

    // A run under the script, with what else the test has done to let it fail; `mend` undoes that before the
    // outcome is looked at. Then the next run, as the user starts it at once, has to complete what the first
    // left undone (unless time is short), and one more, of all rows, has to leave everything right.
    void RunAndRepeat(const ServerScript& script, const std::function<void()>& mend = nullptr);

    bool m_thorough = EveryFault();
};
