#include "cad/CadSession.h"

#include <utility>

#include "cad/ServerStatus.h"
#include "framework/Language.h"
#include "framework/PaintingWait.h"
#include "framework/WinApp.h"

namespace {

constexpr Text kEndServer{L"SOLIDWORKS antwortet nicht.\n\nSoll SOLIDWORKS beendet werden?",
                          L"SOLIDWORKS is not responding.\n\nDo you want to end SOLIDWORKS?"};
constexpr Text kStopWaiting{L"SOLIDWORKS antwortet nicht.\n\nSoll nicht länger gewartet werden?",
                            L"SOLIDWORKS is not responding.\n\nDo you want to stop waiting?"};

void HandleStalledCalls(CStalledCallHandler* handler)
{
    CWinApp::Get()->GetMessageFilter().SetStalledCallHandler(handler);
}

}  // namespace

CCadSession::CCadSession(CSldWorks& sldWorks, CServerProcess& process, std::wstring progId,
                         CadTimeouts timeouts)
    : m_sldWorks(sldWorks), m_process(process), m_progId(std::move(progId)), m_timeouts(timeouts)
{
}

CCadSession::~CCadSession()
{
    HandleStalledCalls(nullptr);
}

CCadSession::Outcome CCadSession::Connect()
{
    m_process.BeginRun(m_progId);
    static_cast<void>(m_process.WaitForEnd(m_timeouts.exit));
    return ConnectWithRetries();
}

CCadSession::Outcome CCadSession::Reconnect()
{
    if (m_givenUp) {
        return Outcome::notLoaded;
    }
    EndOldServer();
    return ConnectWithRetries();
}

void CCadSession::LeaveToUserIfShown()
{
    static_cast<void>(m_process.IsOurs());
}

void CCadSession::Release()
{
    if (!std::exchange(m_connected, false)) {
        return;
    }
    bool isEnding = !m_givenUp;
    try {
        if (m_givenUp) {
            // A hanging server still carries out cancelled calls once it responds again. The call that ends
            // the server would then end it with the user's work in it.
            m_sldWorks.Leave();
        } else {
            m_sldWorks.Disconnect();
        }
    } catch (const COleException& error) {
        isEnding = IsServerGone(error.m_sc);
    } catch (const CException&) {
        isEnding = false;
    }
    HandleStalledCalls(nullptr);
    m_process.LetGo(isEnding);
}

// Retries, because a class may be registered before its server is ready, and may stay registered while the
// server exits. Calls fail at these times.
CCadSession::Outcome CCadSession::ConnectWithRetries()
{
    const ULONGLONG end = GetTickCount64() + m_timeouts.connect;
    while (!m_givenUp && !CWinApp::IsSessionEnding()) {
        const Attempt attempt = TryToConnect();
        if (!attempt.isServerMissing || GetTickCount64() >= end || !m_process.WasAlive()) {
            return attempt.outcome;
        }
        Release();
        static_cast<void>(WaitPainting(nullptr, m_timeouts.retryInterval));
        EndOldServer();
    }
    return Outcome::notLoaded;
}

CCadSession::Attempt CCadSession::TryToConnect()
{
    try {
        m_process.BeginConnect();
        m_connected = m_sldWorks.Connect(m_progId) != 0;
        m_process.EndConnect(m_connected);
        if (!m_connected) {
            return {Outcome::notLoaded, IsCreatorMissing(m_sldWorks.GetConnectStatus())};
        }
        HandleStalledCalls(this);
        return {m_sldWorks.IsVersionSupported() ? Outcome::connected : Outcome::tooOld, false};
    } catch (const COleException& error) {
        return {Outcome::notLoaded, IsServerMissing(error.m_sc)};
    } catch (const CException&) {
        return {Outcome::notLoaded, false};
    }
}

void CCadSession::EndOldServer()
{
    // The end of the Windows session ends the wait early; Windows then ends the server, too.
    if (!m_process.WaitForEnd(m_timeouts.exit) && !CWinApp::IsSessionEnding()) {
        m_process.Terminate();
    }
}

std::wstring CCadSession::Question() const
{
    return (m_process.IsOurs() ? kEndServer : kStopWaiting).Current();
}

bool CCadSession::GiveUp()
{
    ++m_givenUpCalls;
    m_givenUp = !m_process.Terminate();
    return !m_givenUp;
}
