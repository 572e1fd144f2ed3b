// Times the main dialog's commands on many rows, compared with bare loops of the same messages.
//
//   tablebench COMMAND ROWS ROUNDS TABLE.tsv
//
// COMMAND is fill, show, apply1, apply2, select, delete, delete-half, mark, import, paste, undo, redo or
// status. import, paste, undo and redo change every BOM name; status updates the line below the list.
// TABLE.tsv lists names of standard parts; if ROWS exceeds their number, further names are derived from them.
// Prints a line for each round: seconds of the program, tab, seconds of the bare loop. apply1 and apply2 also
// print the seconds of a bare loop that reads the template for each row. The order within rounds alternates
// (Rounds.h). To warm up memory and caches, rounds that are not printed come first, for at least two seconds.
//
// The program's side is the real dialog (MeasuredDialog.h); the bare side has the same controls without
// objects (BareDialog.h). Times include painting. Fails if the lists differ after a round.
#include <windows.h>

#include <commctrl.h>
#include <commdlg.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BareDialog.h"
#include "bench/MeasuredDialog.h"
#include "bench/Rounds.h"
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

using Work = std::function<void()>;
using Preparation = std::function<void(HWND list)>;

// A step that prepares the list and times the work with it, including painting.
Step MakeStep(HWND list, const Preparation& prepare, const Work& work)
{
    return [=] {
        prepare(list);
        UpdateWindow(list);
        DrainMessages();
        const CStopwatch watch;
        work();
        UpdateWindow(list);
        return watch.Seconds();
    };
}

void Empty(HWND list)
{
    ListView_DeleteAllItems(list);
}

void SelectAll(HWND list)
{
    ListView_SetItemState(list, -1, LVIS_SELECTED, LVIS_SELECTED);
}

void SelectEverySecond(HWND list)
{
    for (int row = 0; row < ListView_GetItemCount(list); row += 2) {
        ListView_SetItemState(list, row, LVIS_SELECTED, LVIS_SELECTED);
    }
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

// Reads a template with the system calls that platform/TemplateStore makes.
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
        m_changedRows = ChangedRows();
        if (m_rows.size() != rows || !m_program.m_messages.TakeTexts().empty()) {
            throw std::runtime_error("the table did not accept all names");
        }
        ShowWindow(m_bare.Window(), SW_SHOW);
        DrainMessages();
    }

    void Measure(const std::wstring& command, int rounds)
    {
        const auto found = m_commands.find(command);
        if (found == m_commands.end()) {
            throw std::runtime_error("unknown command");
        }
        const std::vector<Step> steps = found->second();
        const CStopwatch sinceBegin;
        int warmUpRounds = 0;
        do {
            static_cast<void>(MeasureRound(warmUpRounds++, steps));
        } while (sinceBegin.Seconds() < kWarmUpSeconds);
        for (int round = 0; round < rounds; ++round) {
            PrintRound(MeasureRound(round, steps));
        }
    }

