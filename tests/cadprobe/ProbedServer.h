#pragma once

#include <windows.h>

#include <string>

#include "framework/ServerProcess.h"
#include "tests/cadserver/ComPointers.h"

// The connection to a CAD system that the probe has started. The probe never drives or ends one that was
// running before it, or one in which a user works.
class CProbedServer
{
public:
    explicit CProbedServer(std::wstring progId);

    // The program that serves the ProgID; empty if none is registered.
    [[nodiscard]] const std::wstring& Image() const { return m_image; }
    // How many processes of that program are running.
    [[nodiscard]] int CountProcesses() const;

    // Makes one attempt to connect. Releases a server that this program did not start or that shows a main
    // window, and returns E_ACCESSDENIED.
    HRESULT Connect();
    // Null if not connected.
    [[nodiscard]] IDispatch* Application() const { return m_application; }

    // Asks the server to exit and releases it. A server that is no longer ours is only released, and the
    // result is E_ACCESSDENIED.
    HRESULT End();
    // Whether the server has ended after End. Waits up to `milliseconds`.
    [[nodiscard]] bool WaitForEnd(DWORD milliseconds);

private:
    void Release(bool isEnding);

    const std::wstring m_progId;
    const std::wstring m_image;
    CServerProcess m_process;
    IDispatchPtr m_application;
};
