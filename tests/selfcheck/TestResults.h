#pragma once

#include <map>
#include <string>

#include "tests/selfcheck/Finding.h"
#include "tests/selfcheck/Report.h"

// What became of a test case. All texts are UTF-8.
struct CaseResult
{
    Found found = Found::notTried;  // yes: passed; no: failed
    std::string detail;             // the first failure; the reason for a skip
};

// By the full name, such as "FileTest.MissingFileIsNotFound".
using CaseResults = std::map<std::string, CaseResult>;

// Reads a report of GoogleTest (XML). Cases that did not run are left out.
[[nodiscard]] CaseResults ReadCaseResults(const std::string& xml);

// Whether a name matches a pattern of GoogleTest: '*' stands for any text.
[[nodiscard]] bool Matches(const std::string& name, const std::string& pattern);

// Yes if all the cases that match the pattern passed, No if one failed, not tried if one was skipped or there
// is none.
[[nodiscard]] Finding FindingOf(const CaseResults& results, const std::string& pattern);

[[nodiscard]] ProgramResult Counted(const std::string& program, const CaseResults& results);
