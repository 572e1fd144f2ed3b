#pragma once

#include <windows.h>

#include <limits>
#include <string>
#include <vector>

#include "framework/ComPointers.h"

// What the message filter asks and does about a stalled call. A call that the server rejects is stalled after
// the busy delay. A pending call is stalled when the user presses a key or clicks after the busy delay. The
// conversion run installs a handler while it holds a connection.
class CStalledCallHandler
{
public:
    virtual ~CStalledCallHandler() = default;

    // The text of a Yes/No question; Yes gives up on the server.
    [[nodiscard]] virtual std::wstring Question() const = 0;

    // Called after the answer Yes if the stalled call still has not returned. Returns true if the handler has
    // ended the server, so that the call fails by itself; false if the filter has to cancel the call.
    [[nodiscard]] virtual bool GiveUp() = 0;

protected:
    CStalledCallHandler() = default;
    CStalledCallHandler(const CStalledCallHandler&) = default;
    CStalledCallHandler& operator=(const CStalledCallHandler&) = default;
};

// Waits for automation servers, and asks the user when a call is stalled. The object lives as long as the
// application and is not freed by reference counting. It serves the thread that registered it.
class COleMessageFilter final : public IMessageFilter
{
public:
    COleMessageFilter() = default;
    COleMessageFilter(const COleMessageFilter&) = delete;
    COleMessageFilter& operator=(const COleMessageFilter&) = delete;
    ~COleMessageFilter() { Revoke(); }

    // Registers the filter for the calling thread, which must have entered COM as a single-threaded
    // apartment. Returns false when COM refuses the filter.
    bool Register();

    // Restores the filter that was registered before; does nothing when not registered.
    void Revoke();

    // How long a call may be pending or rejected before the user is asked, in milliseconds.
    void SetBusyDelay(DWORD milliseconds) { m_busyDelay = milliseconds; }

    // Installs the handler of stalled calls, or removes the handler (null). With a handler, keys and clicks
    // are kept during a call, in the queue or held here, and windows are painted. Without a handler, a
    // rejected call fails after the delay. Installing or removing a handler makes the filter wait for the
    // server again and returns the held input to the queue.
    void SetStalledCallHandler(CStalledCallHandler* handler);

    // Call it before each call to the server and each release of its objects. If the filter has given up on a
    // server that could not be ended, it then cancels the call as soon as the call waits.
    void PrepareCall() const;

    // Call it when the user presses a mouse button on a disabled window: the system queues no message for
    // that press.
    void NotePress();

    // Takes keys and clicks out of the queue, so that a message box that opens now does not get them. Does
    // nothing without a handler.
    void HoldInput();

    // Posts the held input again. Of input on a window's frame, only a press of the close button is posted,
    // as its command (SC_CLOSE).
    void ReturnHeldInput();

    void DropHeldInput() { m_heldInput.clear(); }

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IMessageFilter
    DWORD STDMETHODCALLTYPE HandleInComingCall(DWORD callType, HTASK caller, DWORD tickCount,
                                               LPINTERFACEINFO interfaceInfo) override;
    DWORD STDMETHODCALLTYPE RetryRejectedCall(HTASK callee, DWORD tickCount, DWORD rejectType) override;
    DWORD STDMETHODCALLTYPE MessagePending(HTASK callee, DWORD tickCount, DWORD pendingType) override;

private:
    // Points in time are milliseconds by GetTickCount64.
    [[nodiscard]] LONGLONG StallsAt(LONGLONG callBegan) const;
    bool GiveUpIfConfirmed(LONGLONG callBegan);
    bool TakePress(LONGLONG since);
    void AskUser();

    static constexpr LONGLONG kNever = std::numeric_limits<LONGLONG>::min();

    ULONG m_references = 1;
    DWORD m_busyDelay = 5000;
    CStalledCallHandler* m_handler = nullptr;
    LONGLONG m_answeredAt = kNever;  // when the user last answered
    bool m_confirmed = false;        // the answer was Yes, and has not taken effect yet
    bool m_cancelsCalls = false;     // has given up on a server that could not be ended
    bool m_asking = false;
    LONGLONG m_pressedAt = kNever;  // the last press on a disabled window
    std::vector<MSG> m_heldInput;   // in the order of the input
    bool m_registered = false;
    IMessageFilterPtr m_previous;
};
