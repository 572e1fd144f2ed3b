#pragma once

#include "tests/cadserver/AutomationObject.h"

// An open document. Calls on a closed document fail with RPC_E_DISCONNECTED.
class CDocument : public CAutomationObject
{
public:
    CDocument(CSession& session, OpenPartPointer part);

protected:
    [[nodiscard]] std::span<const Operation> Operations() const override;
    [[nodiscard]] std::wstring Label() const override { return L"document " + m_part->file; }
    [[nodiscard]] std::wstring FileOf(const CArguments& arguments) const override;
    Outcome Perform(DISPID dispid, const CArguments& arguments) override;

private:
    [[nodiscard]] long Count() const;
    [[nodiscard]] _variant_t Names() const;
    Outcome ConfigurationByName(const std::wstring& name);
    Outcome Save();

    OpenPartPointer m_part;
};
