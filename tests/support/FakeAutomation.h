#pragma once

#include <oleauto.h>
#include <windows.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cad/ProgressView.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/RefusedCalls.h"

// Automation objects and a progress dialog in the process of the test. They share one log, a line per event.
using EventLog = std::vector<std::wstring>;

inline EventLog operator+(EventLog events, const EventLog& more)
{
    events.insert(events.end(), more.begin(), more.end());
    return events;
}

// A call, for a handler.
struct FakeCall
{
    const DISPPARAMS& parameters;
    VARIANT* result;
    EXCEPINFO* exception;

    // An argument by its index in the parameter list.
    [[nodiscard]] VARIANT& Argument(UINT index) const
    {
        return parameters.rgvarg[parameters.cArgs - 1 - index];
    }
};

// An automation object that logs each call as "NAME MEMBER KIND TYPE=VALUE ..." with the arguments in the
// order of the parameters, and then calls the member's handler. A member without a handler succeeds without a
// result. References are counted, but do not affect the object's lifetime.
class CFakeDispatch : public IDispatch
{
public:
    using Handler = std::function<HRESULT(FakeCall&)>;

    CFakeDispatch(std::wstring name, EventLog& log) : m_name(std::move(name)), m_log(log) {}
    CFakeDispatch(const CFakeDispatch&) = delete;
    CFakeDispatch& operator=(const CFakeDispatch&) = delete;
    virtual ~CFakeDispatch() = default;

    void On(DISPID member, Handler handler) { m_handlers[member] = std::move(handler); }

    // The number of references that others hold.
    [[nodiscard]] int References() const { return m_references; }

    // Adds a reference for the caller and returns the object.
    IDispatch* Reference()
    {
        AddRef();
        return this;
    }

    // Whether it has the interface IDispatch.
    bool m_hasDispatch = true;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void** object) override
    {
        const bool known = IsEqualIID(interfaceId, IID_IUnknown) ||
                           (m_hasDispatch && IsEqualIID(interfaceId, IID_IDispatch));
        *object = known ? Reference() : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--m_references); }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override
    {
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID interfaceId, LCID, WORD kind,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT*) override
    {
        const CUncountedCalls uncounted;
        if (!IsEqualIID(interfaceId, IID_NULL)) {
            return DISP_E_UNKNOWNINTERFACE;
        }
        m_log.push_back(m_name + L" " + automation::NameOf(m_name, member) + DescribeKind(kind, *parameters) +
                        DescribeArguments(*parameters));
        const auto handler = m_handlers.find(member);
        if (handler == m_handlers.end()) {
            return S_OK;
        }
        FakeCall call{*parameters, result, exception};
        return handler->second(call);
    }

private:
    static std::wstring DescribeKind(WORD kind, const DISPPARAMS& parameters)
    {
        if (kind == DISPATCH_METHOD && parameters.cNamedArgs == 0) {
            return L" method";
        }
        if (kind == DISPATCH_PROPERTYPUT && parameters.cNamedArgs == 1 &&
            parameters.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT) {
            return L" put";
        }
        return L" kind " + std::to_wstring(kind) + L" with " + std::to_wstring(parameters.cNamedArgs) +
               L" named";
    }

    static std::wstring DescribeArguments(const DISPPARAMS& parameters)
    {
        std::wstring text;
        for (UINT index = parameters.cArgs; index > 0; --index) {
            text += L" " + Describe(parameters.rgvarg[index - 1]);
        }
        return text;
    }

    static std::wstring Describe(const VARIANT& value)
    {
        switch (value.vt) {
            case VT_BSTR:
                return L"BSTR=" + std::wstring(value.bstrVal, SysStringLen(value.bstrVal));
            case VT_I4:
                return L"I4=" + std::to_wstring(value.lVal);
            case VT_BOOL:
                return L"BOOL=" + std::to_wstring(value.boolVal);
            case VT_BYREF | VT_I4:
                return L"&I4=" + std::to_wstring(*value.plVal);
            default:
                return L"type " + std::to_wstring(value.vt);
        }
    }

    std::wstring m_name;
    EventLog& m_log;
    std::map<DISPID, Handler> m_handlers;
    int m_references = 0;
};

// Handlers
inline CFakeDispatch::Handler AnswerLong(long value)
{
    return [value](FakeCall& call) {
        call.result->vt = VT_I4;
        call.result->lVal = value;
        return S_OK;
    };
}

