#include "framework/OleMessageFilter.h"

#include <algorithm>
#include <utility>

#include "framework/MessageBox.h"
#include "framework/PendingMessages.h"
#include "framework/ScopeExit.h"

namespace {

// Results of RetryRejectedCall. From 100 on it is the time in milliseconds to wait before the next try
// ("IMessageFilter::RetryRejectedCall method").
constexpr DWORD kCancelCall = static_cast<DWORD>(-1);
constexpr DWORD kTryAgainAfter = 250;

LONGLONG Now()
{
    return static_cast<LONGLONG>(GetTickCount64());
}

LONGLONG MadeAt(const MSG& message)
{
    // Signed: input that another program sends may carry a time that is slightly ahead.
    return Now() - static_cast<LONG>(GetTickCount() - message.time);
}

// COM asks the filter when a message arrives ("IMessageFilter::MessagePending method").
void MakeComAskAgain()
{
    PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

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

void COleMessageFilter::SetStalledCallHandler(CStalledCallHandler* handler)
{
    m_handler = handler;
    m_answeredAt = kNever;
    m_pressedAt = kNever;
    m_confirmed = false;
    m_givenUp = false;
    ReturnHeldInput();
}

void COleMessageFilter::PrepareCall() const
{
    if (m_givenUp) {
        MakeComAskAgain();
    }
}

void COleMessageFilter::NotePress()
{
    m_pressedAt = Now();
    if (m_handler != nullptr) {
        MakeComAskAgain();
    }
}

void COleMessageFilter::HoldInput()
{
    if (m_handler != nullptr) {
        const std::vector<MSG> input = TakePendingMessages(kPressesAndReleases);
        m_heldInput.insert(m_heldInput.end(), input.begin(), input.end());
    }
}

void COleMessageFilter::ReturnHeldInput()
{
    for (const MSG& message : std::exchange(m_heldInput, {})) {
        PostMessageW(message.hwnd, message.message, message.wParam, message.lParam);
    }
}

DWORD COleMessageFilter::RetryRejectedCall(HTASK /*callee*/, DWORD tickCount, DWORD /*rejectType*/)
{
    // A busy server may say "later" or refuse outright, and a refusal passes just as well: both are tried
    // again.
    const LONGLONG now = Now();
    const LONGLONG stallsAt = StallsAt(now - tickCount);
    if (m_givenUp || (m_handler == nullptr && now >= stallsAt)) {
        return kCancelCall;
    }
    if (!m_asking && !GiveUpIfConfirmed(now - tickCount) && now >= stallsAt) {
        static_cast<void>(TakePress(stallsAt));
        AskUser();
    }
    return m_givenUp ? kCancelCall : kTryAgainAfter;
}

DWORD COleMessageFilter::MessagePending(HTASK /*callee*/, DWORD tickCount, DWORD /*pendingType*/)
{
    if (m_handler == nullptr) {
        return PENDINGMSG_WAITDEFPROCESS;
    }
    if (!m_asking && !m_givenUp) {
        PaintPendingWindows();
        const LONGLONG now = Now();
        const LONGLONG stallsAt = StallsAt(now - tickCount);
        // No question without a press: a long call is nothing unusual, and nobody may be there.
        if (!GiveUpIfConfirmed(now - tickCount) && now >= stallsAt && TakePress(stallsAt)) {
            AskUser();
        }
    }
    // The default handling would throw keys and clicks away, a press of Cancel among them ("PENDINGMSG
    // enumeration").
    return m_givenUp ? PENDINGMSG_CANCELCALL : PENDINGMSG_WAITNOPROCESS;
}

// Returns the time from which a call counts as stalled. The user's last answer starts a new delay.
LONGLONG COleMessageFilter::StallsAt(LONGLONG callBegan) const
{
    return std::max(callBegan, m_answeredAt) + static_cast<LONGLONG>(m_busyDelay);
}

// Gives the server up if the user confirmed that while this very call was pending: a call that returned while
// the box was open has done its work. Returns whether it did.
bool COleMessageFilter::GiveUpIfConfirmed(LONGLONG callBegan)
{
    if (!std::exchange(m_confirmed, false) || callBegan >= m_answeredAt) {
        return false;
    }
    m_givenUp = !m_handler->GiveUp();
    return true;
}

// Whether the user has pressed a key or a button since. All that was pressed since is dropped then; what came
// before is held, or the question would get it.
bool COleMessageFilter::TakePress(LONGLONG since)
{
    HoldInput();
    const auto isLater = [since](const MSG& message) { return MadeAt(message) >= since; };
    const bool pressed = m_pressedAt >= since || std::ranges::any_of(m_heldInput, [&](const MSG& message) {
                             return IsPress(message.message) && isLater(message);
                         });
    if (pressed) {
        std::erase_if(m_heldInput, isLater);
    }
    return pressed;
}

void COleMessageFilter::AskUser()
{
    m_asking = true;
    const CScopeExit asked([this] { m_asking = false; });
    const int answer = ShowMessage(m_handler->Question(), MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2);
    m_confirmed = answer == IDYES;
    m_answeredAt = Now();
    if (m_confirmed) {
        MakeComAskAgain();
    }
}
