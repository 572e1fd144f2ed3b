#pragma once

#include <string>

// Whether an attempt that came to nothing may be made once more: under Wine, which can lose a press, a double
// click or a start, but not on Windows. Noted in the output and in the report of the test at hand, so that
// the results of a run tell how often it happened. For one repeat of one attempt; a second failure is the
// test's.
[[nodiscard]] bool MayRepeat(const std::string& attempt);
