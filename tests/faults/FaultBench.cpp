#include "tests/faults/FaultBench.h"

#include <objbase.h>
#include <tlhelp32.h>

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <utility>

#include "framework/ComPointers.h"
#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestLibrary.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"

namespace {

constexpr DWORD kAbandonedServerTimeout = 90'000;  // milliseconds; longer than an unused server runs

// The processes of the server, regardless of who started them.
std::vector<DWORD> ServerIds()
{
    const UniqueHandle snapshot(ValidHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)));
    PROCESSENTRY32W process{};
    process.dwSize = sizeof process;
    std::vector<DWORD> ids;
    for (BOOL more = Process32FirstW(snapshot.get(), &process); more != FALSE;
         more = Process32NextW(snapshot.get(), &process)) {
        if (LowerCase(process.szExeFile) == L"cadserver.exe") {
            ids.push_back(process.th32ProcessID);
        }
    }
    return ids;
}

std::size_t CountServers()
{
    return ServerIds().size();
}

bool IsProgressDialog(HWND window)
{
    return GetDlgItem(window, IDC_PROGRESS_FILE) != nullptr;
}

// The progress dialog of a thread; null if it is not open.
HWND ProgressOf(DWORD thread)
{
    HWND found = nullptr;
    EnumThreadWindows(
        thread,
        [](HWND window, LPARAM data) -> BOOL {
            if (!IsProgressDialog(window)) {
                return TRUE;
            }
            *reinterpret_cast<HWND*>(data) = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
}

bool IsProgressOpen()
{
    return ProgressOf(GetCurrentThreadId()) != nullptr;
}

// Writes an empty file if there are no configurations.
void MakePart(const std::wstring& path, const std::vector<PartConfiguration>& configurations)
{
    if (configurations.empty()) {
        WriteBytes(path, "");
        return;
    }
    std::vector<std::wstring> names;
    for (const PartConfiguration& configuration : configurations) {
        names.push_back(configuration.name);
    }
    ASSERT_EQ(S_OK, CreatePartFile(path, names));
    ASSERT_EQ(S_OK, SaveConfigurations(path, configurations));
}

void EmptyFolder(const std::wstring& folder, const Copies& except = {})
{
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
        if (!except.contains(entry.path().filename().wstring())) {
            SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileW(entry.path().c_str());
        }
    }
}

std::optional<std::string> FileBytes(const std::wstring& path)
{
    if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return std::nullopt;
    }
    return ReadBytes(path);
}

// The character that the reader of the map file decodes from a byte; 0 if the byte alone is not a character.
wchar_t CharacterOf(char byte)
{
    wchar_t character = 0;
    MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, &byte, 1, &character, 1);
    return character;
}

// The byte for a character in the map file: its code, or, above 255, the byte that the reader decodes to this
// character.
char ByteOf(wchar_t character)
{
    static const std::map<wchar_t, char> bytes = [] {
        std::map<wchar_t, char> made;
        for (int byte = 0x80; byte <= 0xFF; ++byte) {
            made[CharacterOf(static_cast<char>(byte))] = static_cast<char>(byte);
        }
        return made;
    }();
    if (character <= 0xFF) {
        return static_cast<char>(character);
    }
    const auto found = bytes.find(character);
    return found == bytes.end() ? '?' : found->second;
}

std::string MapText(const std::wstring& text)
{
    std::string bytes;
    std::ranges::transform(text, std::back_inserter(bytes), ByteOf);
    return bytes;
}

std::wstring RecordText(const UTtab_entry& record)
{
    return record.strOriginal + L" ; " + record.strRenamed + L" ; " + record.strBomName + L"\r\n";
}

// Whether the text matches the expected one, in which one "*" stands for any text.
bool Matches(const std::wstring& text, const std::wstring& expected)
{
    const std::size_t star = expected.find(L'*');
    if (star == std::wstring::npos) {
        return text == expected;
    }
    return text.size() >= expected.size() && text.starts_with(expected.substr(0, star)) &&
           text.ends_with(expected.substr(star + 1));
}

std::string Listed(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += "\n    " + line;
    }
    return text;
}

std::string Listed(const std::vector<std::wstring>& lines)
{
    std::vector<std::string> bytes;
    std::ranges::transform(lines, std::back_inserter(bytes),
                           [](const std::wstring& line) { return ToUtf8(line); });
    return Listed(bytes);
}

