#pragma once

#include <windows.h>

#include "framework/ComPointers.h"

// Retries calls that a busy automation server rejects, and asks the user when that takes long. Serves the
// thread that registers it. Its owner determines its lifetime, not its reference count.
class COleMessageFilter final : public IMessageFilter
{
public:
    COleMessageFilter() = default;
    COleMessageFilter(const COleMessageFilter&) = delete;
    COleMessageFilter& operator=(const COleMessageFilter&) = delete;
    ~COleMessageFilter() { Revoke(); }

    // Registers the filter for the calling thread, which must be a single-threaded apartment. Returns false
    // when COM refuses.
    bool Register();

    // Restores the previous filter. Does nothing when not registered.
    void Revoke();

    // For how long calls to a busy server are retried before the user is asked.
    void SetBusyDelay(DWORD milliseconds) { m_busyDelay = milliseconds; }

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
    // Returns whether the user wants to keep waiting.
    bool AskUser();

    ULONG m_references = 1;
    DWORD m_busyDelay = 5000;    // milliseconds
    ULONGLONG m_answeredAt = 0;  // when the user was last asked (GetTickCount64)
    bool m_asking = false;
    bool m_registered = false;
    IMessageFilterPtr m_previous;
};
