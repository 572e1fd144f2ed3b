#include "tests/selfcheck/Expectations.h"
#include "tests/selfcheck/Guide.h"
#include "tests/selfcheck/GuidedCad.h"
#include "tests/selfcheck/GuidedScaling.h"
#include "tests/selfcheck/Stages.h"
#include "tests/selfcheck/TemplatesAsBefore.h"
#include "tests/support/UnderWine.h"

namespace {

Finding FindingOf(Answer answer)
{
    return answer == Answer::yes  ? Yes("a person saw it")
           : answer == Answer::no ? No("a person saw something else")
                                  : NotTried("left out by the person");
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
    CheckScaling(report);
    CheckCadSystem(report);
    for (const Question& each : Questions()) {
        report.AddFinding(each.id, FindingOf(Ask(each.doThis, each.question)));
    }
    return kDone;
}
