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

    // Counts a call on a file (empty: on none) and returns the faults that hit it, in the script's order.
    // Busy faults are never among them.
    std::vector<FaultAction> Count(DISPID dispid, const std::wstring& file);

    // Whether the next call is to be turned away at this time (milliseconds, GetTickCount64). The time that a
    // busy fault takes runs from the first question that it answers with yes.
    bool IsBusy(ULONGLONG now);

private:
    struct CountedRule
    {
        FaultRule rule;
        DWORD seen = 0;  // calls that fitted so far
        std::optional<ULONGLONG> busySince;
    };

    static bool Hits(const CountedRule& counted, DWORD call);

    std::vector<CountedRule> m_rules;
};
