#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "framework/Handles.h"

// The server process behind the connections to an automation class (LocalServer32). The object distinguishes
// a server that this program started from a server that was running before. A server that this program
// started ends with this program; the object can also wait for the server's end or terminate the server. The
// object never ends a server that this program did not start, or a server whose main window it has seen.
class CServerProcess
{
public:
    CServerProcess() = default;
    CServerProcess(const CServerProcess&) = delete;
    CServerProcess& operator=(const CServerProcess&) = delete;
    // Ends a server that is still tied to this program.
    ~CServerProcess();

    // Sets the class that a run connects to. If the class now has a different program file, the object
    // forgets the old server, which lives on.
    void BeginRun(const std::wstring& progId);

    // Call it before each attempt to connect.
    void BeginConnect();

    // Finds the server if the attempt has succeeded. The server counts as started by this program in two
    // cases. (1) Exactly one process of the image has appeared since the first attempt, and COM started that
    // process. (2) The only process of the image is the server that this program started before. In both
    // cases the server is tied to this program: the server ends when this program ends, however that happens.
    // Processes that the server starts are not tied.
    void EndConnect(bool connected);

    // Whether this program started the server. If the server shows a main window now, a user may be working
    // in it. From this call on, that server no longer counts as started by this program, is not tied and is
    // never ended.
    [[nodiscard]] bool IsOurs();

    // Call it when the connection is released. From then on WasAlive looks for the server of this connection.
    // `isEnding`: the server was asked to end; the server is then no longer tied.
    void LetGo(bool isEnding);

    // Whether the server that was let go last, or a newer process of the image, was alive at the last
    // BeginConnect or is alive now. If no server has been let go yet, the processes that were started since
    // BeginRun count instead.
    [[nodiscard]] bool WasAlive() const;

    // Waits until a server that this program started has ended, at most for `milliseconds`, and paints the
    // program's windows meanwhile. Returns whether the server has ended; true at once for any other server.
    [[nodiscard]] bool WaitForEnd(DWORD milliseconds);

    // Ends a server that this program started, and waits at most five seconds until the server is gone.
    // Returns whether the server is gone, even if it had ended by itself. For any other server, does nothing
    // and returns false.
    bool Terminate();

private:
    struct Process
    {
        DWORD id;
        DWORD parent;
        ULONGLONG created;    // as FILETIME
        UniqueHandle handle;  // keeps the system from reusing the id
    };

    [[nodiscard]] static std::vector<Process> ProcessesOf(const std::wstring& image);
    [[nodiscard]] bool IsRecent(const std::vector<Process>& processes) const;
    [[nodiscard]] std::vector<Process> NewOnes(std::vector<Process> processes) const;
    void Adopt(const Process& process);
    void Tie();
    void Untie();
    void Forget();

    std::wstring m_image;  // of the class; empty when no program serves it
    // The image's processes before the first attempt to connect (none once connected), and the time of that
    // attempt.
    std::optional<std::vector<Process>> m_before;
    ULONGLONG m_connectingSince = 0;
    bool m_wasAlive = false;  // what WasAlive looks for was alive at BeginConnect
    // Creation time of the connected server or, if the server is unknown, of the image's oldest process; 0
    // when there is none.
    ULONGLONG m_connectedSince = 0;
    ULONGLONG m_letGoSince = 0;  // the value of m_connectedSince at the last LetGo; 0 if there is none
    ULONGLONG m_runSince = 0;    // time of BeginRun
    DWORD m_id = 0;
    UniqueHandle m_process;  // of the server that this program started
    UniqueHandle m_job;      // ties that server to this program
};
