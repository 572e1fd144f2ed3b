#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/selfcheck/Finding.h"

// The file report.txt, in the folder "report" beside this program.
[[nodiscard]] std::wstring ReportPath();

// The results of a test program.
struct ProgramResult
{
    std::string program;
    int passed = 0;
    std::vector<std::string> failed;   // the case and its message
    std::vector<std::string> skipped;  // the case and the reason
};

// Collects what was seen and writes report.txt. All texts are UTF-8.
class CReport
{
public:
    // A line about the machine.
    void AddFact(const std::string& name, const std::string& value);
    // isWhole: whether the stage has looked at everything.
    void AddStage(int stage, const std::string& outcome, bool isWhole);
    void AddResult(const ProgramResult& result);
    // Something that failed and belongs to no expectation.
    void AddFailure(const std::string& what);
    // Of several findings for one expectation, a "no" counts; if there is none, the last one other than "not
    // tried".
    void AddFinding(const std::string& id, const Finding& finding);

    // One sentence.
    [[nodiscard]] std::string Verdict() const;
    // Whether nothing failed, no expectation was found wrong, and at least one was found right.
    [[nodiscard]] bool IsAsExpected() const;
    // Whether all stages have looked at everything.
    [[nodiscard]] bool IsWhole() const;

    // Throws std::runtime_error if the file cannot be written.
    void Write(const std::wstring& path) const;

private:
    [[nodiscard]] std::string Facts() const;
    [[nodiscard]] std::string Results() const;
    [[nodiscard]] std::string Expectations() const;
    [[nodiscard]] Finding FindingOf(const std::string& id, int stage) const;
    [[nodiscard]] int Count(Found found) const;
    [[nodiscard]] int FailedCases() const;
    [[nodiscard]] std::string WholeStages() const;

    std::vector<std::string> m_facts;
    std::vector<std::string> m_stages;
    std::set<int> m_wholeStages;
    std::vector<ProgramResult> m_results;
    std::vector<std::string> m_failures;
    std::map<std::string, Finding> m_findings;
};
