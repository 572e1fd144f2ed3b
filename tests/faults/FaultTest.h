#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/FaultBench.h"
#include "tests/support/EveryFault.h"
#include "tests/support/FaultCount.h"

// The languages to inject faults in: both with EveryFault, otherwise German.
std::vector<int> LanguagesToTry();

// Two parts, a part that is already converted, and an assembly that opens with a warning.
std::vector<ModelRow> FourRows();

// Counted by hand for FourRows. A part takes seven calls (visibility off, open, count, names, save, close,
// visibility on) and one more if opening reports a warning. A configuration takes two (get it, set whether it
// uses its alternative BOM name) and one more if that name is written:
//
//   Schraube  7 + 3 + 3     = 13
//   Scheibe   7 + 3 + 2 + 3 = 15   the second configuration's name is empty
//   früher    0                    needs no conversion
//   Gruppe    7 + 1 + 3 + 3 = 14   opened with code 128
//
// The run takes one to get the version and one to end the server.
inline constexpr unsigned kExpectedCalls = 1 + 13 + 15 + 0 + 14 + 1;

// Counts injected faults, and those that left the expected state, for the report of the test.
class CountingTest : public testing::Test
{
protected:
    void TearDown() override;

    // Counts injected faults. They have passed if there are no differences; otherwise the test fails.
    void Count(int injected, const std::string& differences);

private:
    CFaultCount m_count;
};

// Tests with faults in runs of one CFaultBench.
class FaultTest : public CountingTest
{
protected:
    virtual CFaultBench& Bench() = 0;

    // Makes a run with the faults of the script and those that the test has prepared. `undo` removes the
    // prepared ones before the results are compared. Then, if m_thorough, a second run must complete the
    // work. Finally a run of all rows must succeed. A cancel counts only if it was made: the dialog may have
    // closed before.
    void RunAndRepeat(const ServerScript& script, const std::function<void()>& undo = nullptr);

    bool m_thorough = EveryFault();
};
