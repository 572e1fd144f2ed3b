#include "framework/FirstObject.h"

#include <gtest/gtest.h>

namespace {

// Counts the tests registered before its own construction. The constructors of other global objects register
// the tests.
class CTestCount
{
public:
    CTestCount() : m_count(testing::UnitTest::GetInstance()->total_test_count()) {}
    [[nodiscard]] int Get() const { return m_count; }

private:
    int m_count;
};

CONSTRUCTED_FIRST const CTestCount g_testsBefore;

TEST(FirstObject, IsConstructedBeforeThoseOfOtherFiles)
{
    EXPECT_EQ(g_testsBefore.Get(), 0);
}

}  // namespace
