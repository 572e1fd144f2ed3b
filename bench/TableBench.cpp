// Times the main dialog's commands on many rows, compared with bare loops of the same messages.
//
//   tablebench COMMAND ROWS PAIRS TABLE.tsv
//
// COMMAND is fill, show, apply1, apply2, select, delete, delete-half, mark, import, paste, undo, redo or
// status. import to redo change every BOM name; status updates the line below the list. TABLE.tsv lists names
// of standard parts; if ROWS exceeds their number, further names are derived from them. Prints a line for
// each pair of runs: seconds of the program, tab, seconds of the bare loop. apply1 and apply2 also print the
// seconds of a bare loop that reads the settings for each row. First, memory and caches are warmed up by at
// least one pair, and for at least two seconds; these pairs are not printed.
//
// The program's side is the real dialog (MeasuredDialog.h); the bare side has the same controls without
// objects (BareDialog.h). Times include painting. Fails if the lists differ afterwards.
#include <windows.h>

#include <commctrl.h>
#include <commdlg.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BareDialog.h"
#include "bench/MeasuredDialog.h"
#include "bench/Stopwatch.h"
#include "core/NameTemplate.h"
#include "core/TableText.h"
#include "files/FileMisc.h"
#include "files/MapCodePage.h"
#include "files/MapLine.h"
#include "files/TableFile.h"
#include "framework/Clipboard.h"
#include "platform/TemplateStore.h"
#include "resources/resource.h"
#include "tests/support/ImportTable.h"
#include "tests/support/TextFile.h"

namespace {

constexpr double kWarmUpSeconds = 2;

// Returns `count` different names of standard parts, in the order in which the system lists a folder.
std::vector<std::wstring> MakeNames(const std::wstring& tablePath, std::size_t count)
{
    const std::vector<std::vector<std::wstring>> table = ReadTable(tablePath);
    if (table.empty()) {
        throw std::runtime_error("no standard parts");
    }
    std::vector<std::wstring> names;
    for (std::size_t i = 0; i < count; ++i) {
        std::wstring name = table[i % table.size()].front();
        if (i >= table.size()) {
            name.insert(name.rfind(L'.'), L"-" + std::to_wstring(i / table.size()));
        }
        names.push_back(name);
    }
    std::ranges::sort(names, [](const std::wstring& left, const std::wstring& right) {
        return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    });
    return names;
}

double Timed(HWND list, const std::function<void()>& work)
{
    const CStopwatch watch;
    work();
    UpdateWindow(list);
    return watch.Seconds();
}

void SelectAll(HWND list)
{
    ListView_SetItemState(list, -1, LVIS_SELECTED, LVIS_SELECTED);
}

std::wstring BareText(HWND list, int row, int column)
{
    std::wstring text(260, L'\0');
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = text.data();
    item.cchTextMax = static_cast<int>(text.size());
    text.resize(static_cast<std::size_t>(
        SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item))));
    return text;
}

// The registry calls with which the settings store reads a template.
std::wstring BareTemplate(int column)
{
    const std::wstring name = L"Template Text Column " + std::to_wstring(column);
    HKEY key = nullptr;
    DWORD size = 0;
    DWORD type = 0;
    RegOpenKeyExW(HKEY_CURRENT_USER, L"SOFTWARE\\Zelmar\\Tools\\Talvenor", 0, KEY_READ, &key);
    RegQueryValueExW(key, name.c_str(), nullptr, nullptr, nullptr, &size);
    const HANDLE heap = HeapCreate(0, 0, 0);
    auto* const data = static_cast<wchar_t*>(HeapAlloc(heap, 0, size));
    RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
    const std::wstring text(data);
    HeapFree(heap, 0, data);
    HeapDestroy(heap);
    RegCloseKey(key);
    RegCloseKey(HKEY_CURRENT_USER);
    return text;
}

// The file that the system's dialog for opening files "picks".
std::wstring g_tableToPick;
decltype(&::GetOpenFileNameW) g_getOpenFileName = nullptr;