std::ptrdiff_t CountPrefix(const std::vector<std::string>& lines, const char* prefix)
{
    return std::ranges::count_if(lines,
                                 [prefix](const std::string& line) { return line.starts_with(prefix); });
}

// Whether the file is open in any process.
bool IsOpenElsewhere(const std::wstring& path)
{
    return OpenAsOther(path, GENERIC_READ, 0) == nullptr && GetLastError() == ERROR_SHARING_VIOLATION;
}

// A session whose server hangs logs no end, and counts as ended.
bool HasEverySessionEnded()
{
    const std::vector<std::string> lines = CServerEnvironment::Server().Log();
    const auto hung =
        std::ranges::count_if(lines, [](const std::string& line) { return line.ends_with(" hangs"); });
    return CountPrefix(lines, "- start ") == CountPrefix(lines, "- end ") + hung;
}

// Begins a session of the server, which starts if it is not running. The session ends with the last
// reference.
IDispatchPtr ConnectToServer()
{
    IDispatchPtr application;
    // Connecting fails while the server of the previous run revokes its class.
    EXPECT_TRUE(WaitFor(
        [&] { return SUCCEEDED(application.CreateInstance(kCadProgId, nullptr, CLSCTX_LOCAL_SERVER)); }));
    return application;
}

bool HasFault(const ServerScript& script, Fault::Kind kind)
{
    return std::ranges::find(script.faults, kind, &Fault::kind) != script.faults.end();
}

std::string EndText(RunEnd end)
{
    constexpr std::array kTexts{"finished",   "cancelled", "session ended",
                                "not loaded", "too old",   "no map file"};
    static_assert(kTexts.size() == static_cast<std::size_t>(RunEnd::mapFileNotOpened) + 1);
    return kTexts.at(static_cast<std::size_t>(end));
}

// What the report says about a row.
std::wstring RowText(const RunRow& row)
{
    constexpr std::array kTexts{L"copied", L"recorded only", L"not copied: ", L"not recorded: ",
                                L"not reached"};
    static_assert(kTexts.size() == static_cast<std::size_t>(RowOutcome::notReached) + 1);
    const bool hasReason = row.outcome == RowOutcome::notCopied || row.outcome == RowOutcome::notRecorded;
    return kTexts.at(static_cast<std::size_t>(row.outcome)) + (hasReason ? row.reason : std::wstring()) +
           (row.cad && row.cad->failed ? L", failed" : L"") + (row.cadReloaded ? L", loaded again" : L"") +
           (row.cadLost ? L", lost" : L"");
}

}  // namespace

void CServerEnvironment::SetUp()
{
    s_current = this;
    // A server left running by tests that were killed ends by itself.
    EXPECT_TRUE(WaitFor([] { return CountServers() == 0; }, kAbandonedServerTimeout));
    RegisterCadServer();
    m_folder = std::make_unique<CTempFolder>();
    m_server = std::make_unique<CCadServer>(m_folder->Path());
}

void CServerEnvironment::TearDown()
{
    EndServer();
    m_server.reset();
    m_folder.reset();
    UnregisterCadServer();
    s_current = nullptr;
}

CCadServer& CServerEnvironment::Server()
{
    return *s_current->m_server;
}

void CServerEnvironment::StartOverStaying(const std::string& rules)
{
    if (CountServers() == 0) {
        Server().StartOver("stay\n");
        ConnectToServer();
        EXPECT_TRUE(WaitFor(&HasEverySessionEnded, kServerEndTimeout));
    }
    Server().StartOver("stay\n" + rules);
}

void CServerEnvironment::EndServer()
{
    if (CountServers() == 0) {
        return;
    }
    Server().StartOver("");
    ConnectToServer();
    EXPECT_TRUE(WaitFor([] { return CountServers() == 0; }, kServerEndTimeout));
}

CImpatientUser::~CImpatientUser()
{
    m_stop = true;
    m_thread.join();
}

void CImpatientUser::Press(DWORD reader) const
{
    constexpr DWORD kPause = 50;  // milliseconds
    bool hangs = false;
    while (!m_stop) {
        hangs = hangs || CServerEnvironment::Server().WasAsked(" hangs");
        if (hangs) {
            PostThreadMessageW(reader, m_asked ? WM_NULL : WM_KEYDOWN, m_asked ? 0 : VK_SPACE, 0);
        }
        Sleep(kPause);
    }
}

