#pragma once

#include <string>

// Whether a failed attempt may be repeated once: under Wine, which can lose a press, a double-click or a
// start, but not on Windows. Recorded in the output and in the test's report, so that the results of a run
// show how often it happened.
[[nodiscard]] bool MayRepeat(const std::string& attempt);
