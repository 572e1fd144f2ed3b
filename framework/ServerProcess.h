#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "framework/Handles.h"

// The process behind the connections to an automation class that a program serves (LocalServer32). It tells a
// server that this program started from one that was there before, ends the former with this program, and
// waits for its end. A server that others may use is never ended.
class CServerProcess
{
public:
    CServerProcess() = default;
    CServerProcess(const CServerProcess&) = delete;
    CServerProcess& operator=(const CServerProcess&) = delete;
    // Ends a server that is still tied to this program.
    ~CServerProcess();

    // Names the class of a run's connections. What is known of another class's server is forgotten; that
    // server lives on.
    void BeginRun(const std::wstring& progId);

    // Call it before each attempt to connect.
    void BeginConnect();

    // Finds the server if the attempt has succeeded. It counts as started by this program if exactly one
    // process of the image has appeared since the first of the attempts and COM started it, or if the server
    // that this program started before is the only process of the image. It is then tied to this program: it
    // ends when this program ends, however that happens. Processes that it starts are not tied.
    void EndConnect(bool connected);

    // Whether this program started the server. No longer true once the server shows a main window, as its
    // user may work in it: from then on it is not tied and never ended.
    [[nodiscard]] bool IsOurs();

    // The connection is released; from now on WasAlive asks for its server. A server that is ending, as it
    // was asked to, is not tied any more.
    void LetGo(bool isEnding);

    // Whether the server that was let go last or a newer process of the image was alive at the last
    // BeginConnect or is now. If none was let go yet: a process that was started since BeginRun.
    [[nodiscard]] bool WasAlive() const;

    // Waits for the end of a server that this program started, at most for a time in milliseconds, painting
    // meanwhile. Returns whether it has ended; true at once for any other server.
    [[nodiscard]] bool WaitForEnd(DWORD milliseconds);

    // Ends a server that this program started, and waits until it is gone, at most five seconds. Returns true
    // if it has been ended or had ended by itself. Any other server lives on.
    bool Terminate();

private:
    struct Process
    {
        DWORD id;
        DWORD parent;
        ULONGLONG created;    // as FILETIME
        UniqueHandle handle;  // keeps the number from going to another process
    };

    [[nodiscard]] static std::vector<Process> ProcessesOf(const std::wstring& image);
    [[nodiscard]] bool IsRecent(const std::vector<Process>& processes) const;
    [[nodiscard]] std::vector<Process> NewOnes(std::vector<Process> processes) const;
    void Adopt(const Process& process);
    void Tie();
    void Untie();
    void Forget();

    std::wstring m_image;  // of the class; empty when no program serves it
    // The image's processes before the first attempt to connect, and its time; none when connected.
    std::optional<std::vector<Process>> m_before;
    ULONGLONG m_connectingSince = 0;
    bool m_wasAlive = false;         // what WasAlive asks for, at BeginConnect
    ULONGLONG m_connectedSince = 0;  // start of the connected server, or of the oldest that it may be; else 0
    ULONGLONG m_letGoSince = 0;      // the same of the server let go last; 0 if none was
    ULONGLONG m_runSince = 0;        // time of BeginRun
    DWORD m_id = 0;
    UniqueHandle m_process;  // of the server that this program started
    UniqueHandle m_job;      // that it is tied by
};
