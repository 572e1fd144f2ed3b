// The self-check: whether this Windows is as docs/windows.md says.
#include <windows.h>

#include <objbase.h>

#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/selfcheck/Guide.h"
#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/Options.h"
#include "tests/selfcheck/ProcessRunner.h"
#include "tests/selfcheck/Report.h"
#include "tests/selfcheck/Stages.h"
#include "tests/support/OwnFolder.h"

namespace {

// What a stage changes, for the person who decides. Index: the stage.
constexpr std::array<const char*, kLastStage + 1> kWarnings{
    R"(Stage 0 looks at the machine, and starts and ends the program four times, once in
the temporary folder beside libraries that it must not load: virus protection may
object to those. The templates that the program stores where the user has none are
removed again.)",
    R"(Stage 1 runs tests for some minutes. They open windows, overwrite the clipboard,
write to the temporary folder, and for a while register classes, substitute a
drive letter, and put aside what the file dialogs remember; for an administrator
some of that is for all users. Leave mouse and keyboard alone.)",
    R"(Stage 2 registers a stand-in for the CAD system, a small library and a viewer for
.pdf and .html for all users, and puts aside what the file dialogs remember; all
that is undone. It moves the mouse, types, and overwrites the clipboard. Leave
mouse and keyboard alone for a quarter of an hour.)",
    R"(Stage 3 installs, upgrades and removes Talvenor in a program folder of its own,
with an entry in the Start menu. It refuses if Talvenor is installed.)",
    R"(Stage 4 asks you to change settings and to operate the program, and says when to
change them back. It may start and end SOLIDWORKS. At its end your two name
templates are what they were at its beginning. You may leave out any question.)"};

bool IsWanted(int stage, const Options& options)
{
    std::printf("\n%s\n", kWarnings.at(static_cast<std::size_t>(stage)));
    return options.yes || Ask("", "Go on?") == Answer::yes;
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
    report.AddStage(stage, outcome, outcome == kDone);
    for (const std::string& change : ChangesSince(before)) {
        // What a person does in stage 4 changes the machine.
        if (stage == kLastStage) {
            report.AddFact(title, "somebody has " + change);
        } else {
            report.AddFailure(title + " has " + change);
        }
    }
}

// Ctrl+C and closing the console end the self-check in the middle of a test.
BOOL WINAPI UndoBeforeEnd(DWORD /*event*/)
{
    BeginEnding();
    EndProgramsOfThisFolder();
    for (const std::string& problem : UndoTests()) {
        std::fprintf(stderr, "%s\n", problem.c_str());
    }
    std::fputs("Ended. After stage 3, call selfcheck --restore to remove what it has installed.\n", stderr);
    return FALSE;  // the default handler ends the process
}

// Returns the exit status.
int Restore()
{
    RemoveInstallationOfCheck();
    std::vector<std::string> problems = UndoTests();
    if (HasInstallationOfCheck()) {
        problems.emplace_back("Talvenor is still installed by stage 3 (run this as administrator)");
    }
    for (const std::string& problem : problems) {
        std::printf("%s\n", problem.c_str());
    }
    std::printf(problems.empty()
                    ? "Nothing is left but temporary files, and a drive letter until you sign out.\n"
                    : "This is left on the machine.\n");
    return problems.empty() ? 0 : 1;
}

int Check(const Options& options)
{
    CReport report;
    RestoreMachine(report);
    for (int stage = 0; stage <= kLastStage; ++stage) {
        if (!options.stages.contains(stage) || !IsWanted(stage, options)) {
            report.AddStage(stage, "left out", false);
            continue;
        }
        RunAndCompare(stage, options, report);
        report.Write(ReportPath());  // what was found so far, should a stage never end
    }
    report.Write(ReportPath());
    std::printf("\n%s\nThe report is report\\report.txt.\n", report.Verdict().c_str());
    return !report.IsAsExpected() ? 1 : report.IsWhole() ? 0 : 3;
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
        std::filesystem::create_directory(std::filesystem::path(OwnFolder() + L"\\report"));
        SetConsoleCtrlHandler(&UndoBeforeEnd, TRUE);
        const int status = options.restore ? Restore() : Check(options);
        StopIfEnding();
        return status;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "%s\n%s", error.what(), Usage());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "selfcheck: %s\n", error.what());
        return 1;
    }
}
