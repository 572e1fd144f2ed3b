#include "tests/cadserver/Server.h"

#include <windows.h>

#include <objbase.h>

#include "tests/cadserver/Application.h"
#include "tests/cadserver/ComPointers.h"
#include "tests/cadserver/ServerWindows.h"
#include "tests/cadserver/Session.h"

namespace {

constexpr UINT kFirstClientTimeout =
    60'000;                        // milliseconds until the client that started the server must connect
constexpr WORD kInvokeMethod = 6;  // index of Invoke in the vtable of IDispatch

// A COM object that outlives its clients, so it does not count references.
template <class Interface>
class CUncountedObject : public Interface
{
public:
    explicit CUncountedObject(REFIID identifier) : m_identifier(identifier) {}

    STDMETHODIMP QueryInterface(REFIID identifier, void** object) override
    {
        const bool known = identifier == IID_IUnknown || identifier == m_identifier;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

private:
    IID m_identifier;
};

// Creates application objects. References to the class object itself do not keep the server alive.
class CApplicationFactory : public CUncountedObject<IClassFactory>
{
public:
    explicit CApplicationFactory(CSession& session) : CUncountedObject(IID_IClassFactory), m_session(session)
    {
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID identifier, void** object) override
    {
        *object = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        if (!m_session.EnsureSession()) {
            return CO_E_SERVER_EXEC_FAILURE;
        }
        auto* application = new CApplication(m_session);
        const HRESULT result = application->QueryInterface(identifier, object);
        application->Release();
        return result;
    }

    STDMETHODIMP LockServer(BOOL lock) override
    {
        if (lock != FALSE) {
            m_session.AddObject();
        } else {
            m_session.RemoveObject(m_session.Number());
        }
        return S_OK;
    }

private:
    CSession& m_session;
};

// Rejects calls while a busy or reject fault is active.
class CBusyFilter : public CUncountedObject<IMessageFilter>
{
public:
    explicit CBusyFilter(CSession& session) : CUncountedObject(IID_IMessageFilter), m_session(session) {}

    STDMETHODIMP_(DWORD)
    HandleInComingCall(DWORD /*type*/, HTASK /*caller*/, DWORD /*ticks*/, LPINTERFACEINFO info) override
    {
        const bool invoke = info != nullptr && info->iid == IID_IDispatch && info->wMethod == kInvokeMethod;
        const DWORD handling = invoke ? m_session.Faults().ReceiveCall(GetTickCount64())
                                      : static_cast<DWORD>(SERVERCALL_ISHANDLED);
        if (handling != SERVERCALL_ISHANDLED) {
            m_session.Log().Add({L"-", handling == SERVERCALL_RETRYLATER ? L"busy" : L"rejected"});
        }
        return handling;
    }
    STDMETHODIMP_(DWORD) RetryRejectedCall(HTASK /*callee*/, DWORD /*ticks*/, DWORD /*type*/) override
    {
        return static_cast<DWORD>(-1);
    }
    STDMETHODIMP_(DWORD) MessagePending(HTASK /*callee*/, DWORD /*ticks*/, DWORD /*type*/) override
    {
        return PENDINGMSG_WAITDEFPROCESS;
    }

private:
    CSession& m_session;
};

// An automation object that no client gets. It exists only so that KeepStub can keep a stub of IDispatch.
class CUnusedObject : public CUncountedObject<IDispatch>
{
public:
    CUnusedObject() : CUncountedObject(IID_IDispatch) {}

    STDMETHODIMP GetTypeInfoCount(UINT* /*count*/) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** /*info*/) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetIDsOfNames(REFIID /*reserved*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*locale*/,
                               DISPID* /*ids*/) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP Invoke(DISPID /*dispid*/, REFIID /*reserved*/, LCID /*locale*/, WORD /*flags*/,
                        DISPPARAMS* /*parameters*/, VARIANT* /*result*/, EXCEPINFO* /*exception*/,
                        UINT* /*wrongArgument*/) override
    {
        return E_NOTIMPL;
    }
};

// Keeps a stub of the object until the process ends. When the last stub of an interface is released, Wine
// (8.0) waits for the calls that are still returning to other processes. Wine may miss the return of a call;
// the release would then never return.
void KeepStub(IUnknown& object, REFIID identifier)
{
    IStreamPtr stream;
    if (SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, &stream))) {
        CoMarshalInterface(stream, identifier, &object, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG);
    }
}

// Whether the message says that the thread's timer has expired.
bool IsTimer(const MSG& message, UINT_PTR timer)
{
    return message.message == WM_TIMER && message.hwnd == nullptr && message.wParam == timer;
}

// Serves calls until the server is due to end.
void ServeCalls(CSession& session)
{
    const UINT_PTR idleTimer = SetTimer(nullptr, 0, kFirstClientTimeout, nullptr);
    MSG message;
    // The end does not wait for a timer's message, which might never arrive while clients keep calling.
    while (!session.EndIsDue() && GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (IsTimer(message, session.StayTimer())) {
            session.EndNow(L"unused");
        }
        if (IsTimer(message, idleTimer)) {
            KillTimer(nullptr, idleTimer);
            if (!session.WasUsed()) {
                session.RequestEnd(L"unused");
            }
        } else {
            DispatchMessageW(&message);
        }
    }
}

// Serves messages for this time; every call is refused meanwhile. The timer that RequestEnd set keeps waking
// the loop.
void Linger(DWORD milliseconds)
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    MSG message;
    while (GetTickCount64() < end && GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
}

// Refuses calls until none has arrived for kQuiet, at most for kMost. Otherwise Wine (8.0) may fail to end
// the process: Wine first kills COM's threads, and a lock that such a thread holds is then never released.
void WaitForQuiet()
{
    constexpr DWORD kQuiet = 30;        // milliseconds
    constexpr ULONGLONG kMost = 2'000;  // milliseconds
    constexpr DWORD kCalls = QS_POSTMESSAGE | QS_SENDMESSAGE;
    const ULONGLONG end = GetTickCount64() + kMost;
    while (GetTickCount64() < end &&
           MsgWaitForMultipleObjects(0, nullptr, FALSE, kQuiet, kCalls) != WAIT_TIMEOUT) {
        MSG message;
        while (GetTickCount64() < end && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            DispatchMessageW(&message);
        }
    }
}

[[noreturn]] void Leave(CSession& session)
{
    if (session.Script().PromptsAtEnd()) {
        ShowPrompt();
    }
    if (const std::optional<Lingering> lingering = session.LingeringAtEnd()) {
        Linger(lingering->milliseconds);
    }
    session.Disconnect();
    WaitForQuiet();
    session.Leave();
}

}  // namespace

int Serve(int version)
{
    std::optional<StartSettings> settings = PrepareStart(version);
    if (!settings) {
        return 1;
    }
    Sleep(settings->script.StartDelay(settings->number));
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    CSession session(version, *std::move(settings));
    if (session.Script().ShowsWindow()) {
        ShowMainWindow();
    }
    CApplicationFactory factory(session);
    CUnusedObject unused;
    KeepStub(factory, IID_IClassFactory);
    KeepStub(unused, IID_IDispatch);
    CBusyFilter filter(session);
    CoRegisterMessageFilter(&filter, nullptr);
    if (FAILED(session.RegisterClassObject(factory))) {
        session.EndNow(L"not registered");
    }
    ServeCalls(session);
    Leave(session);
}
