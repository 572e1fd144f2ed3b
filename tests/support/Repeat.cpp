#include "tests/support/Repeat.h"

#include <gtest/gtest.h>

#include <iostream>

#include "tests/support/UnderWine.h"

bool MayRepeat(const std::string& attempt)
{
    if (!UnderWine()) {
        return false;
    }
    static int repeats = 0;  // a property of the same name would overwrite the last one
    testing::Test::RecordProperty("retry" + std::to_string(++repeats), attempt);
    std::cout << "[  REPEAT  ] " << attempt << "\n";
    return true;
}
