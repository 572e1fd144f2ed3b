#include "tests/faults/KillBench.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <utility>

#include "framework/ComPointers.h"
#include "resources/resource.h"
#include "tests/acceptance/ExpectedTexts.h"
#include "tests/acceptance/OtherWindows.h"
#include "tests/acceptance/WaitFor.h"
#include "tests/cadserver/TextFile.h"
#include "tests/faults/FaultBench.h"

namespace {

struct Part
{
    const wchar_t* number;
    std::vector<std::wstring> configurations;
};

// Numbers whose part files are small: each block of a file is an operation.
const std::vector<Part>& Parts()
{
    static const std::vector<Part> parts = {
        {L"30", {L"x", L"Größe 2"}}, {L"42", {L"x"}}, {L"46", {L"M8x10", L"M8/x 12"}}, {L"56", {L"x"}}};
    return parts;
}

constexpr std::size_t kNotAgain = 2;  // the row that a second run does not convert again

bool IsConverted(MappedBefore before, std::size_t row)
{
    return before == MappedBefore::nothing || row != kNotAgain;
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

std::vector<BomEntry> EntriesOf(std::size_t row)
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

// A line of the map file. Its characters all are bytes of the same code.
std::string RecordOf(std::size_t row)
{
    const std::wstring line = OriginalOf(row) + L" ; " + RenamedOf(row) + L" ; " + BomNameOf(row) + L"\r\n";
    std::string bytes;
    std::ranges::transform(line, std::back_inserter(bytes),
                           [](wchar_t character) { return static_cast<char>(character); });
    return bytes;
}

WIN32_FILE_ATTRIBUTE_DATA AttributesOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    EXPECT_NE(FALSE, GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) << ToUtf8(path);
    return data;
}

// The edit of the program's file dialog, once it has the focus; null until then.
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
        return before == MappedBefore::nothing ? 0 : Parts().size();  // those of the earlier run
    }
    unsigned begun = 1;  // calls before the row's first
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        if (!IsConverted(before, row)) {
            continue;
        }
        begun += CallsOf(row);
        if (call <= begun) {
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

// Whatever went wrong before: as at the very beginning.
void CKillBench::StartOver()
{
    m_program.reset();
    CServerEnvironment::EndServer();
    m_library.RemoveMapped();
    StartProgram();
}

void CKillBench::AcceptTheEnd()
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
        CServerEnvironment::Server().StartOver("stay\n" + plan.rules);
        plan.atStart();
        BeginRun();
        plan.end(*this);
        LetServerFinish();
        CompareDisk(plan.before, plan.records);
        StartProgram();
        CompareStart();
        FinishTheWork();
        CompareWhole();
    } catch (const std::exception& error) {
        Differ(error.what());
    }
    if (!m_differences.empty()) {
        StartOver();
    }
    return m_differences;
}

std::string CKillBench::RunToTheEnd(MappedBefore before, const std::function<void()>& atStart)
{
    m_differences.clear();
    try {
        Prepare(before);
        CServerEnvironment::Server().StartOver("stay\n");
        atStart();
        BeginRun();
        FinishRun();
        CompareWhole();
    } catch (const std::exception& error) {
        Differ(error.what());
        StartOver();
    }
    return m_differences;
}

// The rows are all there; those that the run is to convert get their marks.
void CKillBench::Prepare(MappedBefore before)
{
    if (before == MappedBefore::anEarlierRun && !PathExists(m_library.MapPath())) {
        m_differences += RunToTheEnd(MappedBefore::nothing);
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

void CKillBench::BeginRun()
{
    const bool mapThere = PathExists(m_library.MapPath());
    m_program->Press(IDC_START);
    if (mapThere) {
        CMessageBoxOnScreen::WaitForText(m_program->ProcessId(), m_library.OverwriteQuestion()).Press(IDYES);
    }
    m_begin = GetTickCount64();
}

void CKillBench::FinishRun()
{
    const CMessageBoxOnScreen box =
        CMessageBoxOnScreen::WaitForText(m_program->ProcessId(), expected::kFinished.Current());
    m_runTime = static_cast<DWORD>(GetTickCount64() - m_begin);
    box.Press(IDOK);
    m_program->WaitForRest();
}

// The server may be in the midst of a call, or about to turn to one that it had been sent: it answers one of
// the test's only when it is done with those.
void CKillBench::LetServerFinish()
{
    constexpr DISPID kOpenDocumentNames = 1001;
    IDispatchPtr application;
    DISPPARAMS none{};
    _variant_t names;
    if (FAILED(application.CreateInstance(kCadProgId, nullptr, CLSCTX_LOCAL_SERVER)) ||
        FAILED(application->Invoke(kOpenDocumentNames, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none,
                                   &names, nullptr, nullptr))) {
        Differ("the server does not answer any more");
    }
}

// What the user does: takes in again what the map file does not name, and has the last row that it does name
// converted again, as the program may have been in the midst of it.
void CKillBench::FinishTheWork()
{
    if (m_mapThere && m_records < Parts().size()) {
        AddAllParts();
        CompareRows(m_records, Parts().size() - m_records);
    }
    if (m_records > 0) {
        MarkRows({static_cast<int>(m_records) - 1});
    }
    BeginRun();
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

void CKillBench::Differ(const std::string& what)
{
    m_differences += "  " + what + "\n";
}

// ---- What a killed run leaves

void CKillBench::CompareDisk(MappedBefore before, std::optional<std::size_t> records)
{
    CompareFolders();
    CompareOriginals();
    m_mapThere = PathExists(m_library.MapPath());
    const std::string map = m_mapThere ? m_library.MapFileBytes() : "";
    m_records = 0;
    while (m_records < Parts().size() && map.size() > MapOf(m_records).size()) {
        ++m_records;
    }
    const bool onlyMade = map.empty() && m_records == 0;  // the header is not yet written
    if (!onlyMade && map != MapOf(m_records)) {
        Differ("map file: " + map);
    }
    if (records && m_records != *records) {
        Differ(std::to_string(m_records) + " records instead of " + std::to_string(*records));
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
            Differ("left in the library: " + ToUtf8(name));
        }
    }
    for (const std::wstring& name : NamesIn(m_library.MappedPath())) {
        if (std::ranges::find(copies, name) == copies.end()) {
            Differ("left beside the copies: " + ToUtf8(name));
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
            Differ("changed: " + ToUtf8(name));
        }
    }
}

void CKillBench::CompareCopies(MappedBefore before)
{
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        if (const FileState state = StateOf(row); !MayBe(before, row, state)) {
            Differ(ToUtf8(RenamedOf(row)) + " is " + Describe(state) + " with " + std::to_string(m_records) +
                   " records");
        }
    }
}

std::string CKillBench::MapOf(std::size_t records) const
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
    if (!PathExists(path)) {
        return {};
    }
    FileState state{Contents::other, IsReadOnly(path)};
    const Original& original = m_originals.at(OriginalOf(row));
    const std::string bytes = ReadBytes(path);
    if (original.bytes.starts_with(bytes)) {
        state.contents = bytes.size() == original.bytes.size() ? Contents::whole : Contents::begun;
        return state;
    }
    try {
        const PartContents copy = ReadPart(path);
        if (copy.bomEntries == EntriesOf(row) && copy.otherStreams == original.contents.otherStreams) {
            state.contents = Contents::updated;
        }
    } catch (const std::exception&) {
        // No part file: something else.
    }
    return state;
}

