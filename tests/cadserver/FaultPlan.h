#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/cadserver/Script.h"

// Counts the calls, and decides which of the script's faults hit a call.
class CFaultPlan
{
public:
    // Reads the counters of faults that count across starts.
    explicit CFaultPlan(std::vector<FaultRule> rules);

    // Counts a call. `file` is the file that the call is about; empty if none. Returns the faults that hit
    // the call, except busy and reject, in the order of the script.
    std::vector<FaultAction> Count(const std::wstring& call, const std::wstring& file);

    // What the message filter returns for the next call: SERVERCALL_ISHANDLED, SERVERCALL_RETRYLATER (busy)
    // or SERVERCALL_REJECTED (reject). The duration of a busy or reject fault starts with the first call that
    // it rejects. now: GetTickCount64.
    DWORD ReceiveCall(ULONGLONG now);

private:
    struct CountedRule
    {
        FaultRule rule;
        DWORD seen = 0;  // matching calls so far
        std::optional<ULONGLONG> rejectingSince;
    };

    static bool Hits(const CountedRule& counted, DWORD call);

    std::vector<CountedRule> m_rules;
};
