#pragma once

#include "tests/selfcheck/Options.h"
#include "tests/selfcheck/Report.h"

// What a stage returns that has looked at everything.
inline constexpr const char* kDone = "done";

// The stages. Each returns its outcome, which is kDone or a text such as "skipped: why", and adds what it
// finds to the report.
std::string RunStageLook(CReport& report);
std::string RunStageTests(const Options& options, CReport& report);
std::string RunStageWhole(const Options& options, CReport& report);
std::string RunStagePackage(CReport& report);
// Removes what a killed stage 3 has installed, and nothing else.
void RemoveInstallationOfCheck();
[[nodiscard]] bool HasInstallationOfCheck();
std::string RunStageGuided(const Options& options, CReport& report);
