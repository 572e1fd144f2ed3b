#pragma once

#include "tests/selfcheck/Report.h"

// Runs cadprobe on a copy of a part that a person names, and adds its findings to the report.
void CheckCadSystem(CReport& report);
