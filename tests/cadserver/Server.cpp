#include "tests/cadserver/Server.h"

#include <windows.h>

#include <objbase.h>

#include "tests/cadserver/Application.h"
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

// The single-threaded apartment of the calling thread.
class CApartment
{
public:
    CApartment() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~CApartment() { CoUninitialize(); }
    CApartment(const CApartment&) = delete;
    CApartment& operator=(const CApartment&) = delete;
};

void ServeCalls(CSession& session)
{
    const UINT_PTR idleTimer = SetTimer(nullptr, 0, kFirstClientTimeout, nullptr);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_TIMER && message.hwnd == nullptr && message.wParam == session.StayTimer()) {
            session.EndNow(L"unused");
        }
        if (message.message == WM_TIMER && message.wParam == idleTimer) {
            KillTimer(nullptr, idleTimer);
            if (!session.WasUsed()) {
                session.RequestEnd(L"unused");
            }
        } else {
            DispatchMessageW(&message);
        }
    }
}

}  // namespace

int Serve(int version)
{
    std::optional<StartSettings> settings = PrepareStart(version);
    if (!settings) {
        return 1;
    }
    const CApartment apartment;
    CSession session(version, *std::move(settings));
    CApplicationFactory factory(session);
    CBusyFilter filter(session);
    CoRegisterMessageFilter(&filter, nullptr);
    if (FAILED(session.RegisterClassObject(factory))) {
        session.EndNow(L"not registered");
    }
    ServeCalls(session);
    CoRegisterMessageFilter(nullptr, nullptr);
    session.LogEnd();
    return 0;
}
