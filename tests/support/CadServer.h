#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "framework/Handles.h"

// Runs cadserver.exe with these arguments and returns its exit status.
[[nodiscard]] DWORD RunServerProgram(const std::wstring& arguments);

// Opens a process of the server by its id. Returns null if the server has ended, even if another program's
// process has got the id since then.
[[nodiscard]] UniqueHandle OpenServer(DWORD id);

// The stand-in CAD server: its script and its call log.
class CCadServer
{
public:
    // `folder` holds the script and the log.
    explicit CCadServer(const std::wstring& folder);
    // Ends by force every server process that is still running.
    ~CCadServer();
    CCadServer(const CCadServer&) = delete;
    CCadServer& operator=(const CCadServer&) = delete;

    // Sets the rules for the server's next starts, one per line.
    void SetScript(const std::string& rules) const;
    // The same, with an empty log and all counters at 0.
    void StartOver(const std::string& rules) const;

    // The lines of the log: fields separated by blanks, without process numbers.
    [[nodiscard]] std::vector<std::string> Log() const;
    // Those lines of the log that record something other than a call, the starts first. In the log itself
    // their order varies, as the next server may start before the end of the last one is logged.
    [[nodiscard]] std::vector<std::string> Life() const;
    // Whether a line of the log contains the text.
    [[nodiscard]] bool WasAsked(const std::string& text) const;

    // Waits at most `patience` milliseconds until every server process in the log has ended. Returns false if
    // one has not.
    [[nodiscard]] bool WaitForEnd(DWORD patience = 10'000) const;

    // Ends every server process in the log that is still running.
    void EndByForce() const;

private:
    [[nodiscard]] std::vector<DWORD> ProcessIds() const;

    std::wstring m_script;
    std::wstring m_log;
};

// Registers the stand-in server for all tests: versions 25 and 30, of which 30 is current. Both functions
// throw std::runtime_error on failure.
void RegisterCadServer();
void UnregisterCadServer();

// No CAD server is registered within the scope.
class CNoCadServer
{
public:
    CNoCadServer() { UnregisterCadServer(); }
    ~CNoCadServer();
    CNoCadServer(const CNoCadServer&) = delete;
    CNoCadServer& operator=(const CNoCadServer&) = delete;
};