CCancellingUser::~CCancellingUser()
{
    m_stop = true;
    m_thread.join();
}

void CCancellingUser::Press(DWORD runner)
{
    constexpr DWORD kPause = 20;  // milliseconds
    while (!m_stop) {
        if (m_hold.WaitUntilHeld(kPause)) {
            if (const HWND dialog = ProgressOf(runner); dialog != nullptr) {
                PostMessageW(dialog, WM_KEYDOWN, VK_ESCAPE, 1);
                m_pressed = true;
            }
            m_held = true;
            m_hold.LetGo();
        }
    }
}

CFaultBench::CFaultBench(std::wstring folder, std::vector<ModelRow> rows)
    : m_folder(std::move(folder)), m_runFolder(m_folder), m_startRows(std::move(rows))
{
    CreateDirectoryW(Mapped().c_str(), nullptr);
    for (const ModelRow& row : m_startRows) {
        MakePart(m_folder + L"\\" + row.texts.strOriginal, row.source);
    }
    SaveInitialCopies();
    EXPECT_TRUE(m_table.SubclassWindow(
        m_mainWindow.AddControl(WC_LISTVIEWW, IDC_LIST, LVS_REPORT, {0, 0, 600, 200})));
    for (const int column : {0, 1, 2}) {
        m_table.InsertColumn(column, L"", 175);
    }
    Reset();
}

CFaultBench::~CFaultBench()
{
    EmptyFolder(Mapped());
}

// Saves the copies of rows that are already converted.
void CFaultBench::SaveInitialCopies()
{
    for (const ModelRow& row : m_startRows) {
        if (!row.pending) {
            m_startCopies[row.texts.strRenamed] = {row.written, true};
            if (!row.written.empty()) {
                MakePart(m_initialCopies / row.texts.strRenamed, row.written);
            }
        }
    }
}

// Overwrites existing copies instead of creating them anew: under Wine, creating a file in a large folder
// takes a long time.
void CFaultBench::RestoreInitialCopies() const
{
    for (const auto& [name, copy] : m_startCopies) {
        const std::wstring path = Mapped() + L"\\" + name;
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (copy.configurations.empty()) {
            WriteBytes(path, "");
        } else {
            EXPECT_NE(FALSE, CopyFileW((m_initialCopies / name).c_str(), path.c_str(), FALSE));
        }
        MakeReadOnly(path);
    }
}

void CFaultBench::Reset()
{
    EmptyFolder(Mapped(), m_startCopies);
    m_map.reset();
    RestoreInitialCopies();
    m_model =
        std::make_unique<CRunModel>(m_runFolder + L"\\Mapped", m_startRows, m_startCopies, !UnderWine());
    FillTable();
}

void CFaultBench::WriteMapFile(const std::string& bytes)
{
    WriteBytes(Mapped() + L"\\PartsMap.txt", bytes);
    m_map = bytes;
}

void CFaultBench::RunIn(const std::wstring& folder)
{
    m_runFolder = folder;
    Reset();
}

void CFaultBench::ExpectNoMapFile()
{
    m_model->m_mapFileFailure = expected::MapNotWritten(MapPath());
}

void CFaultBench::ExpectNoFailure()
{
    m_model->m_mapFileFailure.clear();
    m_model->m_headerFails = false;
    m_model->m_mapFailsLate = false;
    m_model->m_partialRecordStays = false;
    for (ModelRow& row : Rows()) {
        row.copyFailure.clear();
        row.recordFails = false;
        row.staysWritable = false;
        row.copyVanishes = false;
    }
}

void CFaultBench::ExpectFullDisk(std::size_t bytes, std::size_t recordLength)
{
    RunOutcome headerOnly;
    headerOnly.headerWritten = true;
    m_mapFileCapacity = bytes;
    std::size_t used = MapFileOf(headerOnly).size();
    m_model->m_headerFails = used > bytes;
    for (ModelRow& row : Rows()) {
        used += recordLength;
        row.recordFails = used > bytes;
    }
}

