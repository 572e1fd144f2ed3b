#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/UTtabEntry.h"
#include "tests/cadserver/PartFile.h"
#include "tests/support/UnderWine.h"

// A simple model of conversion runs, of the stand-in CAD server with faults, and of the state that both
// leave. It shares no code with the program.

// A fault in the server's script; it hits the nth call.
struct Fault
{
    enum class Kind
    {
        exception,          // with the texts below; empty ones are null
        fail,               // the call returns status
        endBefore,          // the server ends without serving the call
        endAfter,           // the server serves the call and ends without returning
        hang,               // the call never returns, and the user has the server ended
        rejectForSomeTime,  // calls are rejected for some time
        rejectForever       // calls are rejected from now on
    };
    Kind kind = Kind::fail;
    unsigned nth = 1;
    bool lasting = false;  // also hits all later calls
    bool across = false;   // counts across all sessions of the server
    HRESULT status = E_FAIL;
    std::wstring source = {};
    std::wstring description = {};
    std::wstring helpFile = {};
    unsigned helpContext = 0;

    [[nodiscard]] bool IsRejection() const
    {
        return kind == Kind::rejectForSomeTime || kind == Kind::rejectForever;
    }
};

// Who starts the server's processes, and how long they live.
enum class ServerLife
{
    stays,          // one process for all runs, which only a fault ends; saves a second per start under Wine
    perConnection,  // one process per connection, started by the run
    reached         // the same, but another client has started the process that a run connects to first
};

// The behaviour of the server in a run.
struct ServerScript
{
    std::vector<Fault> faults = {};
    unsigned refuseFrom = 0;  // the first start that fails; 0: none
    unsigned oldFrom = 0;     // the first start with a version that is too old; 0: none
    DWORD startDelay = 0;     // of each start, in milliseconds
    DWORD lingerTime = 0;  // milliseconds from the end of a session to that of its process; 0: ends at once
    HRESULT lingerStatus = RPC_E_DISCONNECTED;  // of all calls meanwhile
    unsigned cancelAt = 0;  // the call, counted across all sessions, during which the user cancels; 0: none
    bool confirms = true;   // the user's answer if the program asks whether to cancel

    // The rules of the script.
    [[nodiscard]] std::string Rules() const;
};

// A row of the conversion table, its part and its copy.
struct ModelRow
{
    UTtab_entry texts;
    long documentType = 1;  // 1 part, 2 assembly
    long openCode = 0;      // the error code that the server reports when it opens the copy
    std::vector<PartConfiguration> source = {};   // the configurations of the standard part
    std::vector<PartConfiguration> written = {};  // those of its copy after a successful conversion
    bool pending = true;
    std::wstring copyFailure = {};  // expected message; "*" for the system's error text; empty: no failure
    bool recordFails = false;       // the record cannot be written
    bool staysWritable = false;     // the copy's read-only attribute cannot be set
    bool copyVanishes = false;      // before the attribute can be set
};

struct CopyState
{
    std::vector<PartConfiguration> configurations;
    bool readOnly = true;

    bool operator==(const CopyState&) const = default;
};

using Copies = std::map<std::wstring, CopyState>;  // key: file name

// The messages and results of a run.
struct RunOutcome
{
    std::vector<std::wstring> shown;  // message boxes and changes of the view, in order
    bool mapFileWritten = false;      // the file may still be empty, if the disk is full
    bool headerWritten = false;
    std::vector<UTtab_entry> records;
    std::optional<UTtab_entry> partialRecord;  // its beginning follows the records
    std::string marks;                         // of the rows: P pending, c converted
    std::string end;                           // in the run's report: how it ended
    std::vector<std::wstring> rows;            // in the report: what became of each row
    std::vector<std::string> calls;  // lines of the server's log, beginning with the number of the call
};

class CRunModel
{
public:
    // mapped: the path of the folder of the copies; copies: its initial contents. callsMessageFilter: whether
    // the system calls the program's message filter when the server rejects a call.
    CRunModel(std::wstring mapped, std::vector<ModelRow> rows, Copies copies, bool callsMessageFilter);

    // Returns the outcome of a run with these faults. Updates the marks of the rows and the copies.
    RunOutcome Run(const ServerScript& script);

    [[nodiscard]] std::vector<ModelRow>& Rows() { return m_rows; }
    [[nodiscard]] const Copies& CopiesNow() const { return m_copies; }
    bool m_copyOnly = false;
    ServerLife m_life = ServerLife::stays;
    bool m_mapFailsLate = false;        // flushing or closing the map file fails
    bool m_headerFails = false;         // the header cannot be written
    bool m_partialRecordStays = false;  // of the first record that cannot be written
    std::wstring m_mapFileFailure;      // the message if the map file cannot be opened; empty: it can

private:
    // Thrown for a failed call; with the message if the server reported an exception.
    struct CallFailed
    {
        std::optional<std::wstring> report;
    };
    enum class Load
    {
        done,
        failed,
        tooOld
    };

    void WriteMapFile();
    bool HandleRow(ModelRow& row);
    bool CopyAndRecord(ModelRow& row);
    bool AddRecord(const ModelRow& row);
    [[nodiscard]] UTtab_entry RecordOf(const ModelRow& row) const;
    void ShowRecordFailure();
    [[nodiscard]] std::wstring MapPath() const { return m_mapped + L"\\PartsMap.txt"; }
    bool Update(const ModelRow& row);
    void WriteBomNames(const ModelRow& row);
    void WriteConfiguration(const ModelRow& row, std::size_t index);
    Load LoadCad();
    bool LoadOrReport();
    void ReleaseCad();

    // The user who cancels
    void TakeKey();
    void AskWhetherToCancel();

    // The server
    bool Connect();
    template <class Act>
    void Call(const std::string& what, const std::string& result, Act act);
    void Call(const std::string& what, const std::string& result);
    [[nodiscard]] unsigned CallNumber(const Fault& fault) const;
    [[nodiscard]] static bool Hits(const Fault& fault, unsigned call);
    [[nodiscard]] bool IsOurs() const;
    void ShowStalled();
    bool IsRejected();
    void GiveUpServer();
    const Fault* Count();
    void LogCall(const std::string& what, const std::string& result);
    [[noreturn]] void ThrowFailure(const Fault& fault);

    [[nodiscard]] std::string PathText(const ModelRow& row) const;

    const std::wstring m_mapped;
    std::vector<ModelRow> m_rows;
    Copies m_copies;
    const bool m_callsMessageFilter;

    // During a run
    RunOutcome m_outcome;
    bool m_recordFailureShown = false;
    const ServerScript* m_script = nullptr;
    unsigned m_starts = 0;
    bool m_alive = false;
    bool m_givenUp = false;      // the user gave up a server that the run did not start
    unsigned m_calls = 0;        // of the current session
    unsigned m_callsAcross = 0;  // of all sessions
    bool m_cancelEnabled = false;
    bool m_keyPending = false;  // Escape, until the program takes it
    bool m_cancelled = false;
    bool m_cancelConfirmed = false;  // for the current row
    std::vector<PartConfiguration> m_document;
};

// A message box as listed in RunOutcome::shown.
std::wstring DescribeBox(const std::wstring& text, UINT type, const std::wstring& helpFile,
                         DWORD helpContext);
