#include "tests/selfcheck/Expectations.h"
#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/Stages.h"

#include <cstdio>
#include <exception>

namespace {

void Take(const Look& look, CReport& report)
{
    try {
        report.AddFinding(look.id, look.look());
    } catch (const std::exception& error) {
        report.AddFinding(look.id, NotTried("it failed"));
        report.AddFailure(std::string(look.id) + ": " + error.what());
    }
}

}  // namespace

std::string RunStageLook(CReport& report)
{
    DescribeMachine(report);
    for (const Look& look : Looks()) {
        std::printf("  %s\n", look.id);
        Take(look, report);
    }
    return kDone;
}
