#pragma once

#include "tests/selfcheck/Options.h"
#include "tests/selfcheck/Report.h"

// The stages. Each returns what became of it, such as "done" or "skipped: why", and puts what it finds into
// the report.
std::string RunStageLook(CReport& report);
std::string RunStageTests(const Options& options, CReport& report);
std::string RunStageWhole(const Options& options, CReport& report);
std::string RunStagePackage(CReport& report);
std::string RunStageGuided(const Options& options, CReport& report);