void CFaultBench::ExpectMapFileCutAt(std::size_t bytes)
{
    m_mapFileCapacity = bytes;
    ExpectPartialRecord();
}

void CFaultBench::FillTable()
{
    CList<UTtab_entry, UTtab_entry&> entries;
    for (ModelRow& row : m_startRows) {
        entries.AddTail(row.texts);
    }
    m_table.FillConverted(entries);
    for (std::size_t row = 0; row < m_startRows.size(); ++row) {
        if (m_startRows[row].pending) {
            m_table.MarkPending(static_cast<int>(row));
        }
    }
}

void CFaultBench::MarkAll()
{
    for (std::size_t row = 0; row < Rows().size(); ++row) {
        Rows()[row].pending = true;
        m_table.MarkPending(static_cast<int>(row));
    }
}

std::wstring CFaultBench::Part(std::size_t row) const
{
    return m_runFolder + L"\\" + m_startRows.at(row).texts.strOriginal;
}

std::wstring CFaultBench::Copy(std::size_t row) const
{
    return m_runFolder + L"\\Mapped\\" + m_startRows.at(row).texts.strRenamed;
}

unsigned CFaultBench::ModelCalls(const ServerScript& script) const
{
    CRunModel model = *m_model;
    return static_cast<unsigned>(model.Run(script).calls.size());
}

std::vector<std::string> CFaultBench::Calls()
{
    std::vector<std::string> lines = CServerEnvironment::Server().Log();
    std::erase_if(lines, [](const std::string& line) { return line.starts_with('-'); });
    return lines;
}

std::string CFaultBench::Run(const ServerScript& script)
{
    m_differences.clear();
    m_shown.clear();
    StartOverServer(OpenRules() + script.Rules());
    m_waits = !HasFault(script, Fault::Kind::rejectForever) && !HasFault(script, Fault::Kind::hang);
    m_confirms = script.confirms;
    m_model->m_copyOnly = m_copyOnly;
    m_model->m_life = m_life;
    const RunOutcome expected = m_model->Run(script);
    // Lives until the server has ended, as in the program: the destructor ends a server that is still tied to
    // the program.
    CServerProcess process;
    Convert(script, process);
    if (m_afterRun) {
        m_afterRun();
    }
    if (m_held != (script.cancelAt != 0)) {
        AddDifference(m_held ? "an unexpected call was held" : "the call to cancel at was not held");
    }
    CompareWith(expected);
    return m_differences;
}

void CFaultBench::StartOverServer(const std::string& rules) const
{
    if (m_life == ServerLife::stays) {
        CServerEnvironment::StartOverStaying(rules);
    } else {
        CServerEnvironment::EndServer();
        CServerEnvironment::Server().StartOver(rules);
    }
}

// Script rules for the error codes with which the rows' copies open.
std::string CFaultBench::OpenRules() const
{
    std::string rules;
    for (const ModelRow& row : m_startRows) {
        rules += "open \"" + ToUtf8(row.texts.strRenamed) + "\" code=" + std::to_string(row.openCode) + "\n";
    }
    return rules;
}

// Makes a run. Before that, starts what the run needs: another client of the server, an impatient user, or a
// user who cancels.
void CFaultBench::Convert(const ServerScript& script, CServerProcess& process)
{
    DrainMessages();
    IDispatchPtr client;
    if (m_life == ServerLife::reached) {
        client = ConnectToServer();
    }
    std::optional<CImpatientUser> user;
    if (HasFault(script, Fault::Kind::hang)) {
        m_user = &user.emplace();
    }
    std::optional<CCancellingUser> cancelling;
    if (script.cancelAt != 0) {
        cancelling.emplace();
    }
    MakeRun(process);
    m_user = nullptr;
    m_held = cancelling && cancelling->HasHeldACall();
    m_cancelled = cancelling && cancelling->HasPressed();
}

void CFaultBench::MakeRun(CServerProcess& process)
{
    CadTimeouts timeouts;
    if (m_life != ServerLife::reached) {
        // The run gives up after the first failed attempt to connect. With the usual time limit, it would
        // keep trying for two minutes while the server lives, and a server that stays always lives.
        timeouts.connect = 0;
    }
    try {
        CConversionRun run(m_mainWindow, m_table, m_sldWorks, process, *this,
                           {m_runFolder, kCadProgId, m_copyOnly, timeouts});
        run.Run();
        m_record = run.TakeRecord();
    } catch (const CException& exception) {
        AddDifference("the run threw: " + ToUtf8(exception.GetErrorMessage()));
    } catch (const std::exception& exception) {
        AddDifference(std::string("the run threw: ") + exception.what());
    }
}

