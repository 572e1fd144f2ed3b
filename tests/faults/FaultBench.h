#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/ConversionTable.h"
#include "run/ConversionRun.h"
#include "tests/cadserver/CallHold.h"
#include "tests/faults/RunModel.h"
#include "tests/support/CadServer.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

// The ProgID of the CAD system in all runs.
inline constexpr const wchar_t* kCadProgId = L"SldWorks.Application.30";
inline constexpr DWORD kServerEndTimeout = 10'000;  // milliseconds
// The time in milliseconds after which the program asks about a server that does not respond.
inline constexpr DWORD kBusyDelay = 100;

// Registers the stand-in server for all tests.
class CServerEnvironment : public testing::Environment
{
public:
    void SetUp() override;
    void TearDown() override;

    static CCadServer& Server();

    // Starts over with a server process that outlives its sessions. The process starts before the run,
    // because a run waits for the end of a server that it started itself, and ends it by force if it lives
    // on.
    static void StartOverStaying(const std::string& rules);

    // Ends a server process that outlives its sessions.
    static void EndServer();

private:
    inline static CServerEnvironment* s_current = nullptr;

    std::unique_ptr<CTempFolder> m_folder;
    std::unique_ptr<CCadServer> m_server;
};

// Plays an impatient user: once the server hangs, posts key presses to the thread that made this object,
// until the program has asked whether to give up the server. From then on, posts messages that do nothing.
// Without them the answer would have no effect under Wine (8.0): COM takes the program's own wake-up message
// (MakeComAskAgain in framework/OleMessageFilter.cpp) out of the queue without calling the message filter.
class CImpatientUser
{
public:
    CImpatientUser() : m_thread([this, reader = GetCurrentThreadId()] { Press(reader); }) {}
    CImpatientUser(const CImpatientUser&) = delete;
    CImpatientUser& operator=(const CImpatientUser&) = delete;
    ~CImpatientUser();

    void NoteQuestion() { m_asked = true; }

private:
    void Press(DWORD reader) const;

    std::atomic<bool> m_asked = false;
    std::atomic<bool> m_stop = false;
    std::thread m_thread;
};

// Plays a user who cancels: presses Escape in the progress dialog of the thread that made this object while
// the server holds a call. Does nothing if the dialog is already closed. Lets each held call continue.
class CCancellingUser
{
public:
    CCancellingUser() : m_thread([this, runner = GetCurrentThreadId()] { Press(runner); }) {}
    CCancellingUser(const CCancellingUser&) = delete;
    CCancellingUser& operator=(const CCancellingUser&) = delete;
    ~CCancellingUser();

    [[nodiscard]] bool HasHeldACall() const { return m_held; }
    [[nodiscard]] bool HasPressed() const { return m_pressed; }

private:
    void Press(DWORD runner);

    const CCallHold m_hold;
    std::atomic<bool> m_stop = false;
    std::atomic<bool> m_held = false;
    std::atomic<bool> m_pressed = false;
    std::thread m_thread;
};

// Makes conversion runs and compares each with the model. Everything but the main window is real: a folder of
// part files, the table in a list control, the progress dialog, and the stand-in CAD server in its own
// process, reached through COM.
class CFaultBench : private CConversionView
{
public:
    // Creates the parts of the rows in the folder, and the copies of rows that are already converted.
    CFaultBench(std::wstring folder, std::vector<ModelRow> rows);
    ~CFaultBench() override;
    CFaultBench(const CFaultBench&) = delete;
    CFaultBench& operator=(const CFaultBench&) = delete;

    ServerLife m_life = ServerLife::stays;
    bool m_copyOnly = false;
    std::function<void()> m_afterRun;  // called before the results of a run are compared