BOOL WINAPI PickTable(OPENFILENAMEW* request)
{
    if (g_tableToPick.size() >= request->nMaxFile) {
        return FALSE;
    }
    g_tableToPick.copy(request->lpstrFile, g_tableToPick.size());
    request->lpstrFile[g_tableToPick.size()] = L'\0';
    return TRUE;
}

class CTableBench
{
public:
    CTableBench(std::size_t rows, const std::wstring& tablePath) : m_names(MakeNames(tablePath, rows))
    {
        if (!RedirectImport("GetOpenFileNameW", &PickTable, &g_getOpenFileName)) {
            throw std::runtime_error("the file dialog cannot be replaced");
        }
        m_program.Table().AddFiles(m_names);
        m_rows = m_program.Rows();
        if (m_rows.size() != rows || !m_program.m_messages.TakeTexts().empty()) {
            throw std::runtime_error("the table did not accept all names");
        }
        ShowWindow(m_bare.Window(), SW_SHOW);
        DrainMessages();
    }

    void Measure(const std::wstring& command, int pairs)
    {
        const auto found = m_commands.find(command);
        if (found == m_commands.end()) {
            throw std::runtime_error("unknown command");
        }
        const CStopwatch sinceBegin;
        do {
            MeasurePair(found->second);
        } while (sinceBegin.Seconds() < kWarmUpSeconds);
        for (int pair = 0; pair < pairs; ++pair) {
            const std::vector<double> times = MeasurePair(found->second);
            for (std::size_t i = 0; i < times.size(); ++i) {
                std::printf("%.6f%c", times[i], i + 1 < times.size() ? '\t' : '\n');
            }
        }
    }

private:
    [[nodiscard]] HWND List() const { return m_program.Table().m_hWnd; }
    [[nodiscard]] HWND BareList() const { return m_bare.List(); }

    std::vector<double> MeasurePair(const std::function<std::vector<double>()>& work) const
    {
        std::vector<double> times = work();
        CompareLists();
        return times;
    }

    void Empty() const
    {
        for (const HWND list : {List(), BareList()}) {
            ListView_DeleteAllItems(list);
            UpdateWindow(list);
        }
        DrainMessages();
    }

    // Fills both lists with all rows, marked as converted.
    void FillBoth(bool selected) const
    {
        Empty();
        for (const HWND list : {List(), BareList()}) {
            FillBare(list, m_rows, false);
            if (selected) {
                SelectAll(list);
            }
            UpdateWindow(list);
        }
        DrainMessages();
    }

    void CompareLists() const
    {
        const int count = ListView_GetItemCount(BareList());
        if (count != m_program.Table().GetItemCount()) {
            throw std::runtime_error("the lists have different lengths");
        }
        for (int row = 0; row < count; ++row) {
            const UTtab_entry bare{BareText(BareList(), row, 0), BareText(BareList(), row, 1),
                                   BareText(BareList(), row, 2)};
            constexpr UINT kStates = LVIS_STATEIMAGEMASK | LVIS_SELECTED;
            if (bare != m_program.Table().GetRow(row) || ListView_GetItemState(BareList(), row, kStates) !=
                                                             m_program.Table().GetItemState(row, kStates)) {
                throw std::runtime_error("the lists differ");
            }
        }
    }

    std::vector<double> Fill()
    {
        Empty();
        return {Timed(List(),
                      [this] {
                          m_program.Table().AddFiles(m_names);
                          m_program.Finish();
                      }),
                Timed(BareList(), [this] { m_bare.Fill(m_rows, true); })};
    }

    std::vector<double> Show()
    {
        Empty();
        WriteMapFile();
        return {Timed(List(), [this] { m_program.Press(IDC_SHOW_MAP); }),
                Timed(BareList(), [this] { m_bare.Fill(m_rows, false); })};
    }

