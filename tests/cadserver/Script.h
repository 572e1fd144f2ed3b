#pragma once

#include <windows.h>

#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// A syntax error in a script; the message names the line.
class CScriptError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// What the server does to a call, instead of serving it or in addition.
struct FaultAction
{
    enum class Kind
    {
        exception,   // the call raises an exception with the texts below
        fail,        // the call fails with status
        endBefore,   // the server ends without serving the call
        endAfter,    // the server serves the call and ends without returning
        holdBefore,  // the call waits for a test before it is served
        holdAfter,   // the call is served and waits for a test before it returns
        hang,        // the call is not served and never returns
        busy,        // the message filter returns SERVERCALL_RETRYLATER for some time
        reject,      // the message filter returns SERVERCALL_REJECTED for some time
        slow         // the call is served after a delay
    };
    Kind kind = Kind::fail;
    HRESULT status = E_FAIL;  // of fail; of an exception, the scode, or 0 if it has a code instead
    WORD code = 0;            // of the exception
    std::optional<std::wstring> source;
    std::optional<std::wstring> description;
    std::optional<std::wstring> helpFile;
    DWORD helpContext = 0;
    DWORD milliseconds = 0;  // of busy, reject and slow; may be INFINITE
};

// A fault hits the nth call that matches both filters. A lasting fault also hits all later matching calls.
struct FaultRule
{
    DWORD nth = 1;
    std::wstring call;  // name of the call; empty: any
    std::wstring file;  // in lower case; empty: any
    bool lasting = false;
    bool across = false;  // counts across all starts of the server
    FaultAction action;
};

enum class NamesKind
{
    texts,     // array of automation strings
    variants,  // array of variants that hold strings
    single,    // one string
    empty,     // an empty variant
    integers,  // array of 32-bit integers
    fromOne    // array of automation strings whose first index is 1
};

struct OpenResult
{
    bool withDocument = true;
    long errorCode = 0;
};

// How long a server stays reachable before it ends, and the status with which the server refuses calls
// meanwhile.
struct Lingering
{
    DWORD milliseconds;
    HRESULT status;
};

// The rules of a script file, described in README.md. Files are named without folder, in upper or lower case.
// A rule for "*" applies to all files without such a rule of their own; a "missing" rule for "*" applies to
// all files.
class CScript
{
public:
    CScript() = default;

    // Reads a script file. Throws CScriptError on a syntax error, and std::runtime_error if the file cannot
    // be read.
    explicit CScript(const std::wstring& path);

    // The date code for the start with this number (from 1).
    [[nodiscard]] long DateCode(DWORD start) const
    {
        return std::prev(m_dateCodes.upper_bound(start))->second;
    }
    [[nodiscard]] OpenResult Open(const std::wstring& file) const;
    // The number of configurations that the document reports, if the script sets it.
    [[nodiscard]] std::optional<long> Count(const std::wstring& file) const;
    [[nodiscard]] NamesKind Names(const std::wstring& file) const;
    // The maximum number of names that the document returns, if the script sets it.
    [[nodiscard]] std::optional<size_t> NamesLimit(const std::wstring& file) const;
    [[nodiscard]] bool IsMissing(const std::wstring& file, const std::wstring& configuration) const;
    // The value that Save returns without writing anything, if the script sets it.
    [[nodiscard]] std::optional<long> SaveValue(const std::wstring& file) const;
    // Whether the start with this number (from 1) fails.
    [[nodiscard]] bool RefusesStart(DWORD start) const { return m_refuseFrom && start >= *m_refuseFrom; }
    // The milliseconds that the start with this number (from 1) takes until the class is registered.
    [[nodiscard]] DWORD StartDelay(DWORD start) const
    {
        return std::prev(m_startDelays.upper_bound(start))->second;
    }
    // How the process of the start with this number (from 1) lingers; nothing if the process does not linger.
    [[nodiscard]] std::optional<Lingering> LingeringOf(DWORD start) const
    {
        return std::prev(m_lingerings.upper_bound(start))->second;
    }
    // Whether the process outlives its sessions.
    [[nodiscard]] bool Stays() const { return m_stays; }
    // Whether Exit waits for the answer to a message box, and whether the end of the process does.
    [[nodiscard]] bool PromptsInEnd() const { return m_promptsInEnd; }
    [[nodiscard]] bool PromptsAtEnd() const { return m_promptsAtEnd; }
    [[nodiscard]] bool ShowsWindow() const { return m_showsWindow; }
    [[nodiscard]] const std::vector<FaultRule>& Faults() const { return m_faults; }

private:
    using Words = std::vector<std::wstring>;

    void AddRule(const Words& words);
    void AddDateCode(const Words& words);
    void AddOpen(const Words& words);
    void AddCount(const Words& words);
    void AddNames(const Words& words);
    void AddMissing(const Words& words);
    void AddSaveValue(const Words& words);
    void AddRefusal(const Words& words);
    void AddStartDelay(const Words& words);
    void AddLingering(const Words& words);
    void AddFault(const Words& words);

    std::map<DWORD, long> m_dateCodes = {{0, 2019250}};  // key: the first start with this date code
    std::map<DWORD, DWORD> m_startDelays = {{0, 0}};     // key: the first start with this delay
    std::map<DWORD, std::optional<Lingering>> m_lingerings = {{0, std::nullopt}};  // key: the first start
    std::map<std::wstring, OpenResult> m_open;
    std::map<std::wstring, long> m_counts;
    std::map<std::wstring, long> m_saveValues;
    std::map<std::wstring, NamesKind> m_names;
    std::map<std::wstring, size_t> m_namesLimits;
    std::set<std::pair<std::wstring, std::wstring>> m_missing;
    std::optional<DWORD> m_refuseFrom;
    bool m_stays = false;
    bool m_promptsInEnd = false;
    bool m_promptsAtEnd = false;
    bool m_showsWindow = false;
    std::vector<FaultRule> m_faults;
};
