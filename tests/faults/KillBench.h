#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/ListOnScreen.h"
#include "tests/support/PartReader.h"
#include "tests/support/ProgramUnderTest.h"
#include "tests/support/TestLibrary.h"
#include "tests/support/ZelmarRegistry.h"

// The contents of the "Mapped" folder when a run begins.
enum class MappedBefore
{
    nothing,
    anEarlierRun  // all copies and records; the next run does not convert one of the rows again
};

class CKillBench;

// A run that is killed.
struct KillPlan
{
    MappedBefore before = MappedBefore::nothing;
    std::function<void(CKillBench&)> end;     // called after the run has started; kills the program
    std::string rules = {};                   // of the server's script
    std::function<void()> beforeRun = [] {};  // called before the run starts
    std::optional<std::size_t> records = {};  // expected after the kill, if known
    bool hangs = false;                       // the program starts the server, and the server hangs
};

// Runs the real program on a library of four parts and kills it during conversion runs. Checks the state that
// it leaves, starts it again and completes the conversion, like a user. Presses buttons by messages instead
// of the mouse, which is faster and makes no difference to the program.
class CKillBench
{
public:
    // program: the file to start; empty: the unmodified program.
    explicit CKillBench(std::wstring program = {});
    // Ends the server, which still counts the objects of killed programs.
    ~CKillBench();
    CKillBench(const CKillBench&) = delete;
    CKillBench& operator=(const CKillBench&) = delete;

    // The number of automation calls of a run, counted by hand: one for the version, one to end the server,
    // seven for each converted row and three for each of its configurations.
    [[nodiscard]] static unsigned Calls(MappedBefore before);
    // The number of records in the map file when a run makes its call with this number (from 1).
    [[nodiscard]] static std::size_t RecordsAtCall(MappedBefore before, unsigned call);

    // Starts a run and kills it as planned. Returns the differences from the expected state after the kill,
    // after the next start and after the next run; empty if there are none.
    std::string Kill(const KillPlan& plan);

    // For KillPlan::end. The first closes the final message of the run, after which the program releases the
    // server. The second kills the program, the third waits for its end.
    void CloseFinalMessage();
    void EndProgram();
    void WaitForEndOfProgram();

    // A run that is not killed. Returns the differences from the expected state.
    std::string RunUndisturbed(MappedBefore before, const std::function<void()>& beforeRun = DoNothing);
    // The duration of the last complete run, in milliseconds.
    [[nodiscard]] DWORD RunTime() const { return m_runTime; }

    // The number of records after the last killed run.
    [[nodiscard]] std::size_t RecordsLeft() const { return m_records; }

private:
    static void DoNothing() {}

    enum class Contents
    {
        missing,
        partial,   // the beginning of the part
        complete,  // identical to the part
        updated,   // with all BOM names
        other
    };
    struct FileState
    {
        Contents contents = Contents::missing;
        bool readOnly = false;
    };
    struct Original
    {
        std::string bytes;
        PartContents contents;
        WIN32_FILE_ATTRIBUTE_DATA attributes{};
    };

    void StartProgram();
    void StartOver();
    void Prepare(MappedBefore before);
    void StartRun();
    void FinishRun();
    void StartOverServer(const KillPlan& plan);
    void LeaveServer(const KillPlan& plan);
    void WaitForServer();
    void ExpectEndOfServer();
    void CompleteConversion();
    void AddAllParts();
    void MarkRows(const std::vector<int>& rows);

    void AddDifference(const std::string& what);
    void CompareDisk(MappedBefore before, std::optional<std::size_t> records);
    void CompareFolders();
    void CompareOriginals();
    void CompareCopies(MappedBefore before);
    void CompareStart();
    void CompareFinalState();
    void CompareServer();
    void CompareRows(std::size_t converted, std::size_t pending);

    [[nodiscard]] std::string MapFileWith(std::size_t records) const;
    [[nodiscard]] FileState StateOf(std::size_t row) const;
    [[nodiscard]] bool IsPossible(MappedBefore before, std::size_t row, const FileState& state) const;
    [[nodiscard]] static std::string Describe(const FileState& state);

    const std::wstring m_programFile;
    CSharedZelmarRegistry m_registry;
    CTestLibrary m_library;
    std::map<std::wstring, Original> m_originals;
    std::optional<CProgramUnderTest> m_program;
    bool m_mapExists = false;
    std::size_t m_records = 0;
    ULONGLONG m_runStart = 0;  // GetTickCount64
    DWORD m_runTime = 0;
    std::string m_differences;
};
