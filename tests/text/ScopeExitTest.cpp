#include "framework/ScopeExit.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(ScopeExit, RunsItsActionOnceAtTheEndOfTheScope)
{
    int runs = 0;
    {
        const CScopeExit count([&] { ++runs; });
        EXPECT_EQ(runs, 0);
    }
    EXPECT_EQ(runs, 1);
}

TEST(ScopeExit, RunsItsActionWhenAnExceptionLeavesTheScope)
{
    int runs = 0;
    const auto leave = [&] {
        const CScopeExit count([&] { ++runs; });
        throw std::runtime_error("left");
    };
    EXPECT_THROW(leave(), std::runtime_error);
    EXPECT_EQ(runs, 1);
}
