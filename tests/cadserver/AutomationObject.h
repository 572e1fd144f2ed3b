#pragma once

#include <windows.h>

#include <oaidl.h>

#include <comdef.h>

#include <optional>
#include <span>
#include <string>

#include "tests/cadserver/Arguments.h"
#include "tests/cadserver/Session.h"
#include "tests/support/AutomationNumbers.h"

struct Operation
{
    automation::Member member;
    WORD kind;  // DISPATCH_METHOD or DISPATCH_PROPERTYPUT
    std::span<const Parameter> parameters;
    bool forTests = false;  // not part of the CAD system's interface: not counted, no faults
};

struct Outcome
{
    HRESULT status = S_OK;
    _variant_t value;
    std::wstring text;  // for the call log; empty: DescribeValue(value), or "ok" without a value
};

// Base class of the automation objects: reference counting, names, argument checks, faults and the call log.
class CAutomationObject : public IDispatch
{
public:
    CAutomationObject(const CAutomationObject&) = delete;
    CAutomationObject& operator=(const CAutomationObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID identifier, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                               DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID dispid, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) override;

protected:
    explicit CAutomationObject(CSession& session);
    virtual ~CAutomationObject();

    [[nodiscard]] CSession& Session() const { return m_session; }

    [[nodiscard]] virtual std::span<const Operation> Operations() const = 0;
    // The object's name in the call log.
    [[nodiscard]] virtual std::wstring Label() const = 0;
    // The file that a call is about, without folder; empty if none.
    [[nodiscard]] virtual std::wstring FileOf(const CArguments& arguments) const = 0;
    // Serves a call whose arguments have been checked.
    virtual Outcome Perform(DISPID dispid, const CArguments& arguments) = 0;

private:
    struct Call;

    [[nodiscard]] const Operation* Find(DISPID dispid, WORD flags) const;
    // The name of the called operation; its DISPID as text if the object has no such operation.
    [[nodiscard]] static std::wstring NameOf(const Call& call);
    Outcome Serve(Call& call);
    // Does the part of the fault that precedes serving the call. Returns the outcome if the fault makes the
    // call fail.
    std::optional<Outcome> ActBefore(const FaultAction& action, Call& call, const std::wstring& number);
    // Does the part of the fault that follows serving the call.
    void ActAfter(const FaultAction& action) const;
    Outcome ServeWithFaults(Call& call);
    Outcome Handle(Call& call);
    void LogCall(const Call& call, const std::wstring& number, const std::wstring& outcome) const;

    CSession& m_session;
    unsigned m_sessionNumber;
    ULONG m_references = 1;
};
