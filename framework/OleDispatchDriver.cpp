#include "framework/OleDispatchDriver.h"

#include <limits>
#include <utility>

#include "framework/WinApp.h"

namespace {

// Owns the strings of the server's report.
class CExceptionInfo : public EXCEPINFO
{
public:
    CExceptionInfo() : EXCEPINFO{} {}
    CExceptionInfo(const CExceptionInfo&) = delete;
    CExceptionInfo& operator=(const CExceptionInfo&) = delete;
    ~CExceptionInfo()
    {
        SysFreeString(bstrSource);
        SysFreeString(bstrDescription);
        SysFreeString(bstrHelpFile);
    }

    // A server may defer filling in its report ("EXCEPINFO structure").
    void Complete()
    {
        if (pfnDeferredFillIn != nullptr) {
            pfnDeferredFillIn(this);
        }
    }
};

std::wstring TextOf(BSTR string)
{
    return string == nullptr ? std::wstring() : std::wstring(string, SysStringLen(string));
}

COleDispatchException ExceptionFrom(CExceptionInfo& info)
{
    info.Complete();
    COleDispatchException exception;
    exception.m_code = info.wCode;
    exception.m_source = TextOf(info.bstrSource);
    exception.m_description = TextOf(info.bstrDescription);
    exception.m_helpFile = TextOf(info.bstrHelpFile);
    exception.m_helpContext = info.dwHelpContext;
    exception.m_sc = info.scode;
    return exception;
}

// Call it before each call to the server and each release, as both wait for the server. See
// COleMessageFilter::PrepareCall.
void PrepareCall()
{
    if (CWinApp* const app = CWinApp::Get(); app != nullptr) {
        app->GetMessageFilter().PrepareCall();
    }
}

}  // namespace

_bstr_t MakeAutomationString(std::wstring_view text)
{
    _bstr_t string;
    BSTR& raw = string.GetBSTR();
    if (text.size() <= std::numeric_limits<UINT>::max()) {
        raw = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
    if (raw == nullptr) {
        throw COleException(E_OUTOFMEMORY);
    }
    return string;
}

COleDispatchDriver::~COleDispatchDriver()
{
    ReleaseDispatch();
}

COleDispatchDriver& COleDispatchDriver::operator=(COleDispatchDriver other)
{
    // `other` releases the object held before.
    std::swap(m_dispatch, other.m_dispatch);
    return *this;
}

bool COleDispatchDriver::CreateDispatch(const std::wstring& progId, COleException* error)
{
    ReleaseDispatch();
    CLSID classId{};
    HRESULT status = CLSIDFromProgID(progId.c_str(), &classId);
    if (SUCCEEDED(status)) {
        // Only servers on this machine: a remote server could not open our files. In-process handlers
        // (CLSCTX_INPROC_HANDLER) are left out, because they are not automation objects.
        status = m_dispatch.CreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER);
    }
    if (error != nullptr) {
        error->m_sc = status;
    }
    return IsAttached();
}

void COleDispatchDriver::AttachDispatch(IDispatch* dispatch)
{
    ReleaseDispatch();
    m_dispatch.Attach(dispatch);
}

void COleDispatchDriver::ReleaseDispatch()
{
    // Detached first: during the last Release, messages may be dispatched whose handlers use this object.
    if (IDispatch* const dispatch = m_dispatch.Detach(); dispatch != nullptr) {
        PrepareCall();
        dispatch->Release();
    }
}

void COleDispatchDriver::Invoke(DISPID member, WORD kind, VARIANT* reversedArguments, UINT count,
                                VARIANT* result) const
{
    if (!IsAttached()) {
        throw COleException(E_POINTER);
    }
    DISPPARAMS parameters{reversedArguments, nullptr, count, 0};
    DISPID putName = DISPID_PROPERTYPUT;
    if (kind == DISPATCH_PROPERTYPUT) {
        parameters.rgdispidNamedArgs = &putName;
        parameters.cNamedArgs = 1;
    }
    CExceptionInfo info;
    UINT badArgument = 0;
    PrepareCall();
    // The user's locale, for servers that localise their error texts.
    const HRESULT status = m_dispatch->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters,
                                              result, &info, &badArgument);
    if (status == DISP_E_EXCEPTION) {
        throw ExceptionFrom(info);
    }
    if (FAILED(status)) {
        throw COleException(status);
    }
}

void COleDispatchDriver::SetArgument(_variant_t& argument, const std::wstring& value)
{
    argument.vt = VT_BSTR;
    argument.bstrVal = nullptr;
    argument.bstrVal = MakeAutomationString(value).Detach();
}

void COleDispatchDriver::SetArgument(_variant_t& argument, long* value)
{
    argument.vt = VT_BYREF | VT_I4;
    argument.plVal = value;
}

long COleDispatchDriver::TakeLong(_variant_t& result)
{
    const HRESULT status = VariantChangeTypeEx(&result, &result, LOCALE_USER_DEFAULT, 0, VT_I4);
    if (FAILED(status)) {
        throw COleException(status);
    }
    return result.lVal;
}

IDispatchPtr COleDispatchDriver::TakeDispatch(_variant_t& result)
{
    switch (result.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return {};
        case VT_DISPATCH:
            return {result.pdispVal};
        case VT_UNKNOWN: {
            IDispatchPtr object;
            const HRESULT status =
                result.punkVal == nullptr ? S_OK : result.punkVal->QueryInterface(IID_PPV_ARGS(&object));
            if (FAILED(status)) {
                throw COleException(status);
            }
            return object;
        }
        default:
            throw COleException(DISP_E_TYPEMISMATCH);
    }
}
