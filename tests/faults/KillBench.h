#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/acceptance/ListOnScreen.h"
#include "tests/acceptance/PartReader.h"
#include "tests/acceptance/ProgramUnderTest.h"
#include "tests/acceptance/TestLibrary.h"
#include "tests/acceptance/ZelmarRegistry.h"

// What lies in the "Mapped" folder when a run begins.
enum class MappedBefore
{
    nothing,
    anEarlierRun  // all copies and records; one row is not to be converted again
};

class CKillBench;

// A run that is to be ended by force.
struct KillPlan
{
    MappedBefore before = MappedBefore::nothing;
    std::function<void(CKillBench&)> end;     // ends the program, at once or in the midst of the run
    std::string rules = {};                   // of the server's script
    std::function<void()> atStart = [] {};    // called when the run is about to begin
    std::optional<std::size_t> records = {};  // that there have to be then, when that is known
};

// The program itself, in its window, on a library of four parts, and its runs ended by force. What each of
// them leaves is looked at from outside; then the program is started anew and finishes the work, as its user
// would. Buttons are pressed by messages instead of the mouse, which is quicker and the same to the program.
class CKillBench
{
public:
    // `program` is the file that is started; empty: the program as it is.
    explicit CKillBench(std::wstring program = {});
    // Ends the server, which goes on counting the objects that the killed programs held.
    ~CKillBench();
    CKillBench(const CKillBench&) = delete;
    CKillBench& operator=(const CKillBench&) = delete;

    // The automation calls of a whole run, counted by hand: one for the version and one for the end, for each
    // row that is converted seven, and three for each of its configurations.
    [[nodiscard]] static unsigned Calls(MappedBefore before);
    // The records that are written when a run makes a call (from 1).
    [[nodiscard]] static std::size_t RecordsAtCall(MappedBefore before, unsigned call);

    // Begins a run as planned, and has it ended. Answers what is not as it has to be at that moment, at the
    // next start and behind the next run; nothing when all is.
    std::string Kill(const KillPlan& plan);

    // For `end`: answers the last message of the run, behind which the server is let go; ends the program;
    // waits until it has ended itself.
    void AcceptTheEnd();
    void EndProgram();
    void WaitForEndOfProgram();

    // A run that nobody ends. Answers what is not as it has to be.
    std::string RunToTheEnd(MappedBefore before, const std::function<void()>& atStart = DoNothing);
    // How long the last run took that nobody ended, in milliseconds.
    [[nodiscard]] DWORD RunTime() const { return m_runTime; }

    // How many records the last killed run has left.
    [[nodiscard]] std::size_t RecordsLeft() const { return m_records; }

private:
    static void DoNothing() {}

    enum class Contents
    {
        missing,
        begun,    // the first bytes of the part
        whole,    // the part as it is in the library
        updated,  // with all BOM names
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
    void BeginRun();
    void FinishRun();
    void LetServerFinish();
    void FinishTheWork();
    void AddAllParts();
    void MarkRows(const std::vector<int>& rows);

    void Differ(const std::string& what);
    void CompareDisk(MappedBefore before, std::optional<std::size_t> records);
    void CompareFolders();
    void CompareOriginals();
    void CompareCopies(MappedBefore before);
    void CompareStart();
    void CompareWhole();
    void CompareServer();
    void CompareRows(std::size_t converted, std::size_t pending);

    [[nodiscard]] std::string MapOf(std::size_t records) const;
    [[nodiscard]] FileState StateOf(std::size_t row) const;
    [[nodiscard]] bool MayBe(MappedBefore before, std::size_t row, const FileState& state) const;
    [[nodiscard]] static std::string Describe(const FileState& state);

    const std::wstring m_programFile;
    CZelmarRegistry m_registry;
    CTestLibrary m_library;
    std::map<std::wstring, Original> m_originals;
    std::optional<CProgramUnderTest> m_program;
    bool m_mapThere = false;
    std::size_t m_records = 0;
    ULONGLONG m_begin = 0;  // of the run
    DWORD m_runTime = 0;
    std::string m_differences;
};