// The object may be null.
inline CFakeDispatch::Handler AnswerObject(CFakeDispatch* object)
{
    return [object](FakeCall& call) {
        call.result->vt = VT_DISPATCH;
        call.result->pdispVal = object == nullptr ? nullptr : object->Reference();
        return S_OK;
    };
}

// A one-dimensional array of strings.
inline CFakeDispatch::Handler AnswerStrings(std::vector<std::wstring> strings, LONG lowerBound = 0)
{
    return [strings = std::move(strings), lowerBound](FakeCall& call) {
        SAFEARRAYBOUND bound{static_cast<ULONG>(strings.size()), lowerBound};
        SAFEARRAY* const array = SafeArrayCreate(VT_BSTR, 1, &bound);
        for (std::size_t index = 0; index < strings.size(); ++index) {
            static_cast<BSTR*>(array->pvData)[index] =
                SysAllocStringLen(strings[index].data(), static_cast<UINT>(strings[index].size()));
        }
        call.result->vt = VT_ARRAY | VT_BSTR;
        call.result->parray = array;
        return S_OK;
    };
}

inline CFakeDispatch::Handler Fail(HRESULT status)
{
    return [status](FakeCall&) { return status; };
}

// An exception with all its texts.
inline CFakeDispatch::Handler RaiseException(const wchar_t* source, const wchar_t* description,
                                             const wchar_t* helpFile, DWORD helpContext)
{
    return [=](FakeCall& call) {
        call.exception->bstrSource = SysAllocString(source);
        call.exception->bstrDescription = SysAllocString(description);
        call.exception->bstrHelpFile = SysAllocString(helpFile);
        call.exception->dwHelpContext = helpContext;
        return DISP_E_EXCEPTION;
    };
}

// A progress dialog that logs its calls. It logs its texts when they are refreshed, and keeps what it is told
// about the part in m_notes.
class CFakeProgress : public CProgressView
{
public:
    explicit CFakeProgress(EventLog& log) : m_log(log) {}

    int m_overallPosition = 0;
    bool m_cancelled = false;
    bool m_sessionEnding = false;
    std::function<void()> m_onMessage;  // called for each message
    EventLog m_notes;                   // what it was told about the part

    void SetFirstText(const std::wstring& text) override { m_first = text; }
    void SetSecondText(const std::wstring& text) override { m_second = text; }
    void SetThirdText(const std::wstring& text) override { m_third = text; }
    void Refresh() override
    {
        m_log.push_back(L"screen [" + m_first + L"][" + m_second + L"][" + m_third + L"]");
    }
    void SetFilePosition(int position) override { m_log.push_back(L"file bar " + std::to_wstring(position)); }
    void SetOverallPosition(int position) override
    {
        m_overallPosition = position;
        m_log.push_back(L"overall bar " + std::to_wstring(position));
    }
    [[nodiscard]] int GetOverallPosition() const override
    {
        m_log.push_back(L"read overall bar");
        return m_overallPosition;
    }
    [[nodiscard]] bool IsCancelled() const override { return m_cancelled; }
    [[nodiscard]] bool IsSessionEnding() const override { return m_sessionEnding; }
    void ClearCancelled() override
    {
        m_cancelled = false;
        m_log.push_back(L"clear cancel");
    }
    void EnableCancel(bool enable) override
    {
        m_log.push_back(enable ? L"enable cancel" : L"disable cancel");
    }
    void PumpOneMessage() override
    {
        m_log.push_back(L"message");
        if (m_onMessage) {
            m_onMessage();
        }
    }
    void NoteStep(CadStep step) override
    {
        m_notes.push_back(L"step " + std::to_wstring(static_cast<int>(step)));
    }
    void NoteOpened(bool opened, long code) override
    {
        m_notes.push_back((opened ? L"opened " : L"not opened ") + std::to_wstring(code));
    }
    void NoteConfigurations(long count, const std::vector<std::wstring>& names) override
    {
        m_notes.push_back(L"configurations " + std::to_wstring(count));
        m_notes.insert(m_notes.end(), names.begin(), names.end());
    }
    void NoteConfigurationWritten() override { m_notes.push_back(L"written"); }
    void NoteSaved(std::optional<long> result) override
    {
        m_notes.push_back(result ? L"saved " + std::to_wstring(*result) : L"saved");
    }

private:
    EventLog& m_log;
    std::wstring m_first;
    std::wstring m_second;
    std::wstring m_third;
};
