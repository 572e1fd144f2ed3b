#pragma once

#include "tests/cadserver/AutomationObject.h"

// The application object: opens and closes documents, returns its version, ends the server.
class CApplication : public CAutomationObject
{
public:
    explicit CApplication(CSession& session);

protected:
    [[nodiscard]] std::span<const Operation> Operations() const override;
    [[nodiscard]] std::wstring Label() const override { return L"application"; }
    [[nodiscard]] std::wstring FileOf(const CArguments& arguments) const override;
    Outcome Perform(DISPID dispid, const CArguments& arguments) override;

private:
    Outcome OpenDocument(const CArguments& arguments);
};
