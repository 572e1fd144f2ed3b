#pragma once

#include "tests/selfcheck/Report.h"

// Has a person change the scaling to 150 % and back, and compares every rectangle of the running program with
// a freshly started one.
void CheckScaling(CReport& report);