    void WriteMapFile() const
    {
        std::string text = FormatMapHeader(CFileMisc::PathToBytes(m_folder.Path(), MapCodePage()).bytes);
        for (const UTtab_entry& row : m_rows) {
            text += FormatMapRecord(row, MapEncoderOf(MapCodePage())) + "\r\n";
        }
        CreateDirectoryW((m_folder / L"Mapped").c_str(), nullptr);
        WriteBytes(m_folder / L"Mapped\\PartsMap.txt", text);
    }

    std::vector<double> SelectRows()
    {
        FillBoth(false);
        return {Timed(List(), [this] { m_program.Press(IDC_SELECT_ALL); }),
                Timed(BareList(), [this] { SelectAll(BareList()); })};
    }

    std::vector<double> DeleteRows()
    {
        FillBoth(true);
        return {Timed(List(), [this] { m_program.Press(IDC_DELETE); }),
                Timed(BareList(), [this] { ListView_DeleteAllItems(BareList()); })};
    }

    std::vector<double> DeleteHalfTheRows()
    {
        FillBoth(false);
        for (int row = 0; row < ListView_GetItemCount(BareList()); row += 2) {
            for (const HWND list : {List(), BareList()}) {
                ListView_SetItemState(list, row, LVIS_SELECTED, LVIS_SELECTED);
            }
        }
        return {Timed(List(), [this] { m_program.Press(IDC_DELETE); }),
                Timed(BareList(), [this] { DeleteBareRows(); })};
    }

    // Deletes from the end, so no rows have to move up.
    void DeleteBareRows() const
    {
        const CBareRedrawPause pause(BareList());
        for (int row = ListView_GetItemCount(BareList()) - 1; row >= 0; --row) {
            if (ListView_GetItemState(BareList(), row, LVIS_SELECTED) != 0) {
                ListView_DeleteItem(BareList(), row);
            }
        }
    }

    std::vector<double> MarkRows()
    {
        FillBoth(true);
        return {Timed(List(), [this] { m_program.Press(IDC_MARK); }), Timed(BareList(), [this] {
                    const CBareRedrawPause pause(BareList());
                    for (int row = -1; (row = NextSelected(row)) != -1;) {
                        SetBareMark(BareList(), row, true);
                    }
                })};
    }

    [[nodiscard]] int NextSelected(int row) const
    {
        return ListView_GetNextItem(BareList(), row, LVNI_SELECTED);
    }

    std::vector<double> Apply(int column)
    {
        FillBoth(true);
        static_cast<void>(WriteTemplate(column, L"%5%3_%4_%7%8.new.%6"));  // changes every text
        const double program = Timed(List(), [this, column] { m_program.ApplyTemplate(column); });
        const std::vector<UTtab_entry> made = m_program.Rows();
        const double bare = Timed(BareList(), [&] { ApplyBare(column, made, [] {}); });
        FillBoth(true);
        const double reading =
            Timed(BareList(), [&] { ApplyBare(column, made, [column] { BareTemplate(column); }); });
        SelectAll(List());
        m_program.ApplyTemplate(column);
        return {program, bare, reading};
    }

    // For each row, reads the two texts from which the program makes the new text, then sets the new text and
    // the mark.
    void ApplyBare(int column, const std::vector<UTtab_entry>& made,
                   const std::function<void()>& before) const
    {
        const CBareRedrawPause pause(BareList());
        for (int row = -1; (row = NextSelected(row)) != -1;) {
            before();
            BareText(BareList(), row, column);
            BareText(BareList(), row, kColumnOriginal);
            const UTtab_entry& texts = made[static_cast<std::size_t>(row)];
            SetBareText(BareList(), row, column,
                        column == kColumnRenamed ? texts.strRenamed : texts.strBomName);
            SetBareMark(BareList(), row, true);
        }
    }

    // ---- The table as text

    [[nodiscard]] std::vector<UTtab_entry> ChangedRows() const
    {
        std::vector<UTtab_entry> rows = m_rows;
        for (UTtab_entry& row : rows) {
            row.strBomName += L" changed";
        }
        return rows;
    }

