#pragma once

#include <windows.h>

#include <string>
#include <vector>

// The stand-in CAD server as a test uses it: a script that says how it is to answer, and the log of what it
// was asked.
class CCadServer
{
public:
    // `folder` holds the script and the log.
    explicit CCadServer(const std::wstring& folder);
    // Ends what is left of the server's processes.
    ~CCadServer();
    CCadServer(const CCadServer&) = delete;
    CCadServer& operator=(const CCadServer&) = delete;

    // The rules that the server follows from its next start on, one per line.
    void SetScript(const std::string& rules) const;
    // The same, with an empty log and everything counted from the beginning.
    void StartOver(const std::string& rules) const;

    // What the server was asked, a line each: fields separated by blanks, process numbers left out.
    [[nodiscard]] std::vector<std::string> Log() const;
    // The lines of the log that tell of the server's starts, and behind them those that tell of its ends: a
    // server writes its end when the next one may have started already.
    [[nodiscard]] std::vector<std::string> Life() const;
    // Whether a line of the log contains the text.
    [[nodiscard]] bool WasAsked(const std::string& text) const;

    // Waits until every process of the server that the log tells of has ended; false when one does not.
    [[nodiscard]] bool WaitForEnd() const;

private:
    [[nodiscard]] std::vector<DWORD> ProcessIds() const;

    std::wstring m_script;
    std::wstring m_log;
};

// The registrations of the stand-in server that the tests find: versions 25 and 30, of which 30 is the
// current one. Made before the first test and removed behind the last. Throws std::runtime_error when it
// fails.
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
