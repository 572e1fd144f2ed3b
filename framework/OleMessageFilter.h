#pragma once

#include <windows.h>

#include "framework/ComPointers.h"

// Waits for automation servers that are busy, and asks the user when that takes long. One object lives as
// long as the application; it is not freed by reference counting. It serves the thread that registered it.
class COleMessageFilter final : public IMessageFilter
{
public:
    COleMessageFilter() = default;
    COleMessageFilter(const COleMessageFilter&) = delete;
    COleMessageFilter& operator=(const COleMessageFilter&) = delete;
    ~COleMessageFilter() { Revoke(); }

    // Puts the filter in place for the calling thread, which must have entered COM as a single-threaded
    // apartment. Answers false when COM refuses it.
    bool Register();

    // Puts the filter that served before back in its place; does nothing when not registered.
    void Revoke();

    // For how long a busy server is asked again before the user is asked, in milliseconds.
    void SetMessagePendingDelay(DWORD milliseconds) { m_messagePendingDelay = milliseconds; }

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
    // Whether the user wants to go on waiting.
    bool AskUser();

    ULONG m_references = 1;
    DWORD m_messagePendingDelay = 5000;
    ULONGLONG m_answeredAt = 0;  // when the user last wanted to go on, by GetTickCount64
    bool m_asking = false;
    bool m_registered = false;
    IMessageFilterPtr m_previous;
};
