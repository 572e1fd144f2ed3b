#include "tests/faults/KillBench.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <utility>

#include "framework/ComPointers.h"
#include "resources/resource.h"
#include "tests/faults/FaultBench.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"

namespace {

struct Part
{
    const wchar_t* number;
    std::vector<std::wstring> configurations;
};

// Standard numbers whose part files are small: each block of a file is one more operation to kill the program
// at.
const std::vector<Part>& Parts()
{
    static const std::vector<Part> parts = {
        {L"30", {L"x", L"Größe 2"}}, {L"42", {L"x"}}, {L"46", {L"M8x10", L"M8/x 12"}}, {L"56", {L"x"}}};
    return parts;
}

constexpr std::size_t kAlreadyConvertedRow = 2;  // a second run does not convert it again

bool IsConverted(MappedBefore before, std::size_t row)
{
    return before == MappedBefore::nothing || row != kAlreadyConvertedRow;
}

std::wstring OriginalOf(std::size_t row)
{
    return std::wstring(L"N_ISO_") + Parts()[row].number + L"_M8.sldprt";
}

std::wstring RenamedOf(std::size_t row)
{
    return std::wstring(L"Größe ") + Parts()[row].number + L".sldprt";
}

std::wstring BomNameOf(std::size_t row)
{
    return std::wstring(L"Norm ") + Parts()[row].number + L" - %2";
}

std::vector<BomEntry> BomEntriesOf(std::size_t row)
{
    std::vector<BomEntry> entries;
    for (const std::wstring& name : Parts()[row].configurations) {
        entries.push_back({name, true, std::wstring(L"Norm ") + Parts()[row].number + L" - " + name});
    }
    return entries;
}

unsigned CallsOf(std::size_t row)
{
    return 7 + 3 * static_cast<unsigned>(Parts()[row].configurations.size());
}

std::string RecordOf(std::size_t row)
{
    return ByCode(OriginalOf(row) + L" ; " + RenamedOf(row) + L" ; " + BomNameOf(row) + L"\r\n");
}

WIN32_FILE_ATTRIBUTE_DATA AttributesOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    EXPECT_NE(FALSE, GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) << ToUtf8(path);
    return data;
}

// The file-name edit of the file dialog if it has the focus, otherwise null.
HWND NameEditOf(HWND picker)
{
    const HWND focus = FocusOf(picker);
    return IsChild(picker, focus) != FALSE && ClassOf(focus).ends_with(L"Edit") ? focus : nullptr;
}

}  // namespace

CKillBench::CKillBench(std::wstring program) : m_programFile(std::move(program))
{
    m_registry.SetPartsFolder(m_library.Path());
    m_registry.SetTemplate(1, L"Größe %3");
    m_registry.SetTemplate(2, L"Norm %3 - %2");
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        const std::wstring path = m_library.Part(OriginalOf(row));
        m_library.AddPart(OriginalOf(row), Parts()[row].configurations);
        m_originals[OriginalOf(row)] = {ReadBytes(path), ReadPart(path), AttributesOf(path)};
    }
    StartProgram();
}

CKillBench::~CKillBench()
{
    m_program.reset();
    CServerEnvironment::EndServer();
}

unsigned CKillBench::Calls(MappedBefore before)
{
    unsigned calls = 2;
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        calls += IsConverted(before, row) ? CallsOf(row) : 0;
    }
    return calls;
}

std::size_t CKillBench::RecordsAtCall(MappedBefore before, unsigned call)
{
    if (call == 1) {
        return before == MappedBefore::nothing ? 0 : Parts().size();  // from the earlier run
    }
    unsigned lastCall = 1;  // of the rows so far
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        if (!IsConverted(before, row)) {
            continue;
        }
        lastCall += CallsOf(row);
        if (call <= lastCall) {
            return row + 1;
        }
    }
    return Parts().size();
}

void CKillBench::StartProgram()
{
    m_program.emplace(std::wstring(), m_programFile);
    static_cast<void>(m_program->MainWindow());
}

// Restores the initial state after any failure.
void CKillBench::StartOver()
{
    m_program.reset();
    CServerEnvironment::EndServer();
    m_library.RemoveMapped();
    StartProgram();
}

void CKillBench::CloseFinalMessage()
{
    CMessageBoxOnScreen::WaitForText(m_program->ProcessId(), expected::kFinished.Current()).Press(IDOK);
}

