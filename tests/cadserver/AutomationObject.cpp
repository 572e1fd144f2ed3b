#include "tests/cadserver/AutomationObject.h"

#include "framework/Handles.h"
#include "tests/cadserver/Settings.h"
#include "tests/support/TextFile.h"

struct CAutomationObject::Call
{
    DISPID dispid;
    WORD flags;
    const DISPPARAMS& parameters;
    CArguments arguments;
    const Operation* operation;
    EXCEPINFO* exception;
    UINT wrongArgument = 0;
};

namespace {

std::wstring KindText(WORD flags)
{
    std::wstring text;
    const auto add = [&](WORD flag, const wchar_t* name) {
        if ((flags & flag) != 0) {
            text += (text.empty() ? L"" : L"+") + std::wstring(name);
        }
    };
    add(DISPATCH_METHOD, L"method");
    add(DISPATCH_PROPERTYGET, L"get");
    add(DISPATCH_PROPERTYPUT, L"put");
    add(DISPATCH_PROPERTYPUTREF, L"putref");
    return text;
}

std::wstring StatusText(HRESULT status)
{
    wchar_t text[16];
    swprintf(text, 16, L"0x%08lX", static_cast<unsigned long>(status));
    return text;
}

std::wstring OutcomeText(const Outcome& outcome)
{
    if (FAILED(outcome.status)) {
        return StatusText(outcome.status);
    }
    if (!outcome.text.empty()) {
        return outcome.text;
    }
    return outcome.value.vt == VT_EMPTY ? L"ok" : DescribeValue(outcome.value);
}

BSTR CopyOf(const std::optional<std::wstring>& text)
{
    return text ? SysAllocStringLen(text->data(), static_cast<UINT>(text->size())) : nullptr;
}

HRESULT ReportException(const FaultAction& action, EXCEPINFO* exception)
{
    if (exception != nullptr) {
        *exception = {};
        exception->wCode = action.code;
        exception->scode = action.code != 0 ? 0 : action.status;
        exception->bstrSource = CopyOf(action.source);
        exception->bstrDescription = CopyOf(action.description);
        exception->bstrHelpFile = CopyOf(action.helpFile);
        exception->dwHelpContext = action.helpContext;
    }
    return DISP_E_EXCEPTION;
}

// Holds a call until a test lets the call continue, at most kMaxHold. Returns at once if no test has created
// the two events.
void HoldCall()
{
    constexpr DWORD kMaxHold = 60'000;  // milliseconds
    const UniqueHandle held(OpenEventW(EVENT_MODIFY_STATE, FALSE, kHeldEvent));
    const UniqueHandle goOn(OpenEventW(SYNCHRONIZE, FALSE, kGoOnEvent));
    if (held != nullptr && goOn != nullptr) {
        SetEvent(held.get());
        WaitForSingleObject(goOn.get(), kMaxHold);
    }
}

// A property put has one named argument; methods have none.
bool HasValidNamedArguments(WORD kind, const DISPPARAMS& parameters)
{
    if (kind == DISPATCH_PROPERTYPUT) {
        return parameters.cNamedArgs == 1 && parameters.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT;
    }
    return parameters.cNamedArgs == 0;
}

}  // namespace

CAutomationObject::CAutomationObject(CSession& session)
    : m_session(session), m_sessionNumber(session.Number())
{
    m_session.AddObject();
}

CAutomationObject::~CAutomationObject()
{
    m_session.RemoveObject(m_sessionNumber);
}

