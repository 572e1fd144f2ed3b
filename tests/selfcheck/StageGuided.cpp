#include "tests/selfcheck/Expectations.h"
#include "tests/selfcheck/Guide.h"
#include "tests/selfcheck/GuidedCad.h"
#include "tests/selfcheck/GuidedScaling.h"
#include "tests/selfcheck/Stages.h"
#include "tests/selfcheck/TemplatesAsBefore.h"
#include "tests/support/UnderWine.h"

#include <exception>
#include <string>

namespace {

Finding FindingOf(Answer answer)
{
    return answer == Answer::yes  ? Yes("a person saw it")
           : answer == Answer::no ? No("a person saw something else")
                                  : NotTried("left out by the person");
}

void Try(void (*step)(CReport& report), CReport& report)
{
    try {
        step(report);
    } catch (const std::exception& error) {
        report.AddFailure(error.what());
    }
    report.Write(ReportPath());
}

}  // namespace

std::string RunStageGuided(const Options& options, CReport& report)
{
    if (options.yes) {
        return "skipped: nobody is asked (--yes)";
    }
    if (UnderWine()) {
        return "skipped: Wine has neither the settings nor the CAD system";
    }
    const CTemplatesAsBefore templates;
    Try(&CheckScaling, report);
    Try(&CheckCadSystem, report);
    int leftOut = 0;
    for (const Question& each : Questions()) {
        const Answer answer = Ask(each.doThis, each.question);
        leftOut += answer == Answer::leaveOut ? 1 : 0;
        report.AddFinding(each.id, FindingOf(answer));
        report.Write(ReportPath());  // the next question may end the session
    }
    return leftOut == 0 ? kDone : "done in part: " + std::to_string(leftOut) + " questions were left out";
}