void CKillBench::EndProgram()
{
    m_program.reset();
}

void CKillBench::WaitForEndOfProgram()
{
    static_cast<void>(m_program->WaitForEnd());
    m_program.reset();
}

std::string CKillBench::Kill(const KillPlan& plan)
{
    m_differences.clear();
    try {
        Prepare(plan.before);
        StartOverServer(plan);
        plan.beforeRun();
        StartRun();
        plan.end(*this);
        LeaveServer(plan);
        CompareDisk(plan.before, plan.records);
        StartProgram();
        CompareStart();
        CompleteConversion();
        CompareFinalState();
    } catch (const std::exception& error) {
        AddDifference(error.what());
    }
    if (!m_differences.empty()) {
        StartOver();
    }
    return m_differences;
}

std::string CKillBench::RunUndisturbed(MappedBefore before, const std::function<void()>& beforeRun)
{
    m_differences.clear();
    try {
        Prepare(before);
        CServerEnvironment::StartOverStaying("");
        beforeRun();
        StartRun();
        FinishRun();
        CompareFinalState();
    } catch (const std::exception& error) {
        AddDifference(error.what());
        StartOver();
    }
    return m_differences;
}

// The table already has all rows. Marks those that the run must convert.
void CKillBench::Prepare(MappedBefore before)
{
    if (before == MappedBefore::anEarlierRun && !FileExists(m_library.MapPath())) {
        m_differences += RunUndisturbed(MappedBefore::nothing);
    }
    if (before == MappedBefore::nothing) {
        m_library.RemoveMapped();
    }
    std::vector<int> rows;
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        if (IsConverted(before, row)) {
            rows.push_back(static_cast<int>(row));
        }
    }
    MarkRows(rows);
}

void CKillBench::MarkRows(const std::vector<int>& rows)
{
    const CListOnScreen list = m_program->List();
    list.Select(-1, false);
    for (const int row : rows) {
        list.Select(row, true);
    }
    m_program->Press(IDC_MARK);
    const bool marked = WaitFor([&] {
        const std::vector<RowOnScreen> shown = list.Rows();
        return std::ranges::all_of(
            rows, [&](int row) { return shown.at(static_cast<std::size_t>(row)).mark == Mark::pending; });
    });
    if (!marked) {
        throw CNotOnScreen(L"the rows marked for conversion", m_program->ProcessId());
    }
}

void CKillBench::StartRun()
{
    const bool mapExists = FileExists(m_library.MapPath());
    m_program->Press(IDC_START);
    if (mapExists) {
        CMessageBoxOnScreen::WaitForText(m_program->ProcessId(), m_library.OverwriteQuestion()).Press(IDYES);
    }
    m_runStart = GetTickCount64();
}

void CKillBench::FinishRun()
{
    const CMessageBoxOnScreen box =
        CMessageBoxOnScreen::WaitForText(m_program->ProcessId(), expected::kFinished.Current());
    m_runTime = static_cast<DWORD>(GetTickCount64() - m_runStart);
    box.Press(IDOK);
    m_program->WaitForRest();
}

void CKillBench::StartOverServer(const KillPlan& plan)
{
    if (plan.hangs) {
        CServerEnvironment::EndServer();
        CServerEnvironment::Server().StartOver(plan.rules);
    } else {
        CServerEnvironment::StartOverStaying(plan.rules);
    }
}

// Waits until the server no longer works for the killed run.
void CKillBench::LeaveServer(const KillPlan& plan)
{
    if (plan.hangs) {
        ExpectEndOfServer();
        CServerEnvironment::Server().StartOver("");
    } else {
        WaitForServer();
    }
}

// The killed program had started the server, so the server must end, too.
void CKillBench::ExpectEndOfServer()
{
    constexpr DWORD kEndWithProgram = 5'000;  // milliseconds
    const CCadServer& server = CServerEnvironment::Server();
    if (!server.WaitForEnd(kEndWithProgram)) {
        AddDifference("the server lives on after the program");
        server.EndByForce();
    }
}

// The server may still be serving a call of the program. The test's own call returns only after that one.
void CKillBench::WaitForServer()
{
    IDispatchPtr application;
    DISPPARAMS none{};
    _variant_t names;
    if (FAILED(application.CreateInstance(kCadProgId, nullptr, CLSCTX_LOCAL_SERVER)) ||
        FAILED(application->Invoke(automation::kOpenDocumentNames, IID_NULL, LOCALE_USER_DEFAULT,
                                   DISPATCH_METHOD, &none, &names, nullptr, nullptr))) {
        AddDifference("the server does not respond");
    }
}

