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

// What one start of the server holds from its first to its last moment: script, log, open documents, and the
// decision to end. Lives on the thread that serves the calls.
class CSession
{
public:
    CSession(int version, CScript script, CCallLog log);

    [[nodiscard]] const CScript& Script() const { return m_script; }
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

    // Every automation object announces its life: the session ends when the last one has gone.
    void AddObject();
    void RemoveObject();
    [[nodiscard]] bool WasUsed() const { return m_used; }

    // Ends the server soon, once the answer to the present call is out: no further client is let in from now
    // on.
    void RequestEnd(const std::wstring& reason);
    // Ends the process on the spot, in the midst of a call.
    [[noreturn]] void EndNow(const std::wstring& reason);
    // Writes the end line with the reason asked for.
    void LogEnd() const;

private:
    void Revoke();

    int m_version;
    CScript m_script;
    CFaultPlan m_faults;
    CCallLog m_log;
    unsigned m_calls = 0;
    std::map<std::wstring, OpenPartPointer> m_parts;  // by full path in lower case
    std::optional<DWORD> m_registration;
    bool m_used = false;
    std::wstring m_endReason;
};
