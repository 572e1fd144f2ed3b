#pragma once

#include <windows.h>

#include <string>

#include "cad/SldWorks.h"
#include "framework/OleMessageFilter.h"
#include "framework/ServerProcess.h"

// How long a session waits for SOLIDWORKS, in milliseconds.
struct CadPatience
{
    DWORD forEnd = 30'000;          // of a server that was let go
    DWORD forConnection = 120'000;  // while a server is on its way out or a new one on its way in
    DWORD betweenTries = 500;
};

// A run's use of SOLIDWORKS: connects again after a failed call, waits for a server that is slow to start or
// to go, and asks the user when a call does not return. Windows are painted while it waits. When the Windows
// session ends, it waits no longer and does not connect.
class CCadSession final : private CStalledCallHandler
{
public:
    enum class Outcome
    {
        connected,
        notLoaded,  // a failed call for the version included
        tooOld
    };

    // References must stay valid as long as the session. `process` outlives it: it knows the server of the
    // session before.
    CCadSession(CSldWorks& sldWorks, CServerProcess& process, std::wstring progId, CadPatience patience);
    CCadSession(const CCadSession&) = delete;
    CCadSession& operator=(const CCadSession&) = delete;
    ~CCadSession() override;

    // Connects and checks the version. A server that this program let go is waited for first, as it may still
    // be reached, and refuses every call.
    [[nodiscard]] Outcome Connect();

    // The same after a failed call and Release. Ends the old server by force if it has not ended by itself.
    // Fails at once when the user has given a server up that this program did not start.
    [[nodiscard]] Outcome Reconnect();

    // Lets a server live on after this program if its main window has been shown: its user may work in it.
    // Call it often, as this program may be killed at any time.
    void LeaveToUser();

    // Ends SOLIDWORKS and releases it; does nothing without a connection. One that no longer answers is
    // released all the same.
    void Release();

private:
    struct Attempt
    {
        Outcome outcome;
        HRESULT status;  // of the failure
    };

    [[nodiscard]] Outcome TryUntilLoaded();
    [[nodiscard]] Attempt Try();
    void EndOldServer();

    [[nodiscard]] std::wstring Question() const override;
    [[nodiscard]] bool GiveUp() override;

    CSldWorks& m_sldWorks;
    CServerProcess& m_process;
    const std::wstring m_progId;
    const CadPatience m_patience;
    bool m_connected = false;
    bool m_givenUp = false;  // a server that this program did not start is no longer waited for
};