int CFaultBench::OnBox(const MessageRequest& request)
{
    const bool stalls = request.type == (MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2);
    m_shown.push_back(DescribeBox(request.text, request.type, request.helpFile, request.helpContext));
    if (m_mainWindow.IsWindowEnabled() || !IsProgressOpen()) {
        // Only the question about a server that does not respond may come after the dialog has closed: the
        // run releases the server then.
        if (!stalls) {
            AddDifference("shown outside the run: " + ToUtf8(request.text));
        }
    }
    if (m_user != nullptr && stalls) {
        m_user->NoteQuestion();
    }
    return AnswerTo(request);
}

int CFaultBench::AnswerTo(const MessageRequest& request) const
{
    switch (request.type) {
        case MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2:  // about a server that does not respond
            return m_waits ? IDNO : IDYES;
        case MB_YESNO | MB_ICONQUESTION:  // whether to cancel
            return m_confirms ? IDYES : IDNO;
        default:
            return IDOK;
    }
}

void CFaultBench::ShowViewStatus(bool mapView)
{
    m_shown.emplace_back(mapView ? L"view map file" : L"view folder");
}

void CFaultBench::ReloadAfterCancel()
{
    m_shown.emplace_back(L"view reload");
}

void CFaultBench::TakeInputAgain()
{
    m_mainWindow.EnableWindow(true);
}

void CFaultBench::AddDifference(const std::string& what)
{
    m_differences += "  " + what + "\n";
}

void CFaultBench::CompareWith(const RunOutcome& expected)
{
    CompareWindows(expected.shown);
    CompareShown(expected.shown);
    CompareReport(expected);
    CompareMapFile(expected);
    if (const std::string marks = Marks(); marks != expected.marks) {
        AddDifference("marks " + marks + " instead of " + expected.marks);
    }
    CompareCopies();
    CompareServer(expected);
    CompareOpenFiles();
}

// A run that does not write the map file leaves it unchanged.
void CFaultBench::CompareMapFile(const RunOutcome& expected)
{
    const std::optional<std::string> before = std::exchange(m_map, FileBytes(Mapped() + L"\\PartsMap.txt"));
    if (m_map != (expected.mapFileWritten ? MapFileOf(expected) : before)) {
        AddDifference("map file: " + m_map.value_or("(none)"));
    }
}

// A run that finishes or is cancelled leaves it to the caller to enable the main window.
void CFaultBench::CompareWindows(const std::vector<std::wstring>& shown)
{
    const bool endedEarly =
        std::ranges::none_of(shown, [](const std::wstring& event) { return event.starts_with(L"view "); });
    if (m_mainWindow.IsWindowEnabled() != endedEarly) {
        AddDifference(endedEarly ? "the main window is disabled" : "the main window is enabled");
    }
    m_mainWindow.EnableWindow(true);
    if (IsProgressOpen()) {
        AddDifference("the progress dialog is still open");
    }
}

void CFaultBench::CompareShown(const std::vector<std::wstring>& expected)
{
    if (m_shown.size() != expected.size() || !std::ranges::equal(m_shown, expected, Matches)) {
        AddDifference("shown:" + Listed(m_shown) + "\n   instead of:" + Listed(expected));
    }
}

void CFaultBench::CompareReport(const RunOutcome& expected)
{
    if (const std::string end = EndText(m_record.end); end != expected.end) {
        AddDifference("report: " + end + " instead of " + expected.end);
    }
    std::vector<std::wstring> rows;
    for (std::size_t row = 0; row < m_record.rows.size(); ++row) {
        rows.push_back(RowText(m_record.rows.at(row)));
    }
    if (rows.size() != expected.rows.size() || !std::ranges::equal(rows, expected.rows, Matches)) {
        AddDifference("report:" + Listed(rows) + "\n   instead of:" + Listed(expected.rows));
    }
}

