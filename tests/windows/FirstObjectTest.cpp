#include "framework/FirstObject.h"

#include <gtest/gtest.h>

namespace {

// Knows how many tests there were when it was constructed: the constructors of the program's objects register
// them.
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
