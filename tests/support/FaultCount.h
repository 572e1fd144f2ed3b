#pragma once

#include <gtest/gtest.h>

// Counts the faults that a test injects, and those after which everything was as expected, for the report of
// the test.
class CFaultCount
{
public:
    void Add(int injected, bool passed)
    {
        m_injected += injected;
        m_passed += passed ? injected : 0;
    }

    // Call it at the end of the test.
    void Record() const
    {
        testing::Test::RecordProperty("injected", m_injected);
        testing::Test::RecordProperty("passed", m_passed);
    }

private:
    int m_injected = 0;
    int m_passed = 0;
};
