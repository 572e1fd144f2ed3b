#include "tests/selfcheck/Report.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/selfcheck/Assumptions.h"
#include "tests/selfcheck/Options.h"
#include "tests/support/OwnFolder.h"

namespace {

const char* WordFor(Found found)
{
    return found == Found::yes ? "yes      " : found == Found::no ? "NO       " : "not tried";
}

std::string Lines(const std::string& title, const std::vector<std::string>& lines)
{
    std::string text = "\n" + title + "\n";
    for (const std::string& line : lines) {
        text += "  " + line + "\n";
    }
    return text;
}

// Every editor on Windows shows lines that end in CR LF as lines; some do not for LF alone.
std::string WithLineEnds(const std::string& text)
{
    std::string ended;
    for (const char character : text) {
        ended += character == '\n' ? "\r\n" : std::string(1, character);
    }
    return ended;
}

}  // namespace

std::wstring ReportPath()
{
    return OwnFolder() + L"\\report\\report.txt";
}

void CReport::AddFact(const std::string& name, const std::string& value)
{
    m_facts.push_back(name + ": " + value);
}

void CReport::AddStage(int stage, const std::string& outcome, bool isWhole)
{
    m_stages.push_back(std::to_string(stage) + ": " + outcome);
    if (isWhole) {
        m_wholeStages.insert(stage);
    }
}

void CReport::AddResult(const ProgramResult& result)
{
    m_results.push_back(result);
}

void CReport::AddFailure(const std::string& what)
{
    m_failures.push_back(what);
}

void CReport::AddFinding(const std::string& id, const Finding& finding)
{
    const auto [entry, isNew] = m_findings.try_emplace(id, finding);
    if (!isNew && entry->second.found != Found::no && finding.found != Found::notTried) {
        entry->second = finding;
    }
}

Finding CReport::FindingOf(const std::string& id, int stage) const
{
    const auto found = m_findings.find(id);
    if (found != m_findings.end()) {
        return found->second;
    }
    return NotTried(stage == Assumption::kNoStage
                        ? "the documentation or practice alone can tell"
                        : "stage " + std::to_string(stage) + " has not looked at it");
}

int CReport::Count(Found found) const
{
    int count = 0;
    for (const Assumption& assumption : ReadAssumptions()) {
        count += FindingOf(assumption.id, assumption.stage).found == found ? 1 : 0;
    }
    return count;
}

int CReport::FailedCases() const
{
    std::size_t count = m_failures.size();
    for (const ProgramResult& result : m_results) {
        count += result.failed.size();
    }
    return static_cast<int>(count);
}

bool CReport::IsAsExpected() const
{
    return FailedCases() == 0 && Count(Found::no) == 0 && Count(Found::yes) != 0;
}

bool CReport::IsWhole() const
{
    return static_cast<int>(m_wholeStages.size()) == kLastStage + 1;
}

std::string CReport::WholeStages() const
{
    std::string stages;
    for (const int stage : m_wholeStages) {
        stages += (stages.empty() ? "stages " : ", ") + std::to_string(stage);
    }
    return stages.empty() ? "no stage is complete"
                          : stages + (IsWhole() ? " are complete" : " alone are complete");
}

std::string CReport::Verdict() const
{
    const std::string scope = std::to_string(Count(Found::notTried)) + " not tried; " + WholeStages();
    if (IsAsExpected()) {
        return "VERDICT: everything that was looked at is as expected (" + std::to_string(Count(Found::yes)) +
               " expectations; " + scope + ").";
    }
    return "VERDICT: not as expected: " + std::to_string(FailedCases()) + " failures, " +
           std::to_string(Count(Found::no)) + " expectations not met (" + std::to_string(Count(Found::yes)) +
           " met; " + scope + ").";
}

std::string CReport::Facts() const
{
    return Lines("MACHINE", m_facts) + Lines("STAGES", m_stages);
}

std::string CReport::Results() const
{
    std::string text = "\nRESULTS\n";
    for (const ProgramResult& result : m_results) {
        text += "  " + result.program + ": " + std::to_string(result.passed) + " passed, " +
                std::to_string(result.failed.size()) + " failed, " + std::to_string(result.skipped.size()) +
                " skipped\n";
        for (const std::string& failed : result.failed) {
            text += "    failed: " + failed + "\n";
        }
        for (const std::string& skipped : result.skipped) {
            text += "    skipped: " + skipped + "\n";
        }
    }
    return m_failures.empty() ? text : text + Lines("FAILURES BESIDE THE TESTS", m_failures);
}

std::string CReport::Expectations() const
{
    std::string text = "\nWHAT WE EXPECT ON WINDOWS: FOUND?\n";
    for (const Assumption& assumption : ReadAssumptions()) {
        const Finding finding = FindingOf(assumption.id, assumption.stage);
        text += std::string("  ") + WordFor(finding.found) + " " + assumption.id + ": " + assumption.text +
                "\n              " + finding.detail + "\n";
    }
    return text;
}

void CReport::Write(const std::wstring& path) const
{
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file << WithLineEnds("The self-check of Talvenor\n" + Facts() + Results() + Expectations() + "\n" +
                         Verdict() + "\n");
    if (!file.flush()) {
        throw std::runtime_error("cannot write report.txt");
    }
}