    [[nodiscard]] std::wstring ChangedText(wchar_t separator) const
    {
        std::wstring text;
        for (const UTtab_entry& row : ChangedRows()) {
            AppendTableRow(text, {row.strOriginal, row.strRenamed, row.strBomName}, separator);
        }
        return text;
    }

    // Sends only the messages that set these BOM names and marks. Returns the seconds.
    double SetBareBomNames(const std::vector<UTtab_entry>& rows, bool pending) const
    {
        return Timed(BareList(), [&] {
            const CBareRedrawPause pause(BareList());
            for (std::size_t row = 0; row < rows.size(); ++row) {
                SetBareText(BareList(), static_cast<int>(row), kColumnBomName, rows[row].strBomName);
                SetBareMark(BareList(), static_cast<int>(row), pending);
            }
        });
    }

    std::vector<double> Import()
    {
        FillBoth(false);
        g_tableToPick = m_folder / L"table.csv";
        WriteTableFile(g_tableToPick, ChangedText(L';'));
        return {Timed(List(), [this] { m_program.Press(IDM_IMPORT); }), SetBareBomNames(ChangedRows(), true)};
    }

    std::vector<double> Paste()
    {
        FillBoth(false);
        if (!WriteClipboard(m_program.Window(), ChangedText(kTab))) {
            throw std::runtime_error("the clipboard is in use");
        }
        return {Timed(List(), [this] { m_program.Press(IDM_PASTE); }), SetBareBomNames(ChangedRows(), true)};
    }

    std::vector<double> Undo()
    {
        Paste();
        return {Timed(List(), [this] { m_program.Press(IDM_UNDO); }), SetBareBomNames(m_rows, false)};
    }

    std::vector<double> Redo()
    {
        Undo();
        return {Timed(List(), [this] { m_program.Press(IDM_REDO); }), SetBareBomNames(ChangedRows(), true)};
    }

    // The bare side only reads the texts in which the program looks for names to check.
    std::vector<double> UpdateStatus()
    {
        FillBoth(false);
        return {Timed(List(),
                      [this] {
                          SendMessageW(m_program.Window(), WM_LISTCHANGED, 0, 0);
                          m_program.Finish();
                      }),
                Timed(BareList(), [this] {
                    for (int row = 0; row < ListView_GetItemCount(BareList()); ++row) {
                        for (const int column : {kColumnOriginal, kColumnRenamed, kColumnBomName}) {
                            BareText(BareList(), row, column);
                        }
                    }
                })};
    }

    CTempFolder m_folder;
    CMeasuredDialog m_program{m_folder.Path()};
    CBareDialog m_bare;
    std::vector<std::wstring> m_names;
    std::vector<UTtab_entry> m_rows;  // with generated names
    const std::map<std::wstring, std::function<std::vector<double>()>> m_commands{
        {L"import", [this] { return Import(); }},
        {L"paste", [this] { return Paste(); }},
        {L"undo", [this] { return Undo(); }},
        {L"redo", [this] { return Redo(); }},
        {L"status", [this] { return UpdateStatus(); }},
        {L"fill", [this] { return Fill(); }},
        {L"show", [this] { return Show(); }},
        {L"apply1", [this] { return Apply(1); }},
        {L"apply2", [this] { return Apply(2); }},
        {L"select", [this] { return SelectRows(); }},
        {L"delete", [this] { return DeleteRows(); }},
        {L"delete-half", [this] { return DeleteHalfTheRows(); }},
        {L"mark", [this] { return MarkRows(); }},
    };
};

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 5) {
        std::fprintf(stderr, "usage: tablebench COMMAND ROWS PAIRS TABLE.tsv\n");
        return 2;
    }
    return RunInApplication([arguments] {
        CTableBench(std::stoul(arguments[2]), arguments[4]).Measure(arguments[1], std::stoi(arguments[3]));
    });
}
