#include "tests/support/ImportTable.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

decltype(&GetTickCount) g_original = nullptr;

DWORD WINAPI FiveMore()
{
    return g_original() + 5;
}

TEST(ImportTable, TellsWhetherTheFunctionIsImported)
{
    EXPECT_FALSE(RedirectImport("NoSuchFunction", &FiveMore, &g_original));
    EXPECT_EQ(g_original, nullptr);
    ASSERT_TRUE(RedirectImport("GetTickCount", &FiveMore, &g_original));
    ASSERT_TRUE(RedirectImport("GetTickCount", &FiveMore, &g_original));
    ASSERT_NE(g_original, &FiveMore) << "FiveMore would call itself without end";
    const DWORD before = g_original();
    EXPECT_GE(GetTickCount() - before, 5U);
    decltype(&GetTickCount) redirected = nullptr;
    EXPECT_TRUE(RedirectImport("GetTickCount", g_original, &redirected));
    EXPECT_EQ(redirected, &FiveMore);
}

}  // namespace