// Continues like a user: adds the parts that are not in the map file, and converts the last recorded row
// again, as it may have been interrupted.
void CKillBench::CompleteConversion()
{
    if (m_mapExists && m_records < Parts().size()) {
        AddAllParts();
        CompareRows(m_records, Parts().size() - m_records);
    }
    if (m_records > 0) {
        MarkRows({static_cast<int>(m_records) - 1});
    }
    StartRun();
    FinishRun();
}

void CKillBench::AddAllParts()
{
    std::wstring names;
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        names += L"\"" + OriginalOf(row) + L"\" ";
    }
    m_program->Press(IDC_ADD);
    HWND edit = nullptr;
    const HWND picker = WaitFor([&] {
        const std::vector<HWND> windows = TopWindowsOf(m_program->ProcessId());
        const bool open = !windows.empty() && TextOf(windows[0]) == expected::kAddParts.Current();
        edit = open ? NameEditOf(windows[0]) : nullptr;
        return edit != nullptr ? windows[0] : nullptr;
    });
    if (picker == nullptr) {
        throw CNotOnScreen(L"the file dialog", m_program->ProcessId());
    }
    Ask(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(names.c_str()));
    PostMessageW(picker, WM_COMMAND, IDOK, 0);
    m_program->WaitForRest();
}

void CKillBench::AddDifference(const std::string& what)
{
    m_differences += "  " + what + "\n";
}

// ---- The state after a killed run

void CKillBench::CompareDisk(MappedBefore before, std::optional<std::size_t> records)
{
    CompareFolders();
    CompareOriginals();
    m_mapExists = FileExists(m_library.MapPath());
    const std::string map = m_mapExists ? m_library.MapFileBytes() : "";
    m_records = 0;
    while (m_records < Parts().size() && map.size() > MapFileWith(m_records).size()) {
        ++m_records;
    }
    const bool onlyCreated = map.empty() && m_records == 0;  // without header yet
    if (!onlyCreated && map != MapFileWith(m_records)) {
        AddDifference("map file: " + map);
    }
    if (records && m_records != *records) {
        AddDifference(std::to_string(m_records) + " records instead of " + std::to_string(*records));
    }
    CompareCopies(before);
}

void CKillBench::CompareFolders()
{
    std::vector<std::wstring> expectedNames = {L"Mapped"};
    std::vector<std::wstring> copies = {L"PartsMap.txt"};
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        expectedNames.push_back(OriginalOf(row));
        copies.push_back(RenamedOf(row));
    }
    for (const std::wstring& name : NamesIn(m_library.Path())) {
        if (std::ranges::find(expectedNames, name) == expectedNames.end()) {
            AddDifference("unexpected file in the library: " + ToUtf8(name));
        }
    }
    for (const std::wstring& name : NamesIn(m_library.MappedPath())) {
        if (std::ranges::find(copies, name) == copies.end()) {
            AddDifference("unexpected file beside the copies: " + ToUtf8(name));
        }
    }
}

void CKillBench::CompareOriginals()
{
    for (const auto& [name, original] : m_originals) {
        const std::wstring path = m_library.Part(name);
        const WIN32_FILE_ATTRIBUTE_DATA now = AttributesOf(path);
        const bool same = now.dwFileAttributes == original.attributes.dwFileAttributes &&
                          CompareFileTime(&now.ftLastWriteTime, &original.attributes.ftLastWriteTime) == 0 &&
                          ReadBytes(path) == original.bytes;
        if (!same) {
            AddDifference("changed: " + ToUtf8(name));
        }
    }
}

void CKillBench::CompareCopies(MappedBefore before)
{
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        if (const FileState state = StateOf(row); !IsPossible(before, row, state)) {
            AddDifference(ToUtf8(RenamedOf(row)) + " is " + Describe(state) + " with " +
                          std::to_string(m_records) + " records");
        }
    }
}

std::string CKillBench::MapFileWith(std::size_t records) const
{
    std::string map = m_library.MapHeader();
    for (std::size_t row = 0; row < records; ++row) {
        map += RecordOf(row);
    }
    return map;
}

