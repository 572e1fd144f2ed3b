#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/cadserver/CallLog.h"
#include "tests/cadserver/FaultPlan.h"
#include "tests/cadserver/PartFile.h"
#include "tests/cadserver/Script.h"

// A part in the server's memory. Only saving brings it back to its file.
struct OpenPart
{
    std::wstring path;
    std::wstring file;  // name without folder
    std::vector<PartConfiguration> configurations;
    bool open = true;  // false once it was closed; automation objects may outlive that
};
using OpenPartPointer = std::shared_ptr<OpenPart>;

// What a start of the server goes by.
struct StartSettings
{
    DWORD number;  // of the start, from 1
    CScript script;
    CCallLog log;
};

// Counts a start of the server and takes up what is configured for it. Nothing when the script refuses this
// start or cannot be read, which the log tells then; it tells the start otherwise, with `remark` behind it.
std::optional<StartSettings> PrepareStart(int version, const std::wstring& remark = {});

// What one start of the server holds from its first to its last moment: script, log, open documents, and the
// decision to end. In a process that stays, one session follows the other. Lives on the thread that serves
// the calls.
class CSession
{
public:
    CSession(int version, StartSettings settings);

    [[nodiscard]] const CScript& Script() const { return m_script; }
    // What the application gives for its version.
    [[nodiscard]] long DateCode() const { return m_script.DateCode(m_start); }
    [[nodiscard]] CFaultPlan& Faults() { return m_faults; }
    [[nodiscard]] const CCallLog& Log() const { return m_log; }
    // The running number of the next call, from 1.
    std::wstring NextCallNumber() { return std::to_wstring(++m_calls); }

    // Opens the part at the path, or finds it when it is open already. On failure null, and the error code
    // that the open call reports: 1 no part file, 2 no such file, 3 read-only.
    OpenPartPointer OpenPartAt(const std::wstring& path, long& errorCode);
    // Closes the part at the path without saving it; answers whether it was open.
    bool ClosePartAt(const std::wstring& path);
    // The names of the open parts, separated by "|".
    [[nodiscard]] std::wstring OpenNames() const;

    // The class object's registration, revoked when the session ends.
    HRESULT RegisterClassObject(IUnknown& factory);

    // Which session of the process this is.
    [[nodiscard]] unsigned Number() const { return m_number; }
    // A session that has ended, in a process that stays, begins anew as a new process would. Answers whether
    // there is one to serve a new client.
    bool Continue();

    // Every automation object announces its life, and leaves with the number of the session that it came in:
    // the session ends when its last one has gone.
    void AddObject();
    void RemoveObject(unsigned number);
    [[nodiscard]] bool WasUsed() const { return m_used; }

    // Ends the server soon, once the answer to the present call is out: no further client is let in from now
    // on. A process that stays only ends the session.
    void RequestEnd(const std::wstring& reason);
    // Ends the process on the spot, in the midst of a call.
    [[noreturn]] void EndNow(const std::wstring& reason);
    // The timer of a process that stays: when it runs out, nobody has begun or ended a session for a long
    // time.
    [[nodiscard]] UINT_PTR StayTimer() const { return m_stayTimer; }

    // Writes the end line with the reason asked for, unless it stands in the log already.
    void LogEnd();

private:
    void Revoke();
    void EndSession();
    void RestartStayTimer();

    int m_version;
    DWORD m_start;
    CScript m_script;
    CFaultPlan m_faults;
    CCallLog m_log;
    unsigned m_calls = 0;
    std::map<std::wstring, OpenPartPointer> m_parts;  // by full path in lower case
    std::optional<DWORD> m_registration;
    bool m_used = false;
    unsigned m_number = 1;
    unsigned m_objects = 0;      // of this session
    unsigned m_leftObjects = 0;  // of sessions that have ended
    UINT_PTR m_stayTimer = 0;
    std::wstring m_endReason;
    bool m_endTold = false;
};
