#pragma once

#include <windows.h>

#include <string>

#include "cad/SldWorks.h"
#include "framework/OleMessageFilter.h"
#include "framework/ServerProcess.h"

// In milliseconds.
struct CadTimeouts
{
    DWORD exit = 30'000;      // how long a released server may take to exit
    DWORD connect = 120'000;  // how long to retry while a server is exiting or starting
    DWORD retryInterval = 500;
};

// A run's connection to SOLIDWORKS. Waits for a server that is slow to start or exit, and paints the
// program's windows meanwhile. Asks the user when a call does not return. Once the Windows session is ending,
// neither waits nor connects.
class CCadSession final : private CStalledCallHandler
{
public:
    enum class Outcome
    {
        connected,
        notLoaded,  // also when the version query fails
        tooOld
    };

    // `sldWorks` and `process` must outlive the object. All sessions must share one `process`, which
    // remembers the server of the previous run.
    CCadSession(CSldWorks& sldWorks, CServerProcess& process, std::wstring progId, CadTimeouts timeouts);
    CCadSession(const CCadSession&) = delete;
    CCadSession& operator=(const CCadSession&) = delete;
    ~CCadSession() override;

    // Connects and checks the version. First gives a server that this program started and released time to
    // exit: a client can still connect to an exiting server, but every call then fails.
    [[nodiscard]] Outcome Connect();

    // Connects again after a failed call; call Release first. Terminates the old server if this program
    // started it, it shows no main window, and it does not exit in time. Returns notLoaded at once if a call
    // was given up and its server could not be terminated.
    [[nodiscard]] Outcome Reconnect();

    // If the server shows a main window now, lets the server outlive this program: a user may be working in
    // the window. Call this function often: if this program is killed before the call, the server ends, too.
    void LeaveToUserIfShown();

    // How many stalled calls were given up, by the user or because the Windows session was ending.
    [[nodiscard]] int GivenUpCalls() const { return m_givenUpCalls; }

    // Asks SOLIDWORKS to exit, and releases it even if the exit call fails. Only releases a server that hangs
    // and was left to its user. Does nothing when not connected.
    void Release();

private:
    struct Attempt
    {
        Outcome outcome;
        bool isServerMissing;
    };

    [[nodiscard]] Outcome ConnectWithRetries();
    [[nodiscard]] Attempt TryToConnect();
    void EndOldServer();

    [[nodiscard]] std::wstring Question() const override;
    [[nodiscard]] bool GiveUp() override;

    CSldWorks& m_sldWorks;
    CServerProcess& m_process;
    const std::wstring m_progId;
    const CadTimeouts m_timeouts;
    bool m_connected = false;
    int m_givenUpCalls = 0;
    bool m_givenUp = false;  // a call was given up, and its server could not be terminated
};
