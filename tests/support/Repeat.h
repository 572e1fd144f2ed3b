#pragma once

#include <string>

// Whether a failed attempt may be repeated once. It may under Wine, which can lose a press, a double-click or
// a start, but not on Windows. Records the repetition in the output and in the test's report: the results of
// a run show how often that happened.
[[nodiscard]] bool MayRepeat(const std::string& attempt);