void CFaultBench::CompareOpenFiles()
{
    for (const ModelRow& row : m_startRows) {
        for (const std::wstring& path :
             {m_folder + L"\\" + row.texts.strOriginal, Mapped() + L"\\" + row.texts.strRenamed}) {
            if (IsOpenElsewhere(path)) {
                AddDifference("still open: " + ToUtf8(path));
            }
        }
    }
    if (IsOpenElsewhere(Mapped() + L"\\PartsMap.txt")) {
        AddDifference("the map file is still open");
    }
}

void CFaultBench::CompareCopies()
{
    const Copies& expected = m_model->CopiesNow();
    std::vector<std::wstring> names;
    for (const auto& [name, copy] : expected) {
        names.push_back(name);
    }
    std::vector<std::wstring> found = NamesIn(Mapped());
    std::erase(found, L"PartsMap.txt");
    if (found != names) {
        AddDifference("copies:" + Listed(found) + "\n   instead of:" + Listed(names));
        return;
    }
    for (const auto& [name, copy] : expected) {
        CompareCopy(name, copy);
    }
}

void CFaultBench::CompareCopy(const std::wstring& name, const CopyState& expected)
{
    const std::wstring path = Mapped() + L"\\" + name;
    const bool readOnly = (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) != 0;
    if (readOnly != expected.readOnly) {
        AddDifference(ToUtf8(name) + (readOnly ? " is read-only" : " is not read-only"));
    }
    if (expected.configurations.empty()) {
        if (!ReadBytes(path).empty()) {
            AddDifference(ToUtf8(name) + " is not empty");
        }
        return;
    }
    std::vector<PartConfiguration> configurations;
    if (ReadConfigurations(path, configurations) != S_OK) {
        AddDifference(ToUtf8(name) + " is not a part file");
    } else if (configurations != expected.configurations) {
        AddDifference(ToUtf8(name) + " has unexpected BOM names");
    }
}

void CFaultBench::CompareServer(const RunOutcome& expected)
{
    const std::vector<std::string> calls = Calls();
    const auto [call, expectedCall] = std::ranges::mismatch(calls, expected.calls);
    if (call != calls.end() || expectedCall != expected.calls.end()) {
        AddDifference("calls: " + (call == calls.end() ? "(end)" : *call) +
                      "\n   instead of: " + (expectedCall == expected.calls.end() ? "(end)" : *expectedCall));
    }
    // An ended session has no open documents.
    if (!WaitFor(HasEverySessionEnded, kServerEndTimeout)) {
        AddDifference("a session of the server has not ended");
    }
    const std::size_t maxServers = m_life == ServerLife::stays ? 1 : 0;
    if (!WaitFor([maxServers] { return CountServers() <= maxServers; }, kServerEndTimeout)) {
        AddDifference("a server process is still running");
    }
    for (const std::string& line : CServerEnvironment::Server().Log()) {
        if (line.ends_with(" gone")) {
            AddDifference("called after its end: " + line);
        } else if (line.find(" left=") != std::string::npos && !line.ends_with(" left=0")) {
            AddDifference("objects of an ended session are not released: " + line);
        } else if (m_life == ServerLife::perConnection && line.starts_with("- late")) {
            AddDifference("connected to a server of its own that was about to end");
        }
    }
}

// The marks of the rows: P pending, c converted, ? inconsistent.
std::string CFaultBench::Marks() const
{
    std::string marks;
    for (int row = 0; row < m_table.GetItemCount(); ++row) {
        const LPARAM data = m_table.GetItemData(row);
        const UINT image = m_table.GetItemState(row, LVIS_STATEIMAGEMASK);
        marks += data == 1 && image == 0x1000 ? 'P' : data == 0 && image == 0x2000 ? 'c' : '?';
    }
    return marks;
}

std::string CFaultBench::MapFileOf(const RunOutcome& outcome) const
{
    std::wstring text;
    if (outcome.headerWritten) {
        text = L"; Datei: " + MapPath() +
               L"\r\n"
               L"; Automatisch generierte Datei, manuelle Änderungen können verloren gehen.\r\n"
               L"; (c) Talvenor\r\n\r\n";
    }
    for (const UTtab_entry& record : outcome.records) {
        text += RecordText(record);
    }
    if (!outcome.partialRecord) {
        return MapText(text);
    }
    return MapText(text + RecordText(*outcome.partialRecord)).substr(0, m_mapFileCapacity);
}
