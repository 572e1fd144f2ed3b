// The self-check: whether this Windows is as docs/windows.md says.
#include <windows.h>

#include <objbase.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/Options.h"
#include "tests/selfcheck/Report.h"
#include "tests/selfcheck/Stages.h"
#include "tests/support/OwnFolder.h"

namespace {

// What a stage changes, for the person who decides.
const char* WarningOf(int stage)
{
    switch (stage) {
        case 0:
            return "Stage 0 looks at the machine, and starts and ends the program. It changes nothing: "
                   "the templates that the program stores where the user has none are removed again.";
        case 1:
            return "Stage 1 runs tests for some minutes. It opens windows, overwrites the clipboard and "
                   "writes "
                   "to the temporary folder. Leave mouse and keyboard alone.";
        case 2:
            return "Stage 2 registers a stand-in for the CAD system and a small library, and removes both "
                   "again. "
                   "It moves the mouse and types. Leave both alone for a quarter of an hour.";
        case 3:
            return "Stage 3 installs, upgrades and removes Talvenor. It refuses if Talvenor is installed.";
        default:
            return "Stage 4 asks you to change settings and to operate the program, and says when to change "
                   "them "
                   "back. You may leave out each question.";
    }
}

bool IsWanted(int stage, const Options& options)
{
    std::printf("\n%s\n", WarningOf(stage));
    if (options.yes) {
        return true;
    }
    std::printf("Go on? y: yes, anything else: leave it out > ");
    char line[16] = "";
    return std::fgets(line, sizeof line, stdin) != nullptr && line[0] == 'y';
}

std::string RunStage(int stage, const Options& options, CReport& report)
{
    switch (stage) {
        case 0:
            return RunStageLook(report);
        case 1:
            return RunStageTests(options, report);
        case 2:
            return RunStageWhole(options, report);
        case 3:
            return RunStagePackage(report);
        default:
            return RunStageGuided(options, report);
    }
}

void RunAndCompare(int stage, const Options& options, CReport& report)
{
    const std::string title = "stage " + std::to_string(stage);
    const MachineState before = TakeMachineState();
    std::string outcome;
    try {
        outcome = RunStage(stage, options, report);
    } catch (const std::exception& error) {
        outcome = std::string("ended early: ") + error.what();
        report.AddFailure(title + ": " + error.what());
    }
    std::printf("  %s\n", outcome.c_str());
    report.AddStage(stage, outcome);
    CompareMachine(before, title, report);
}

int Check(const Options& options)
{
    CReport report;
    const std::wstring folder = OwnFolder() + L"\\report";
    std::filesystem::create_directory(std::filesystem::path(folder));
    for (int stage = 0; stage <= kLastStage; ++stage) {
        if (!options.stages.contains(stage) || !IsWanted(stage, options)) {
            report.AddStage(stage, "left out");
            continue;
        }
        RunAndCompare(stage, options, report);
        report.Write(folder + L"\\report.txt");  // what was found so far, should a stage never end
    }
    report.Write(folder + L"\\report.txt");
    std::printf("\n%s\nThe report is report\\report.txt.\n", report.Verdict().c_str());
    return report.IsAsExpected() ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    try {
        const Options options = ParseOptions(std::vector<std::wstring>(arguments + 1, arguments + count));
        if (options.help) {
            std::fputs(Usage(), stdout);
            return 0;
        }
        return Check(options);
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "%s\n%s", error.what(), Usage());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "selfcheck: %s\n", error.what());
        return 1;
    }
}
