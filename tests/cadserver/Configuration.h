#pragma once

#include "tests/cadserver/AutomationObject.h"

// A configuration of an open document. Clients can set its BOM name.
class CConfiguration : public CAutomationObject
{
public:
    // index: in the part's list of configurations.
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
