#include "tests/selfcheck/Expectations.h"
#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/Stages.h"

#include <cstdio>
#include <exception>

namespace {

Finding Taken(const Look& look)
{
    try {
        return look.look();
    } catch (const std::exception& error) {
        return NotTried(std::string("failed: ") + error.what());
    }
}

}  // namespace

std::string RunStageLook(CReport& report)
{
    DescribeMachine(report);
    for (const Look& look : Looks()) {
        std::printf("  %s\n", look.id);
        report.AddFinding(look.id, Taken(look));
    }
    return kDone;
}