// Rows before the last record are finished. The last record may be of the row in hand: its copy is whole and
// may have its BOM names. Of the row behind it there may be any part of a copy, as the record comes when the
// copy is whole. Nothing was done about later ones.
bool CKillBench::MayBe(MappedBefore before, std::size_t row, const FileState& state) const
{
    const bool updated = state.contents == Contents::updated;
    const bool copied = state.contents == Contents::whole && !state.readOnly && IsConverted(before, row);
    const bool begun = state.contents == Contents::begun && !state.readOnly && IsConverted(before, row);
    const bool asBefore = before == MappedBefore::nothing ? state.contents == Contents::missing : updated;
    if (row + 1 < m_records) {
        return updated && state.readOnly;
    }
    if (row + 1 == m_records) {
        return updated || copied;
    }
    return row == m_records ? asBefore || copied || begun
                            : asBefore && (state.readOnly || before == MappedBefore::nothing);
}

std::string CKillBench::Describe(const FileState& state)
{
    const std::array names = {"missing", "begun", "as the original", "updated", "neither copied nor updated"};
    return std::string(names.at(static_cast<std::size_t>(state.contents))) +
           (state.readOnly ? " and read-only" : "");
}

// ---- The next start and the next run

// Without a map file the folder is shown, with one what stands in it.
void CKillBench::CompareStart()
{
    if (!m_program->IsAtRest()) {
        Differ("the start shows: " + ToUtf8(DescribeScreen(m_program->ProcessId())));
    }
    const Text& view = m_mapThere ? expected::kMapView : expected::kFolderView;
    if (m_program->ControlText(IDC_STATUS_FRAME) != view.Current()) {
        Differ("the frame says " + ToUtf8(m_program->ControlText(IDC_STATUS_FRAME)));
    }
    CompareRows(m_records, m_mapThere ? 0 : Parts().size());
}

void CKillBench::CompareRows(std::size_t converted, std::size_t pending)
{
    std::vector<RowOnScreen> rows;
    for (std::size_t row = 0; row < converted + pending; ++row) {
        rows.push_back({OriginalOf(row), RenamedOf(row), BomNameOf(row),
                        row < converted ? Mark::converted : Mark::pending});
    }
    if (const std::vector<RowOnScreen> shown = m_program->List().Rows(); shown != rows) {
        Differ("rows: " + testing::PrintToString(shown));
    }
}

void CKillBench::CompareWhole()
{
    CompareFolders();
    CompareOriginals();
    if (const std::string map = m_library.MapFileBytes(); map != MapOf(Parts().size())) {
        Differ("map file behind the next run: " + map);
    }
    for (std::size_t row = 0; row < Parts().size(); ++row) {
        const FileState state = StateOf(row);
        if (state.contents != Contents::updated || !state.readOnly) {
            Differ(ToUtf8(RenamedOf(row)) + " is " + Describe(state) + " behind the next run");
        }
    }
    CompareRows(Parts().size(), 0);
    CompareServer();
}

// The program has ended the server that it found or started, and no document was left open in it.
void CKillBench::CompareServer()
{
    const CCadServer& server = CServerEnvironment::Server();
    const auto ended = [&] {
        const std::vector<std::string> lines = server.Life();
        const auto count = [&](const char* lead) {
            return std::ranges::count_if(lines,
                                         [&](const std::string& line) { return line.starts_with(lead); });
        };
        return count("- start") > 0 && count("- start") == count("- end") &&
               lines.back() == "- end reason=asked open=";
    };
    if (!WaitFor(ended, kServerEndTime)) {
        Differ("server: " + testing::PrintToString(server.Life()));
    }
    if (server.WasAsked(" gone")) {
        Differ("an ended server was called");
    }
}
