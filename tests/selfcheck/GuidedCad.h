#pragma once

#include "tests/selfcheck/Report.h"

// Runs cadprobe on a copy of a part that a person names, and takes its findings over.
void CheckCadSystem(CReport& report);
