#include "framework/OleMessageFilter.h"

#include <algorithm>

#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/ScopeExit.h"

namespace {

// Results of RetryRejectedCall ("IMessageFilter::RetryRejectedCall"): values from 100 on are milliseconds to
// wait before the next try.
constexpr DWORD kCancelCall = static_cast<DWORD>(-1);
constexpr DWORD kTryAgainAfter = 250;

constexpr Text kServerBusy{
    L"Das andere Programm ist beschäftigt und nimmt keine Befehle an.\n\n"
    L"Soll weiter gewartet werden?",
    L"The other program is busy and is not accepting commands.\n\n"
    L"Do you want to keep waiting?"};

}  // namespace

bool COleMessageFilter::Register()
{
    if (!m_registered) {
        m_registered = SUCCEEDED(CoRegisterMessageFilter(this, &m_previous));
    }
    return m_registered;
}

void COleMessageFilter::Revoke()
{
    if (m_registered) {
        m_registered = false;
        IMessageFilterPtr self;
        CoRegisterMessageFilter(m_previous, &self);
        m_previous.Attach(nullptr);
    }
}

HRESULT COleMessageFilter::QueryInterface(REFIID interfaceId, void** object)
{
    if (object == nullptr) {
        return E_POINTER;
    }
    if (!IsEqualIID(interfaceId, IID_IUnknown) && !IsEqualIID(interfaceId, IID_IMessageFilter)) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = static_cast<IMessageFilter*>(this);
    AddRef();
    return S_OK;
}

ULONG COleMessageFilter::AddRef()
{
    return ++m_references;
}

ULONG COleMessageFilter::Release()
{
    return --m_references;
}

DWORD COleMessageFilter::HandleInComingCall(DWORD /*callType*/, HTASK /*caller*/, DWORD /*tickCount*/,
                                            LPINTERFACEINFO /*interfaceInfo*/)
{
    return SERVERCALL_ISHANDLED;
}

DWORD COleMessageFilter::RetryRejectedCall(HTASK /*callee*/, DWORD tickCount, DWORD /*rejectType*/)
{
    // Whatever the kind of rejection: a server that refuses outright may be free again soon, too. tickCount
    // is the time since the first try; after the user has chosen to wait, the delay starts again.
    const ULONGLONG waited = std::min<ULONGLONG>(tickCount, GetTickCount64() - m_answeredAt);
    if (waited < m_busyDelay || m_asking || AskUser()) {
        return kTryAgainAfter;
    }
    return kCancelCall;
}

DWORD COleMessageFilter::MessagePending(HTASK /*callee*/, DWORD /*tickCount*/, DWORD /*pendingType*/)
{
    // Never asks the user here: the server is working, and a message box would let the user start something
    // else inside the pending call.
    return PENDINGMSG_WAITDEFPROCESS;
}

bool COleMessageFilter::AskUser()
{
    m_asking = true;
    const CScopeExit answered([this] {
        m_asking = false;
        m_answeredAt = GetTickCount64();
    });
    return ShowMessage(kServerBusy.Current(), MB_RETRYCANCEL | MB_ICONEXCLAMATION) == IDRETRY;
}