STDMETHODIMP CAutomationObject::QueryInterface(REFIID identifier, void** object)
{
    const bool known = identifier == IID_IUnknown || identifier == IID_IDispatch;
    *object = known ? this : nullptr;
    if (!known) {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CAutomationObject::AddRef()
{
    return ++m_references;
}

STDMETHODIMP_(ULONG) CAutomationObject::Release()
{
    const ULONG references = --m_references;
    if (references == 0) {
        delete this;
    }
    return references;
}

STDMETHODIMP CAutomationObject::GetTypeInfoCount(UINT* count)
{
    *count = 0;
    return S_OK;
}

STDMETHODIMP CAutomationObject::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** info)
{
    *info = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP CAutomationObject::GetIDsOfNames(REFIID /*reserved*/, LPOLESTR* names, UINT count,
                                              LCID /*locale*/, DISPID* ids)
{
    // The names after the first are parameter names. No operation has named parameters.
    std::fill(ids, ids + count, DISPID_UNKNOWN);
    for (const Operation& operation : Operations()) {
        if (count == 1 && LowerCase(operation.member.name) == LowerCase(names[0])) {
            ids[0] = operation.member;
            return S_OK;
        }
    }
    return DISP_E_UNKNOWNNAME;
}

const Operation* CAutomationObject::Find(DISPID dispid, WORD flags) const
{
    for (const Operation& operation : Operations()) {
        // Script languages set DISPATCH_METHOD and DISPATCH_PROPERTYGET together.
        if (operation.member == dispid && (operation.kind & flags) != 0) {
            return &operation;
        }
    }
    return nullptr;
}

std::wstring CAutomationObject::NameOf(const Call& call)
{
    return call.operation != nullptr ? call.operation->member.name : std::to_wstring(call.dispid);
}

Outcome CAutomationObject::Serve(Call& call)
{
    if (call.operation == nullptr) {
        return {DISP_E_MEMBERNOTFOUND, {}, {}};
    }
    if (!HasValidNamedArguments(call.operation->kind, call.parameters)) {
        return {DISP_E_NONAMEDARGS, {}, {}};
    }
    const HRESULT checked = call.arguments.Check(call.operation->parameters, call.wrongArgument);
    return FAILED(checked) ? Outcome{checked, {}, {}} : Perform(call.dispid, call.arguments);
}

std::optional<Outcome> CAutomationObject::ActBefore(const FaultAction& action, Call& call,
                                                    const std::wstring& number)
{
    switch (action.kind) {
        case FaultAction::Kind::slow:
            Sleep(action.milliseconds);
            break;
        case FaultAction::Kind::holdBefore:
            HoldCall();
            break;
        case FaultAction::Kind::exception:
            return Outcome{ReportException(action, call.exception), {}, {}};
        case FaultAction::Kind::fail:
            return Outcome{action.status, {}, {}};
        case FaultAction::Kind::endBefore:
            LogCall(call, number, L"not served");
            m_session.EndNow(L"fault");
        case FaultAction::Kind::hang:
            LogCall(call, number, L"hangs");
            m_session.Hang();
        case FaultAction::Kind::holdAfter:
        case FaultAction::Kind::endAfter:
            // Handled by ActAfter, once the call has been served.
        case FaultAction::Kind::busy:
        case FaultAction::Kind::reject:
            break;  // handled by the message filter
    }
    return std::nullopt;
}

void CAutomationObject::ActAfter(const FaultAction& action) const
{
    if (action.kind == FaultAction::Kind::holdAfter) {
        HoldCall();
    }
    if (action.kind == FaultAction::Kind::endAfter) {
        m_session.EndNow(L"fault");
    }
}

Outcome CAutomationObject::ServeWithFaults(Call& call)
{
    const std::wstring number = m_session.NextCallNumber();
    const std::vector<FaultAction> actions = m_session.Faults().Count(NameOf(call), FileOf(call.arguments));
    for (const FaultAction& action : actions) {
        if (std::optional<Outcome> failure = ActBefore(action, call, number)) {
            LogCall(call, number, StatusText(failure->status));
            return *std::move(failure);
        }
    }
    Outcome outcome = Serve(call);
    LogCall(call, number, OutcomeText(outcome));
    for (const FaultAction& action : actions) {
        ActAfter(action);
    }
    return outcome;
}

Outcome CAutomationObject::Handle(Call& call)
{
    if (const std::optional<HRESULT> refusal = m_session.Refusal()) {
        LogCall(call, L"-", StatusText(*refusal));
        return {*refusal, {}, {}};
    }
    if (m_sessionNumber != m_session.Number()) {
        // To the client, it must look as if the server of this object had ended.
        LogCall(call, L"-", L"gone");
        return {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), {}, {}};
    }
    if (call.operation == nullptr || !call.operation->forTests) {
        return ServeWithFaults(call);
    }
    Outcome outcome = Serve(call);
    LogCall(call, L"-", OutcomeText(outcome));
    return outcome;
}

void CAutomationObject::LogCall(const Call& call, const std::wstring& number,
                                const std::wstring& outcome) const
{
    std::vector<std::wstring> fields = {number, Label(), NameOf(call), KindText(call.flags)};
    for (std::wstring& argument : call.arguments.Describe()) {
        fields.push_back(std::move(argument));
    }
    fields.push_back(outcome);
    m_session.Log().Add(fields);
}

STDMETHODIMP CAutomationObject::Invoke(DISPID dispid, REFIID /*reserved*/, LCID /*locale*/, WORD flags,
                                       DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                       UINT* wrongArgument)
{
    try {
        Call call{dispid, flags, *parameters, CArguments(*parameters), Find(dispid, flags), exception};
        Outcome outcome = Handle(call);
        if (outcome.status == DISP_E_TYPEMISMATCH && wrongArgument != nullptr) {
            *wrongArgument = call.wrongArgument;
        }
        if (SUCCEEDED(outcome.status) && result != nullptr) {
            *result = outcome.value.Detach();
        }
        return outcome.status;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const _com_error& error) {
        return error.Error();
    }
}
