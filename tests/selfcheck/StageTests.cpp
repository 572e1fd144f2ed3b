// Stages 1 and 2: the test programs.
#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "tests/selfcheck/Expectations.h"
#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/ProcessRunner.h"
#include "tests/selfcheck/Stages.h"
#include "tests/selfcheck/TestResults.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/SharedMachine.h"
#include "tests/support/TextFile.h"

namespace {

struct TestRun
{
    std::string program;  // as in Proof::program
    std::string title;    // of the results, and the name of their files
    std::string filter;
    DWORD minutes;
};

// GoogleTest reads its command line in the ANSI code page, so the path is relative to the working folder.
std::wstring CommandLine(const TestRun& run)
{
    return L"\"" + OwnFolder() + L"\\" + FromUtf8(run.program) + L".exe\" --gtest_output=xml:report/" +
           FromUtf8(run.title) + L".xml --gtest_filter=" + FromUtf8(run.filter);
}

// The last line of the output that says something.
std::string LastLine(const std::wstring& path)
{
    const std::string text = BytesOf(path);
    const std::size_t end = text.find_last_not_of("\r\n");
    const std::size_t begin = end == std::string::npos ? end : text.find_last_of('\n', end);
    return end == std::string::npos ? "no output" : text.substr(begin + 1, end - begin);
}

void Judge(const TestRun& run, std::optional<DWORD> status, const CaseResults& results, CReport& report)
{
    const std::wstring output = OwnFolder() + L"\\report\\" + FromUtf8(run.title) + L".txt";
    const ProgramResult counted = Counted(run.title, results);
    report.AddResult(counted);
    if (!status) {
        report.AddFailure(run.title + " did not end within " + std::to_string(run.minutes) + " minutes");
    } else if (*status != 0 && counted.failed.empty()) {
        report.AddFailure(run.title + " ended with status " + std::to_string(*status) + ": " +
                          LastLine(output));
    } else if (results.empty()) {
        report.AddFailure(run.title + " ran no test");
    }
    for (const Proof& proof : Proofs()) {
        if (run.program == proof.program) {
            report.AddFinding(proof.id, FindingOf(results, proof.cases));
        }
    }
}

void Run(const TestRun& run, CReport& report)
{
    const std::wstring results = OwnFolder() + L"\\report\\" + FromUtf8(run.title) + L".xml";
    std::printf("  %s (at most %lu minutes)\n", run.title.c_str(), run.minutes);
    DeleteFileW(results.c_str());
    try {
        const std::optional<DWORD> status = RunProgram(
            CommandLine(run), OwnFolder() + L"\\report\\" + FromUtf8(run.title) + L".txt", run.minutes);
        Judge(run, status, ReadCaseResults(BytesOf(results)), report);
    } catch (const std::runtime_error& error) {
        report.AddFailure(error.what());
    }
    RestoreMachine(report);
}

// In these, a call hangs for the minute after which the program asks whether to go on waiting.
constexpr const char* kSlowCases = "-HangTest.*";

constexpr const char* kQuick = "done in part: --quick";

std::string FilterFor(const Options& options, const std::string& program)
{
    return options.quick ? FilterOf(program) + kSlowCases : "*";
}

}  // namespace

std::string RunStageTests(const Options& options, CReport& report)
{
    if (!options.quick) {
        Run({"text_tests", "text_tests", "*", 5}, report);
    }
    Run({"windows_tests", "windows_tests", FilterFor(options, "windows_tests"), 30}, report);
    return options.quick ? kQuick : kDone;
}

std::string RunStageWhole(const Options& options, CReport& report)
{
    if (!MayChangeMachine()) {
        return "skipped: this needs an administrator (right-click check.cmd, Run as administrator)";
    }
    try {
        const CSharedMachine free;
    } catch (const std::runtime_error& error) {
        return std::string("refused: ") + error.what();
    }
    if (!options.quick) {
        Run({"cadserver_tests", "cadserver_tests", "*", 30}, report);
    }
    SetEnvironmentVariableW(L"TALVENOR_TEST_LANGUAGE", L"german");
    Run({"acceptance_tests", "acceptance_tests_german", FilterFor(options, "acceptance_tests"), 30}, report);
    if (!options.quick) {
        SetEnvironmentVariableW(L"TALVENOR_TEST_LANGUAGE", L"english");
        Run({"acceptance_tests", "acceptance_tests_english", "*InBothLanguages.*", 30}, report);
    }
    return options.quick ? kQuick : kDone;
}
