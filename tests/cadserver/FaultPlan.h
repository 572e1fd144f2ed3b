#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/cadserver/Script.h"

// Keeps count of the calls for the script's faults and says which of them hit a call.
class CFaultPlan
{
public:
    // Takes up the counters of the faults that count across starts.
    explicit CFaultPlan(std::vector<FaultRule> rules);

    // Counts a call on a file (empty: on none) and returns the faults that hit it, in the script's order,
    // except those that turn calls away.
    std::vector<FaultAction> Count(DISPID dispid, const std::wstring& file);

    // How the next call is received at this time (milliseconds, GetTickCount64): SERVERCALL_ISHANDLED, or one
    // of the two ways to turn it away. The time that such a fault takes runs from the first call that it
    // turns away.
    DWORD Receive(ULONGLONG now);

private:
    struct CountedRule
    {
        FaultRule rule;
        DWORD seen = 0;  // calls that fitted so far
        std::optional<ULONGLONG> turningAwaySince;
    };

    static bool Hits(const CountedRule& counted, DWORD call);

    std::vector<CountedRule> m_rules;
};
