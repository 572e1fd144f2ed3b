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

// A part that was read into memory. Only saving writes it to its file.
struct OpenPart
{
    std::wstring path;
    std::wstring file;  // name without folder
    std::vector<PartConfiguration> configurations;
    bool open = true;  // false after closing; automation objects may still refer to the part
};
using OpenPartPointer = std::shared_ptr<OpenPart>;

// The settings of one start of the server.
struct StartSettings
{
    DWORD number;  // of the start, from 1
    CScript script;
    CCallLog log;
};

// Counts a start of the server, reads the settings, and logs the start, followed by the remark. If the script
// refuses the start or cannot be read, logs the refusal or the error instead and returns nothing. A start
// whose script cannot be read is not counted.
std::optional<StartSettings> PrepareStart(int version, const std::wstring& remark = {});

// The state of the server: script, log, open documents, and the decision to end. With "stay" in the script, a
// process has several sessions, one after the other, and this is the state of the current one. Used only on
// the thread that serves the calls.
class CSession
{
public:
    CSession(int version, StartSettings settings);

    [[nodiscard]] const CScript& Script() const { return m_script; }
    // The date code that the application returns.
    [[nodiscard]] long DateCode() const { return m_script.DateCode(m_start); }
    [[nodiscard]] CFaultPlan& Faults() { return m_faults; }
    [[nodiscard]] const CCallLog& Log() const { return m_log; }
    // The number of the next call, from 1.
    std::wstring NextCallNumber() { return std::to_wstring(++m_calls); }

    // Returns the part at the path, and opens the part if it is not open yet. On failure, returns null and
    // sets the error code of the open call: 1 not a part file, 2 not found, 3 read-only.
    OpenPartPointer OpenPartAt(const std::wstring& path, long& errorCode);
    // Closes the part at the path without saving it. Returns whether the part was open.
    bool ClosePartAt(const std::wstring& path);
    // The names of the open parts, separated by "|".
    [[nodiscard]] std::wstring OpenNames() const;

    // Registers the class object. RequestEnd revokes the registration; if the process stays or lingers, the
    // registration lasts until the process ends. It is also revoked when the process hangs.
    HRESULT RegisterClassObject(IUnknown& factory);

    // The status with which every call fails while the server lingers or is disconnected, otherwise nothing.
    [[nodiscard]] std::optional<HRESULT> Refusal() const;

    // The number of the session in this process.
    [[nodiscard]] unsigned Number() const { return m_number; }
    // If the session has ended and the process stays, begins a new session in the way a new process would.
    // Returns false if the start of the new session fails.
    bool EnsureSession();

    // Every automation object calls AddObject in its constructor and RemoveObject in its destructor. `number`
    // is the session in which the object was created. The session ends with its last object.
    void AddObject();
    void RemoveObject(unsigned number);
    [[nodiscard]] bool WasUsed() const { return m_used; }

    // Ends the server after a delay in which the current call returns. Meanwhile the server accepts no more
    // clients, unless it lingers. If the process stays, only the session ends.
    void RequestEnd(const std::wstring& reason);
    // Whether the delay of RequestEnd is over.
    [[nodiscard]] bool EndIsDue() const { return m_endTime && GetTickCount64() >= *m_endTime; }
    // How the process lingers before it ends; nothing if the process does not linger.
    [[nodiscard]] std::optional<Lingering> LingeringAtEnd() const { return m_script.LingeringOf(m_start); }
    // From now on, the server accepts no clients and refuses every call.
    void Disconnect();
    // Ends the process. Called outside any call.
    [[noreturn]] void Leave();
    // Ends the process immediately, even within a call.
    [[noreturn]] void EndNow(const std::wstring& reason);
    // Never returns. Only ending the process from outside ends the call.
    [[noreturn]] void Hang();
    // The timer of a process that stays; 0 otherwise. The timer expires if no session begins or ends for a
    // minute.
    [[nodiscard]] UINT_PTR StayTimer() const { return m_stayTimer; }

private:
    // Logs the end with its reason, unless the end is logged already.
    void LogEnd();
    void Revoke();
    [[noreturn]] void End(UINT status);
    void EndSession();
    void RestartStayTimer();

    int m_version;
    DWORD m_start;
    CScript m_script;
    CFaultPlan m_faults;
    CCallLog m_log;
    unsigned m_calls = 0;
    std::map<std::wstring, OpenPartPointer> m_parts;  // key: full path in lower case
    std::optional<DWORD> m_registration;
    bool m_used = false;
    unsigned m_number = 1;
    unsigned m_objects = 0;      // of this session
    unsigned m_leftObjects = 0;  // of ended sessions
    UINT_PTR m_stayTimer = 0;
    std::optional<ULONGLONG> m_endTime;  // by GetTickCount64
    bool m_disconnected = false;
    std::wstring m_endReason;
    bool m_endLogged = false;
};
