#pragma once

#include "tests/cadserver/AutomationObject.h"

// One configuration of an open document: takes its bill-of-materials entry.
class CConfiguration : public CAutomationObject
{
public:
    // The configuration with the given index, from 0, in the part's list.
    CConfiguration(CSession& session, OpenPartPointer part, size_t index);

protected:
    [[nodiscard]] std::span<const Operation> Operations() const override;
    [[nodiscard]] std::wstring Label() const override;
    [[nodiscard]] std::wstring FileOf(const CArguments& arguments) const override;
    Outcome Perform(DISPID dispid, const CArguments& arguments) override;

private:
    OpenPartPointer m_part;
    size_t m_index;
};
