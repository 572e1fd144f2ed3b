#pragma once

#include <set>
#include <string>
#include <vector>

struct Options
{
    std::set<int> stages;
    bool yes = false;      // ask nothing before a stage
    bool quick = false;    // of the tests, only those that prove an expectation and are not slow
    bool restore = false;  // only undo what a killed self-check has left
    bool help = false;
};

inline constexpr int kLastStage = 4;

// The options of the command line. Throws std::invalid_argument with a text for the user.
[[nodiscard]] Options ParseOptions(const std::vector<std::wstring>& words);

[[nodiscard]] const char* Usage();
