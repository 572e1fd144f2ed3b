#include <gtest/gtest.h>

#include "tests/support/SharedMachine.h"

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RunTestsOnSharedMachine();
}
