#include "framework/OleMessageFilter.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "framework/MessageBox.h"
#include "framework/PendingMessages.h"
#include "framework/ScopeExit.h"
#include "framework/WinApp.h"

namespace {

// Results of RetryRejectedCall. A result of 100 or more is the delay in milliseconds before COM retries the
// call ("IMessageFilter::RetryRejectedCall method").
constexpr DWORD kCancelCall = static_cast<DWORD>(-1);
constexpr DWORD kTryAgainAfter = 250;

LONGLONG Now()
{
    return static_cast<LONGLONG>(GetTickCount64());
}

LONGLONG MadeAt(const MSG& message)
{
    // Signed: injected input may carry a time slightly ahead of the tick count ("SendInput function").
    return Now() - static_cast<LONG>(GetTickCount() - message.time);
}

// Drops held input on a window's frame, except a press of the close button, which becomes the command
// SC_CLOSE. The default handling of a press on a frame follows the mouse until the button is released
// ("WM_NCLBUTTONDOWN message"). The button of a held press is usually up by now, and the default handling
// would wait for the next click.
std::optional<MSG> WithoutFramePress(MSG message)
{
    const bool onFrame = message.message >= WM_NCLBUTTONDOWN && message.message <= WM_NCXBUTTONDBLCLK;
    if (!onFrame) {
        return message;
    }
    if (message.message != WM_NCLBUTTONDOWN || message.wParam != HTCLOSE) {
        return std::nullopt;
    }
    message.message = WM_SYSCOMMAND;
    message.wParam = SC_CLOSE;
    return message;
}

// Wakes COM's wait, which calls MessagePending whenever a message arrives ("IMessageFilter::MessagePending
// method").
void MakeComAskAgain()
{
    PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

// No exception may propagate into COM. If memory is short, the user is asked later.
template <class Action>
void WithoutExceptions(Action&& action)
{
    try {
        std::forward<Action>(action)();
    } catch (const std::exception&) {
        return;
    }
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
    m_cancelsCalls = false;
    ReturnHeldInput();
}

void COleMessageFilter::PrepareCall() const
{
    if (m_cancelsCalls) {
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
    for (const MSG& held : std::exchange(m_heldInput, {})) {
        if (const std::optional<MSG> message = WithoutFramePress(held)) {
            PostMessageW(message->hwnd, message->message, message->wParam, message->lParam);
        }
    }
}

DWORD COleMessageFilter::RetryRejectedCall(HTASK /*callee*/, DWORD tickCount, DWORD /*rejectType*/)
{
    // SERVERCALL_REJECTED is retried like SERVERCALL_RETRYLATER: a busy server returns either.
    const LONGLONG now = Now();
    const LONGLONG stallsAt = StallsAt(now - tickCount);
    if (m_cancelsCalls || (m_handler == nullptr && now >= stallsAt)) {
        return kCancelCall;
    }
    if (!m_asking && !GiveUpIfConfirmed(now - tickCount) && now >= stallsAt) {
        // Asks even without a press: a server that rejects calls usually waits for its user.
        WithoutExceptions([&] {
            static_cast<void>(TakePress(stallsAt));
            AskUser();
        });
    }
    return m_cancelsCalls ? kCancelCall : kTryAgainAfter;
}

DWORD COleMessageFilter::MessagePending(HTASK /*callee*/, DWORD tickCount, DWORD /*pendingType*/)
{
    if (m_handler == nullptr) {
        return PENDINGMSG_WAITDEFPROCESS;
    }
    if (!m_asking && !m_cancelsCalls) {
        PaintPendingWindows();
        NoticePresses();  // each time: NotePress takes the current time as the time of the press
        const LONGLONG now = Now();
        const LONGLONG stallsAt = StallsAt(now - tickCount);
        // No question without a press: long calls are normal, and the user may be away.
        if (!GiveUpIfConfirmed(now - tickCount) && now >= stallsAt) {
            WithoutExceptions([&] {
                if (TakePress(stallsAt)) {
                    AskUser();
                }
            });
        }
    }
    // PENDINGMSG_WAITDEFPROCESS would discard keys and clicks, a press of Cancel among them ("PENDINGMSG
    // enumeration").
    return m_cancelsCalls ? PENDINGMSG_CANCELCALL : PENDINGMSG_WAITNOPROCESS;
}

// Returns the time from which a call counts as stalled. The user's last answer starts a new delay.
LONGLONG COleMessageFilter::StallsAt(LONGLONG callBegan) const
{
    return std::max(callBegan, m_answeredAt) + static_cast<LONGLONG>(m_busyDelay);
}

// Uses up the user's Yes. If this call was already pending when the user answered, gives up on the server
// and returns true. Otherwise ignores the Yes: a later call proves that the stalled call has returned.
bool COleMessageFilter::GiveUpIfConfirmed(LONGLONG callBegan)
{
    if (!std::exchange(m_confirmed, false) || callBegan >= m_answeredAt) {
        return false;
    }
    m_cancelsCalls = !m_handler->GiveUp();
    return true;
}

// Holds all waiting input, which the question would otherwise get. Returns whether the user pressed a key or
// a button, or began a touch, at the time `since` or later. If so, drops the held input from that time on.
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
    // While the session ends, no box can be shown. The run has to end, so the answer counts as Yes.
    m_confirmed = CWinApp::IsSessionEnding() ||
                  ShowMessage(m_handler->Question(), MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2) == IDYES;
    m_answeredAt = Now();
    if (m_confirmed) {
        MakeComAskAgain();
    }
}
