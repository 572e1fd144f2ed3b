#pragma once

#include "tests/selfcheck/Report.h"

// Has a person change the scaling to 150 % and back. Compares the running program's layout at 150 % with that
// of a freshly started one, and its layout at the end with that at the beginning.
void CheckScaling(CReport& report);
