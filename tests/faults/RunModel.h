#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/UTtabEntry.h"
#include "tests/cadserver/PartFile.h"
#include "tests/cadserver/UnderWine.h"

// What conversion runs are to do, told once more in the plainest way and apart from the program: a model of
// the run, of the stand-in CAD server under a script of faults, and of what both leave behind.

// One fault of the server's script; it hits the nth call.
struct Fault
{
    enum class Kind
    {
        exception,        // with the texts below; empty ones are not given
        fail,             // the call's own result is `status`
        endBefore,        // the server ends without acting
        endAfter,         // the server acts and ends without answering
        rejectForAWhile,  // the call is turned away, and so is what follows soon
        rejectForGood     // and everything that follows
    };
    Kind kind = Kind::fail;
    unsigned nth = 1;
    bool lasting = false;  // every later call, too
    bool across = false;   // counts over all sessions of the server instead of within each
    HRESULT status = E_FAIL;
    std::wstring source = {};
    std::wstring description = {};
    std::wstring helpFile = {};
    unsigned helpContext = 0;

    [[nodiscard]] bool TurnsAway() const
    {
        return kind == Kind::rejectForAWhile || kind == Kind::rejectForGood;
    }
};

// How the server is to behave in one run.
struct ServerScript
{
    std::vector<Fault> faults;
    unsigned refuseFrom = 0;  // the first start that fails; 0: none
    unsigned oldFrom = 0;     // the first start from which on the version is too old; 0: none

    // The rules as the server reads them.
    [[nodiscard]] std::string Rules() const;
};

// A row of the conversion table and what stands behind it.
struct ModelRow
{
    UTtab_entry texts;
    long documentType = 1;  // 1 part, 2 assembly
    long openCode = 0;      // the error code that the server reports when it opens the copy
    std::vector<PartConfiguration> source = {};  // the configurations of the standard part
    std::vector<PartConfiguration> written =
        {};  // and those of its copy after an update that nothing disturbs
    bool pending = true;
    std::wstring copyFailure = {};  // the message about it, "*" for the system's words; empty: it succeeds
    bool recordFails = false;       // for want of room in the map file
    bool staysWritable = false;     // the copy's read-only attribute cannot be set
    bool copyVanishes = false;      // before it can be set
};

struct CopyState
{
    std::vector<PartConfiguration> configurations;
    bool readOnly = true;

    bool operator==(const CopyState&) const = default;
};

using Copies = std::map<std::wstring, CopyState>;  // by file name

// What a run shows and leaves.
struct RunOutcome
{
    std::vector<std::wstring> shown;  // message boxes and changes of the view, in order
    bool mapFileWritten = false;      // though it may have found no room
    bool headerWritten = false;
    std::vector<UTtab_entry> records;
    std::optional<UTtab_entry> halfRecord;  // whose beginning is left behind them
    std::string marks;                      // of the rows: P pending, c converted
    std::vector<std::string> calls;         // as the server's log tells them, beginning with their number
};

class CRunModel
{
public:
    // `mapped` is the path of the folder of the copies, `copies` what it holds at the start. Whether the
    // program's own message filter is asked when a server turns a call away is the system's affair.
    CRunModel(std::wstring mapped, std::vector<ModelRow> rows, Copies copies, bool filterIsAsked);

    // What a run under these faults comes to. The rows' marks and the copies change with it.
    RunOutcome Run(const ServerScript& script);

    [[nodiscard]] std::vector<ModelRow>& Rows() { return m_rows; }
    [[nodiscard]] const Copies& CopiesNow() const { return m_copies; }
    bool m_copyOnly = false;
    bool m_mapFailsLate = false;     // only at the end it turns out that lines are lost
    bool m_headerFails = false;      // for want of room
    bool m_halfRecordStays = false;  // of the first record that finds no room
    std::wstring m_mapFileFailure;   // the message when the map file cannot be opened; empty: it can

private:
    // A call that came to nothing; with a report when the server made one.
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
    bool Record(const ModelRow& row);
    [[nodiscard]] UTtab_entry RecordOf(const ModelRow& row) const;
    void ShowRecordFailure();
    [[nodiscard]] std::wstring MapPath() const { return m_mapped + L"\\PartsMap.txt"; }
    bool Update(const ModelRow& row);
    void WriteBomNames(const ModelRow& row);
    void WriteConfiguration(const ModelRow& row, std::size_t index);
    Load LoadCad();
    bool LoadOrTell();
    void ReleaseCad();

    // The server.
    bool Connect();
    template <class Act>
    void Call(const std::string& what, const std::string& result, Act act);
    void Call(const std::string& what, const std::string& result);
    [[nodiscard]] unsigned Seen(const Fault& fault) const;
    [[nodiscard]] static bool Hits(const Fault& fault, unsigned call);
    bool IsTurnedAway();
    const Fault* Count();
    void Note(const std::string& what, const std::string& result);
    [[noreturn]] void Suffer(const Fault& fault);

    [[nodiscard]] std::string PathText(const ModelRow& row) const;

    const std::wstring m_mapped;
    std::vector<ModelRow> m_rows;
    Copies m_copies;
    const bool m_filterIsAsked;

    // During a run.
    RunOutcome m_outcome;
    bool m_recordFailureShown = false;
    const ServerScript* m_script = nullptr;
    unsigned m_starts = 0;
    bool m_alive = false;
    unsigned m_calls = 0;        // that the present session has counted
    unsigned m_callsAcross = 0;  // and all sessions
    std::vector<PartConfiguration> m_document;
};

// How a message box stands in RunOutcome::shown.
std::wstring DescribeBox(const std::wstring& text, UINT type, const std::wstring& helpFile,
                         DWORD helpContext);