    // Lets the runs use another path of the same folder.
    void RunIn(const std::wstring& folder);
    // These set what is expected from now on.
    void ExpectNoMapFile();                                          // the map file cannot be opened
    void ExpectNoHeader() { m_model->m_headerFails = true; }         // the header cannot be written
    void ExpectLateMapFailure() { m_model->m_mapFailsLate = true; }  // flushing or closing fails
    void ExpectNoFailure();
    // Expects that the disk has space for only this many bytes of the map file, whose records have
    // recordLength bytes each.
    void ExpectFullDisk(std::size_t bytes, std::size_t recordLength);
    // Expects that the first record that does not fit on the disk stays partially written.
    void ExpectPartialRecord() { m_model->m_partialRecordStays = true; }
    // Expects that the first record that cannot be written stays partially written, so that the map file has
    // this many bytes.
    void ExpectMapFileCutAt(std::size_t bytes);

    // Restores the folder of the copies, the table and the model to their initial state.
    void Reset();
    // Writes a map file as if by an earlier run.
    void WriteMapFile(const std::string& bytes);
    // Marks every row for conversion.
    void MarkAll();
    // Makes a run with the script. Returns the differences from the model; empty if there are none.
    std::string Run(const ServerScript& script);

    // Changes to these rows change the expectations.
    [[nodiscard]] std::vector<ModelRow>& Rows() { return m_model->Rows(); }
    // Paths as passed to the run.
    [[nodiscard]] std::wstring Part(std::size_t row) const;
    [[nodiscard]] std::wstring Copy(std::size_t row) const;
    [[nodiscard]] std::wstring MapPath() const { return m_runFolder + L"\\Mapped\\PartsMap.txt"; }
    // The number of automation calls that the model makes in a run with the script, which would be next.
    [[nodiscard]] unsigned ModelCalls(const ServerScript& script) const;
    // Whether the user pressed Escape in the progress dialog of the last run.
    [[nodiscard]] bool HasCancelled() const { return m_cancelled; }
    // The automation calls of the last run in the server's log.
    [[nodiscard]] static std::vector<std::string> Calls();

private:
    int OnBox(const MessageRequest& request);
    [[nodiscard]] int AnswerTo(const MessageRequest& request) const;
    void ShowViewStatus(bool mapView) override;
    void ReloadAfterCancel() override;
    void TakeInputAgain() override;

    void SaveInitialCopies();
    void RestoreInitialCopies() const;
    void FillTable();
    [[nodiscard]] std::string OpenRules() const;
    void StartOverServer(const std::string& rules) const;
    void Convert(const ServerScript& script, CServerProcess& process);
    void MakeRun(CServerProcess& process);
    void AddDifference(const std::string& what);
    void CompareWith(const RunOutcome& expected);
    void CompareMapFile(const RunOutcome& expected);
    void CompareShown(const std::vector<std::wstring>& expected);
    void CompareReport(const RunOutcome& expected);
    void CompareOpenFiles();
    void CompareCopies();
    void CompareCopy(const std::wstring& name, const CopyState& expected);
    [[nodiscard]] std::wstring Mapped() const { return m_folder + L"\\Mapped"; }
    void CompareWindows(const std::vector<std::wstring>& shown);
    void CompareServer(const RunOutcome& expected);
    [[nodiscard]] std::string Marks() const;
    [[nodiscard]] std::string MapFileOf(const RunOutcome& outcome) const;

    CResourceScope m_resources;
    CTempFolder m_initialCopies;
    std::wstring m_folder;
    std::wstring m_runFolder;
    CPlainWindow m_mainWindow;
    CMainWindowScope m_mainWindowScope{&m_mainWindow};
    CConversionTable m_table;
    CSldWorks m_sldWorks;
    std::vector<ModelRow> m_startRows;
    Copies m_startCopies;
    std::unique_ptr<CRunModel> m_model;
    CListenerScope m_listener{[this](const MessageRequest& request) { return OnBox(request); }};
    std::vector<std::wstring> m_shown;
    CImpatientUser* m_user = nullptr;   // during a run with a server that hangs
    bool m_waits = true;                // whether the user waits for a server that does not respond
    bool m_confirms = true;             // whether the user confirms a cancel
    bool m_held = false;                // a call of the last run was held for a user who cancels
    bool m_cancelled = false;           // that user pressed Escape in the progress dialog
    RunRecord m_record;                 // of the last run
    std::optional<std::string> m_map;   // contents of the map file after the last run
    std::size_t m_mapFileCapacity = 0;  // in bytes, if the disk is full
    std::string m_differences;
};
