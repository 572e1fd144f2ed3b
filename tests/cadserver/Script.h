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

// A script that does not say what it should; the message names the line.
class CScriptError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// What the server does to one call, beside or instead of serving it.
struct FaultAction
{
    enum class Kind
    {
        exception,   // the call reports an exception with the texts below
        fail,        // the call fails with `status`
        endBefore,   // the server ends without serving the call
        endAfter,    // the server serves the call and ends without answering
        holdBefore,  // the call waits for a test before it is served
        holdAfter,   // the call is served and waits for a test before it is answered
        busy,        // for `milliseconds` the call is turned away, to be tried again later
        reject,      // for `milliseconds` the call is turned away
        slow         // the call is served after `milliseconds`
    };
    Kind kind = Kind::fail;
    HRESULT status = E_FAIL;  // of a failure, or the exception's scode (0: the exception has a code instead)
    WORD code = 0;            // the exception's code
    std::optional<std::wstring> source;
    std::optional<std::wstring> description;
    std::optional<std::wstring> helpFile;
    DWORD helpContext = 0;
    DWORD milliseconds = 0;  // INFINITE: for good
};

// The fault hits the nth call that fits the two filters, and every later one when it lasts.
struct FaultRule
{
    DWORD nth = 1;
    std::optional<DISPID> dispid;
    std::wstring file;  // lower case; empty: any
    bool lasting = false;
    bool across = false;  // counts over all starts of the server, not from this start on
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

// How the server answers for one file. "*" in the script stands for every file without a line of its own.
struct OpenAnswer
{
    bool withDocument = true;
    long errorCode = 0;
};

// The rules of one script file; see README.md for their form. Files are named without folder, in any case.
class CScript
{
public:
    // No rules: every file is served as it is.
    CScript() = default;

    // Reads the rules of a script file. Throws CScriptError, or std::runtime_error when it cannot be read.
    explicit CScript(const std::wstring& path);

    // What the server's n-th start (from 1) gives for its version.
    [[nodiscard]] long DateCode(DWORD start) const
    {
        return std::prev(m_dateCodes.upper_bound(start))->second;
    }
    [[nodiscard]] OpenAnswer Open(const std::wstring& file) const;
    // The number of configurations that the document reports, when the script says one.
    [[nodiscard]] std::optional<long> Count(const std::wstring& file) const;
    [[nodiscard]] NamesKind Names(const std::wstring& file) const;
    // How many names at most are given.
    [[nodiscard]] std::optional<size_t> NamesLimit(const std::wstring& file) const;
    [[nodiscard]] bool IsMissing(const std::wstring& file, const std::wstring& configuration) const;
    // Whether the server's n-th start (from 1) is to fail.
    [[nodiscard]] bool RefusesStart(DWORD start) const { return m_refuseFrom && start >= *m_refuseFrom; }
    // Whether the process outlives its sessions.
    [[nodiscard]] bool Stays() const { return m_stays; }
    [[nodiscard]] const std::vector<FaultRule>& Faults() const { return m_faults; }

private:
    using Words = std::vector<std::wstring>;

    void AddRule(const Words& words);
    void AddOpen(const Words& words);
    void AddNames(const Words& words);
    void AddFault(const Words& words);

    std::map<DWORD, long> m_dateCodes = {{0, 2019250}};  // by the first start that gives them
    std::map<std::wstring, OpenAnswer> m_open;
    std::map<std::wstring, long> m_counts;
    std::map<std::wstring, NamesKind> m_names;
    std::map<std::wstring, size_t> m_namesLimits;
    std::set<std::pair<std::wstring, std::wstring>> m_missing;
    std::optional<DWORD> m_refuseFrom;
    bool m_stays = false;
    std::vector<FaultRule> m_faults;
};