CKillBench::FileState CKillBench::StateOf(std::size_t row) const
{
    const std::wstring path = m_library.Copy(RenamedOf(row));
    if (!FileExists(path)) {
        return {};
    }
    FileState state{Contents::other, IsReadOnly(path)};
    const Original& original = m_originals.at(OriginalOf(row));
    const std::string bytes = ReadBytes(path);
    if (original.bytes.starts_with(bytes)) {
        state.contents = bytes.size() == original.bytes.size() ? Contents::complete : Contents::partial;
        return state;
    }
    try {
        const PartContents copy = ReadPart(path);
        if (copy.bomEntries == BomEntriesOf(row) && copy.otherStreams == original.contents.otherStreams) {
            state.contents = Contents::updated;
        }
    } catch (const std::exception&) {
        // Not a part file: Contents::other.
    }
    return state;
}

// Rows before the last record are finished. The last recorded row may have been interrupted: its copy is
// complete and may have its BOM names. The row after it may have a partial copy, because a row is recorded
// only after it has been copied. Later rows are unchanged.
bool CKillBench::IsPossible(MappedBefore before, std::size_t row, const FileState& state) const
{
    const bool updated = state.contents == Contents::updated;
    const bool copied = state.contents == Contents::complete && !state.readOnly && IsConverted(before, row);
    const bool partial = state.contents == Contents::partial && !state.readOnly && IsConverted(before, row);
    const bool unchanged = before == MappedBefore::nothing ? state.contents == Contents::missing : updated;
    if (row + 1 < m_records) {
        return updated && state.readOnly;
    }
    if (row + 1 == m_records) {
        return updated || copied;
    }
    return row == m_records ? unchanged || copied || partial
                            : unchanged && (state.readOnly || before == MappedBefore::nothing);
}

std::string CKillBench::Describe(const FileState& state)
{
    const std::array names = {"missing", "partial", "identical to the original", "updated",
                              "neither copied nor updated"};
    return std::string(names.at(static_cast<std::size_t>(state.contents))) +
           (state.readOnly ? " and read-only" : "");
}

// ---- The next start and the next run

// The program shows the map file, or the folder if there is none.
void CKillBench::CompareStart()
{
    if (!m_program->IsAtRest()) {
        AddDifference("on the screen after the start: " + ToUtf8(DescribeScreen(m_program->ProcessId())));
    }
    const Text& view = m_mapExists ? expected::kMapView : expected::kFolderView;
    if (m_program->ControlText(IDC_STATUS_FRAME) != view.Current()) {
        AddDifference("text of the frame: " + ToUtf8(m_program->ControlText(IDC_STATUS_FRAME)));
    }
    CompareRows(m_records, m_mapExists ? 0 : Parts().size());
}

void CKillBench::CompareRows(std::size_t converted, std::size_t pending)
{
    std::vector<RowOnScreen> rows;
    for (std::size_t row = 0; row < converted + pending; ++row) {
        rows.push_back({OriginalOf(row), RenamedOf(row), BomNameOf(row),
                        row < converted ? Mark::converted : Mark::pending});
    }
    if (const std::vector<RowOnScreen> shown = m_program->List().Rows(); shown != rows) {
        AddDifference("rows: " + testing::PrintToString(shown));
    }
}

void CKillBench::CompareFinalState()
{
    CompareFolders();
    CompareOriginals();
    if (const std::string map = m_library.MapFileBytes(); map != MapFileWith(Parts().size())) {
        AddDifference("map file after the next run: " + map);
    }
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        const FileState state = StateOf(row);
        if (state.contents != Contents::updated || !state.readOnly) {
            AddDifference(ToUtf8(RenamedOf(row)) + " is " + Describe(state) + " after the next run");
        }
    }
    CompareRows(Parts().size(), 0);
    CompareServer();
}

// The program must have ended the server that it found or started, with no open documents.
void CKillBench::CompareServer()
{
    const CCadServer& server = CServerEnvironment::Server();
    const auto ended = [&] {
        const std::vector<std::string> lines = server.Life();
        const auto count = [&](const char* prefix) {
            return std::ranges::count_if(lines,
                                         [&](const std::string& line) { return line.starts_with(prefix); });
        };
        return count("- start") > 0 && count("- start") == count("- end") &&
               lines.back() == "- end reason=asked open=";
    };
    if (!WaitFor(ended, kServerEndTimeout)) {
        AddDifference("server: " + testing::PrintToString(server.Life()));
    }
    if (server.WasAsked(" gone")) {
        AddDifference("the program called an ended server");
    }
}
