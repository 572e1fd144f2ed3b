#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "framework/Handles.h"

// Runs cadserver.exe with these arguments and returns its exit status.
[[nodiscard]] DWORD RunServerProgram(const std::wstring& arguments);

// A process of the server; null when it has ended, even if its number belongs to another process by now.
[[nodiscard]] UniqueHandle OpenServer(DWORD id);

// The stand-in CAD server: its script and its call log.
class CCadServer
{
public:
    // `folder` holds the script and the log.
    explicit CCadServer(const std::wstring& folder);
    // Ends what is left of the server's processes.
    ~CCadServer();
    CCadServer(const CCadServer&) = delete;
    CCadServer& operator=(const CCadServer&) = delete;

    // Sets the rules for the server's next starts, one per line.
    void SetScript(const std::string& rules) const;
    // The same, with an empty log and all counters at 0.
    void StartOver(const std::string& rules) const;

    // The lines of the log: fields separated by blanks, without process numbers.
    [[nodiscard]] std::vector<std::string> Log() const;
    // The lines about the server's starts, then those about its ends: the next server may start before the
    // end is logged.
    [[nodiscard]] std::vector<std::string> Life() const;
    // Whether a line of the log contains the text.
    [[nodiscard]] bool WasAsked(const std::string& text) const;

    // Waits until every process of the server that the log tells of has ended, at most for a time in
    // milliseconds; false when one does not.
    [[nodiscard]] bool WaitForEnd(DWORD patience = 10'000) const;

    // Ends by force what is left of them.
    void EndByForce() const;

private:
    [[nodiscard]] std::vector<DWORD> ProcessIds() const;

    std::wstring m_script;
    std::wstring m_log;
};

// Registers the stand-in server for all tests: versions 25 and 30, of which 30 is current. Both throw
// std::runtime_error on failure.
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
