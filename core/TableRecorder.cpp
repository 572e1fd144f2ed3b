#include "core/TableRecorder.h"

#include <numeric>
#include <utility>

namespace {

TableSelection ReadSelection(const CConversionTable& table)
{
    TableSelection selection;
    for (const int row : table.SelectedRows()) {
        if (selection.rows.empty() || selection.rows.back().last + 1 != row) {
            selection.rows.push_back({row, row});
        }
        selection.rows.back().last = row;
    }
    selection.focused = table.GetNextItem(-1, LVNI_FOCUSED);
    return selection;
}

// Restores a selection, unless the table already has it: reading the selection is faster than setting the
// state of every row.
void Select(const CConversionTable& table, const TableSelection& selection)
{
    constexpr int kEveryRow = -1;
    if (ReadSelection(table) == selection) {
        return;
    }
    table.SetItemState(kEveryRow, 0, LVIS_SELECTED | LVIS_FOCUSED);
    for (const TableSelection::Range& range : selection.rows) {
        for (int row = range.first; row <= range.last; ++row) {
            table.SetItemState(row, LVIS_SELECTED, LVIS_SELECTED);
        }
    }
    if (selection.focused != -1) {
        table.SetItemState(selection.focused, LVIS_FOCUSED, LVIS_FOCUSED);
    }
}

// Whether the table, before any splice of the step is made, holds the rows that this splice removes. `moved`:
// by how many rows the earlier splices will move them down.
bool Holds(const CConversionTable& table, const RowSplice& splice, int moved)
{
    int row = splice.at - moved;
    for (const TableRow& each : splice.removed) {
        if (table.GetMarkedRow(row++) != each) {
            return false;
        }
    }
    return true;
}

}  // namespace

void CTableRecorder::EditRows(const std::vector<int>& rows, const Change& change)
{
    TableStep::Situation before = Situation();
    std::vector<TableRow> rowsBefore = Read(rows);
    change();
    Add(ReplacedRows(rows, std::move(rowsBefore), Read(rows)), std::move(before));
}

void CTableRecorder::DeleteSelected(const Change& change)
{
    TableStep::Situation before = Situation();
    const std::vector<int> rows = m_table.SelectedRows();
    std::vector<TableRow> rowsBefore = Read(rows);
    change();
    Add(RemovedRows(rows, std::move(rowsBefore)), std::move(before));
}

void CTableRecorder::ChangeRows(const Change& change)
{
    TableStep::Situation before = Situation();
    std::vector<TableRow> rowsBefore = ReadAll();
    change();
    Add(CompareTables(std::move(rowsBefore), ReadAll()), std::move(before));
}

TableStep::Situation CTableRecorder::Situation() const
{
    return {m_table.GetItemCount(), ReadSelection(m_table), m_caption.GetViewStatus()};
}

std::vector<TableRow> CTableRecorder::Read(const std::vector<int>& rows) const
{
    std::vector<TableRow> read;
    read.reserve(rows.size());
    for (const int row : rows) {
        read.push_back(m_table.GetMarkedRow(row));
    }
    return read;
}

std::vector<TableRow> CTableRecorder::ReadAll() const
{
    std::vector<int> rows(static_cast<std::size_t>(m_table.GetItemCount()));
    std::iota(rows.begin(), rows.end(), 0);
    return Read(rows);
}

// Forgets the history if the row count does not fit the change: while a message box was open, another program
// may have added or deleted rows.
void CTableRecorder::Add(std::vector<RowSplice> splices, TableStep::Situation before)
{
    int rows = before.rows;
    for (const RowSplice& splice : splices) {
        rows += Growth(splice);
    }
    if (rows != m_table.GetItemCount()) {
        m_history.Clear();
    } else if (!splices.empty()) {
        m_history.Add({std::move(splices), std::move(before), Situation()});
    }
}

void CTableRecorder::Undo()
{
    if (CanUndo()) {
        Make(m_history.UndoStep(), &CTableHistory::NoteUndone);
    }
}

void CTableRecorder::Redo()
{
    if (CanRedo()) {
        Make(m_history.RedoStep(), &CTableHistory::NoteRedone);
    }
}

// Makes a step and scrolls to the first changed row. If the step does not fit the table, forgets the history
// instead. The view status before the step is read here, not when the change was recorded: WM_LISTCHANGED is
// posted, so the caption changes only after the recording.
void CTableRecorder::Make(const TableStep& step, void (CTableHistory::*note)(const ViewStatus&))
{
    if (!Fits(step)) {
        m_history.Clear();
        return;
    }
    const ViewStatus view = m_caption.GetViewStatus();
    {
        const CRedrawPause pause(m_table);
        for (const RowSplice& splice : step.splices) {
            m_table.Splice(splice);
        }
        Select(m_table, step.after.selection);
    }
    m_caption.SetViewStatus(step.after.view);
    m_table.ScrollIntoView(step.splices.front().at);
    (m_history.*note)(view);
}

bool CTableRecorder::Fits(const TableStep& step) const
{
    if (m_table.GetItemCount() != step.before.rows) {
        return false;
    }
    int moved = 0;
    for (const RowSplice& splice : step.splices) {
        if (!Holds(m_table, splice, moved)) {
            return false;
        }
        moved += Growth(splice);
    }
    return true;
}