private:
    [[nodiscard]] HWND List() const { return m_program.Table().m_hWnd; }
    [[nodiscard]] HWND BareList() const { return m_bare.List(); }

    [[nodiscard]] std::vector<double> MeasureRound(int round, const std::vector<Step>& steps) const
    {
        std::vector<double> seconds = RunRound(round, steps);
        CompareLists();
        return seconds;
    }

    // The steps of a command for which both lists are prepared in the same way.
    [[nodiscard]] std::vector<Step> Steps(const Preparation& prepare, const Work& program,
                                          const Work& bare) const
    {
        return {MakeStep(List(), prepare, program), MakeStep(BareList(), prepare, bare)};
    }

    [[nodiscard]] Work Pressing(int id)
    {
        return [this, id] { m_program.Press(id); };
    }

    // Fills the list with all rows, marked as converted.
    void FillAll(HWND list) const
    {
        Empty(list);
        FillBare(list, m_rows, false);
    }

    [[nodiscard]] Preparation Filled() const
    {
        return [this](HWND list) { FillAll(list); };
    }

    [[nodiscard]] Preparation FilledAndSelected() const
    {
        return [this](HWND list) {
            FillAll(list);
            SelectAll(list);
        };
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

    std::vector<Step> Fill()
    {
        return Steps(
            &Empty,
            [this] {
                m_program.Table().AddFiles(m_names);
                m_program.Finish();
            },
            [this] { m_bare.Fill(m_rows, true); });
    }

    std::vector<Step> Show()
    {
        WriteMapFile();
        return Steps(&Empty, Pressing(IDC_SHOW_MAP), [this] { m_bare.Fill(m_rows, false); });
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

    std::vector<Step> SelectRows()
    {
        return Steps(Filled(), Pressing(IDC_SELECT_ALL), [this] {
            const CBareRedrawPause pause(BareList());
            SelectAll(BareList());
        });
    }

    std::vector<Step> DeleteRows()
    {
        return Steps(FilledAndSelected(), Pressing(IDC_DELETE),
                     [this] { ListView_DeleteAllItems(BareList()); });
    }

    std::vector<Step> DeleteHalfTheRows()
    {
        const Preparation prepare = [this](HWND list) {
            FillAll(list);
            SelectEverySecond(list);
        };
        return Steps(prepare, Pressing(IDC_DELETE), [this] { DeleteBareRows(); });
    }

    // Deletes from the end, so that fewer rows have to move up.
    void DeleteBareRows() const
    {
        const CBareRedrawPause pause(BareList());
        for (int row = ListView_GetItemCount(BareList()) - 1; row >= 0; --row) {
            if (ListView_GetItemState(BareList(), row, LVIS_SELECTED) != 0) {
                ListView_DeleteItem(BareList(), row);
            }
        }
    }

    std::vector<Step> MarkRows()
    {
        return Steps(FilledAndSelected(), Pressing(IDC_MARK), [this] {
            const CBareRedrawPause pause(BareList());
            for (int row = -1; (row = NextSelected(row)) != -1;) {
                SetBareMark(BareList(), row, true);
            }
        });
    }

    [[nodiscard]] int NextSelected(int row) const
    {
        return ListView_GetNextItem(BareList(), row, LVNI_SELECTED);
    }

    std::vector<Step> Apply(int column)
    {
        static_cast<void>(WriteTemplate(column, L"%5%3_%4_%7%8.new.%6"));  // changes every text
        const auto made = std::make_shared<const std::vector<UTtab_entry>>(RowsAfterApplying(column));
        std::vector<Step> steps = Steps(
            FilledAndSelected(), [this, column] { m_program.ApplyTemplate(column); },
            [this, column, made] { ApplyBare(column, *made, [] {}); });
        steps.push_back(MakeStep(BareList(), FilledAndSelected(), [this, column, made] {
            ApplyBare(column, *made, [column] { BareTemplate(column); });
        }));
        return steps;
    }

    // The rows that the program makes from the template. The baselines set the texts of these rows.
    [[nodiscard]] std::vector<UTtab_entry> RowsAfterApplying(int column) const
    {
        FilledAndSelected()(List());
        m_program.ApplyTemplate(column);
        return m_program.Rows();
    }

    // For each row, reads the two texts that the program reads, then sets the new text and the mark.
    void ApplyBare(int column, const std::vector<UTtab_entry>& made, const Work& before) const
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
        for (const UTtab_entry& row : m_changedRows) {
            AppendTableRow(text, {row.strOriginal, row.strRenamed, row.strBomName}, separator);
        }
        return text;
    }

    // Sends only the messages that set these BOM names and marks.
    void SetBareBomNames(const std::vector<UTtab_entry>& rows, bool pending) const
    {
        const CBareRedrawPause pause(BareList());
        for (std::size_t row = 0; row < rows.size(); ++row) {
            SetBareText(BareList(), static_cast<int>(row), kColumnBomName, rows[row].strBomName);
            SetBareMark(BareList(), static_cast<int>(row), pending);
        }
    }

    [[nodiscard]] Work ChangingBareRows() const
    {
        return [this] { SetBareBomNames(m_changedRows, true); };
    }

    std::vector<Step> Import()
    {
        g_tableToPick = m_folder / L"table.csv";
        WriteTableFile(g_tableToPick, ChangedText(L';'));
        return Steps(Filled(), Pressing(IDM_IMPORT), ChangingBareRows());
    }

    void CopyChangedText() const
    {
        if (!WriteClipboard(m_program.Window(), ChangedText(kTab))) {
            throw std::runtime_error("the clipboard is in use");
        }
    }

    std::vector<Step> Paste()
    {
        CopyChangedText();
        return Steps(Filled(), Pressing(IDM_PASTE), ChangingBareRows());
    }

    std::vector<Step> Undo()
    {
        CopyChangedText();
        const Preparation pasted = [this](HWND list) {
            FillAll(list);
            m_program.Press(IDM_PASTE);
        };
        const Preparation changed = [this](HWND list) {
            Empty(list);
            FillBare(list, m_changedRows, true);
        };
        return {MakeStep(List(), pasted, Pressing(IDM_UNDO)),
                MakeStep(BareList(), changed, [this] { SetBareBomNames(m_rows, false); })};
    }

    std::vector<Step> Redo()
    {
        CopyChangedText();
        const Preparation undone = [this](HWND list) {
            FillAll(list);
            m_program.Press(IDM_PASTE);
            m_program.Press(IDM_UNDO);
        };
        return {MakeStep(List(), undone, Pressing(IDM_REDO)),
                MakeStep(BareList(), Filled(), ChangingBareRows())};
    }

    // The bare side only reads the texts in which the program looks for names to check.
    std::vector<Step> UpdateStatus()
    {
        return Steps(
            Filled(),
            [this] {
                SendMessageW(m_program.Window(), WM_LISTCHANGED, 0, 0);
                m_program.Finish();
            },
            [this] {
                for (int row = 0; row < ListView_GetItemCount(BareList()); ++row) {
                    for (const int column : {kColumnOriginal, kColumnRenamed, kColumnBomName}) {
                        BareText(BareList(), row, column);
                    }
                }
            });
    }

    CTempFolder m_folder;
    CMeasuredDialog m_program{m_folder.Path()};
    CBareDialog m_bare;
    std::vector<std::wstring> m_names;
    std::vector<UTtab_entry> m_rows;         // with generated names
    std::vector<UTtab_entry> m_changedRows;  // with changed BOM names
    const std::map<std::wstring, std::function<std::vector<Step>()>> m_commands{
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
        std::fprintf(stderr, "usage: tablebench COMMAND ROWS ROUNDS TABLE.tsv\n");
        return 2;
    }
    return RunInApplication([arguments] {
        CTableBench(std::stoul(arguments[2]), arguments[4]).Measure(arguments[1], std::stoi(arguments[3]));
    });
}
