#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/ConversionTable.h"
#include "run/ConversionRun.h"
#include "tests/acceptance/CadServer.h"
#include "tests/faults/RunModel.h"
#include "tests/windows/TestScopes.h"
#include "tests/windows/WindowScopes.h"

// The version of the CAD system that the runs ask for, and how long its server may take to end, in
// milliseconds.
inline constexpr const wchar_t* kCadProgId = L"SldWorks.Application.30";
inline constexpr DWORD kServerEndTime = 10'000;

// The stand-in server for the length of all tests.
class CServerEnvironment : public testing::Environment
{
public:
    void SetUp() override;
    void TearDown() override;

    // Whoever is there before the tests begin.
    static CCadServer& Server();

    // Ends a server that stays on.
    static void EndServer();

private:
    inline static CServerEnvironment* s_current = nullptr;

    std::unique_ptr<CTempFolder> m_folder;
    std::unique_ptr<CCadServer> m_server;
};

// Whether the server's process outlives its sessions, which saves the second that Wine takes for each start.
enum class ServerLife
{
    stays,  // an end that no fault brings about ends the session only
    real    // one process for each connection
};

// Everything that a conversion run needs, and all of it the real thing but for the main window: a folder of
// part files, the table in a list control, the progress dialog, and the stand-in CAD server in its own
// process, reached through COM. Each run is compared with what the model says.
class CFaultBench : private CConversionView
{
public:
    // Makes the rows' parts in the folder, and the copies of those that were converted before.
    CFaultBench(std::wstring folder, std::vector<ModelRow> rows);
    ~CFaultBench() override;
    CFaultBench(const CFaultBench&) = delete;
    CFaultBench& operator=(const CFaultBench&) = delete;

    ServerLife m_life = ServerLife::stays;
    bool m_copyOnly = false;
    std::function<void()> m_afterRun;  // called before the outcome of a run is looked at

    // Runs in the folder under another name of it, or in one that is not there.
    void RunIn(const std::wstring& folder);
    // Expects from now on that the map file cannot be opened; that its lead cannot be written; that bringing
    // it to the disk or closing it fails; that nothing does.
    void ExpectNoMapFile();
    void ExpectNoHeader() { m_model->m_headerFails = true; }
    void ExpectLateMapFailure() { m_model->m_mapFailsLate = true; }
    void ExpectNoFailure();
    // Expects that the map file finds room for so many bytes only; each record takes `recordLength`.
    void ExpectNoRoomFor(std::size_t bytes, std::size_t recordLength);
    // Expects that the first record that finds no room leaves as much of itself as there is room for.
    void ExpectHalfRecord() { m_model->m_halfRecordStays = true; }

    // Brings the folder of the copies, the table and the model back to where they were at the start.
    void Reset();
    // Has an earlier run's map file stand there.
    void WriteMapFile(const std::string& bytes);
    // Marks every row for conversion.
    void MarkAll();
    // A run under the script. Answers what is not as the model says; nothing when all is.
    std::string Run(const ServerScript& script);

    // A change here changes what is expected.
    [[nodiscard]] std::vector<ModelRow>& Rows() { return m_model->Rows(); }
    // Paths as the run is told them.
    [[nodiscard]] std::wstring Part(std::size_t row) const;
    [[nodiscard]] std::wstring Copy(std::size_t row) const;
    [[nodiscard]] std::wstring MapPath() const { return m_runFolder + L"\\Mapped\\PartsMap.txt"; }
    // The automation calls of the last run, as the server's log tells them.
    [[nodiscard]] static std::vector<std::string> Calls();

private:
    int OnBox(const MessageRequest& request);
    void ShowViewStatus(bool mapView) override;
    void ReloadAfterCancel() override;
    void TakeInputAgain() override;

    void KeepCopiesOfTheStart();
    void MakeCopiesOfTheStart() const;
    void FillTable();
    [[nodiscard]] std::string OpenRules() const;
    void Convert();
    void Differ(const std::string& what);
    void CompareWith(const RunOutcome& expected);
    void CompareMapFile(const RunOutcome& expected);
    void CompareShown(const std::vector<std::wstring>& expected);
    void CompareHeldFiles();
    void CompareCopies();
    void CompareCopy(const std::wstring& name, const CopyState& expected);
    [[nodiscard]] std::wstring Mapped() const { return m_folder + L"\\Mapped"; }
    void CompareWindows(const std::vector<std::wstring>& shown);
    void CompareServer(const RunOutcome& expected);
    [[nodiscard]] std::string Marks() const;
    [[nodiscard]] std::string MapFileOf(const RunOutcome& outcome) const;

    CResourceScope m_resources;
    CTempFolder m_safe;  // copies of the start
    std::wstring m_folder;
    std::wstring m_runFolder;
    CPlainWindow m_mainWindow;
    CMainWindowScope m_mainWindowScope{&m_mainWindow};
    CConversionTable m_table;
    CSldWorks m_sldWorks;
    std::vector<ModelRow> m_startRows;
    Copies m_startCopies;
    std::unique_ptr<CRunModel> m_model;
    MessageListener m_listenerBefore;
    std::vector<std::wstring> m_shown;
    bool m_retry = true;               // the answer to the question about a busy server
    std::optional<std::string> m_map;  // the map file's bytes behind the last run
    std::size_t m_room = 0;            // for the map file, when that is bounded
    std::string m_differences;
};
