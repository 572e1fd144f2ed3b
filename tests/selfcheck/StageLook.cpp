#include "tests/selfcheck/Expectations.h"
#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/Stages.h"

#include <cstdio>

std::string RunStageLook(CReport& report)
{
    DescribeMachine(report);
    for (const Look& look : Looks()) {
        std::printf("  %s\n", look.id);
        report.AddFinding(look.id, look.look());
    }
    return kDone;
}
