#pragma once

#include <string>
#include <vector>

// A row of docs/windows.md, which is part of the executable.
struct Assumption
{
    std::string id;
    std::string text;
    int stage = kNoStage;  // the stage that proves it

    static constexpr int kNoStage = -1;  // no stage proves it
};

// In the order of the document.
[[nodiscard]] std::vector<Assumption> ReadAssumptions();
