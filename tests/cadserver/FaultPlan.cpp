#include "tests/cadserver/FaultPlan.h"

#include "tests/cadserver/Settings.h"
#include "tests/support/TextFile.h"

namespace {

std::wstring CounterName(size_t index)
{
    return L"Rule" + std::to_wstring(index);
}

bool Matches(const FaultRule& rule, const std::wstring& call, const std::wstring& file)
{
    return (rule.call.empty() || rule.call == call) && (rule.file.empty() || rule.file == LowerCase(file));
}

bool IsRejection(const FaultAction& action)
{
    return action.kind == FaultAction::Kind::busy || action.kind == FaultAction::Kind::reject;
}

}  // namespace

CFaultPlan::CFaultPlan(std::vector<FaultRule> rules)
{
    for (FaultRule& rule : rules) {
        const DWORD seen = rule.across ? ReadCounter(CounterName(m_rules.size())) : 0;
        m_rules.push_back({std::move(rule), seen, std::nullopt});
    }
}

bool CFaultPlan::Hits(const CountedRule& counted, DWORD call)
{
    return call == counted.rule.nth || (counted.rule.lasting && call > counted.rule.nth);
}

std::vector<FaultAction> CFaultPlan::Count(const std::wstring& call, const std::wstring& file)
{
    std::vector<FaultAction> actions;
    for (size_t index = 0; index < m_rules.size(); ++index) {
        CountedRule& counted = m_rules[index];
        if (!Matches(counted.rule, call, file)) {
            continue;
        }
        ++counted.seen;
        counted.rejectingSince.reset();
        if (counted.rule.across) {
            WriteCounter(CounterName(index), counted.seen);
        }
        if (!IsRejection(counted.rule.action) && Hits(counted, counted.seen)) {
            actions.push_back(counted.rule.action);
        }
    }
    return actions;
}

DWORD CFaultPlan::ReceiveCall(ULONGLONG now)
{
    for (CountedRule& counted : m_rules) {
        if (!IsRejection(counted.rule.action) || !Hits(counted, counted.seen + 1)) {
            continue;
        }
        const DWORD milliseconds = counted.rule.action.milliseconds;
        const ULONGLONG since = counted.rejectingSince.value_or(now);
        counted.rejectingSince = since;
        if (milliseconds == INFINITE || now - since < milliseconds) {
            return counted.rule.action.kind == FaultAction::Kind::busy ? SERVERCALL_RETRYLATER
                                                                       : SERVERCALL_REJECTED;
        }
    }
    return SERVERCALL_ISHANDLED;
}
