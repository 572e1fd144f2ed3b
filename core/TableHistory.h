#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "core/UTtabEntry.h"

// The undo history of the conversion table. A change is recorded as the rows before and after it.

// A row of the conversion table and its mark: pending or converted.
struct TableRow
{
    UTtab_entry texts;
    bool pending = true;

    bool operator==(const TableRow&) const = default;
};

// Consecutive rows and the rows that replace them.
struct RowSplice
{
    int at = 0;  // the first row, counted after the step's earlier splices
    std::vector<TableRow> removed;
    std::vector<TableRow> inserted;

    bool operator==(const RowSplice&) const = default;
};

// How many rows a splice adds; negative if it removes more.
[[nodiscard]] inline int Growth(const RowSplice& splice)
{
    return static_cast<int>(splice.inserted.size()) - static_cast<int>(splice.removed.size());
}

// Selected rows, as ranges with both ends included, and the focused row (-1: none).
struct TableSelection
{
    struct Range
    {
        int first;
        int last;

        bool operator==(const Range&) const = default;
    };

    std::vector<Range> rows;
    int focused = -1;

    bool operator==(const TableSelection&) const = default;
};

// What the caption says about the table.
struct ViewStatus
{
    bool mapView = false;
    bool changed = false;

    bool operator==(const ViewStatus&) const = default;
};

// One change of the table, with all that is needed to redo and to undo it.
struct TableStep
{
    struct Situation
    {
        int rows = 0;
        TableSelection selection;
        ViewStatus view;

        bool operator==(const Situation&) const = default;
    };

    std::vector<RowSplice> splices;  // in order, the top row first
    Situation before;
    Situation after;

    bool operator==(const TableStep&) const = default;
};

// Returns the splices that turn `before` into `after`. If rows were only inserted, as when files are added to
// a sorted table, each block of consecutive new rows is one splice. Otherwise a single splice replaces
// everything from the first to the last difference.
[[nodiscard]] std::vector<RowSplice> CompareTables(std::vector<TableRow> before, std::vector<TableRow> after);

// Returns the splices for rows that were replaced in place; `rows` is in ascending order. Unchanged rows are
// left out.
[[nodiscard]] std::vector<RowSplice> ReplacedRows(const std::vector<int>& rows, std::vector<TableRow> before,
                                                  std::vector<TableRow> after);

// Returns the splices for removed rows; `rows` are their numbers before the removal, in ascending order.
[[nodiscard]] std::vector<RowSplice> RemovedRows(const std::vector<int>& rows, std::vector<TableRow> before);

// Turns a step into its inverse.
void Invert(TableStep& step);

// The changes that can be undone and redone. Beyond the limits the oldest are dropped.
class CTableHistory
{
public:
    static constexpr std::size_t kMaxSteps = 100;
    static constexpr std::size_t kMaxBytes = std::size_t{64} * 1024 * 1024;

    explicit CTableHistory(std::size_t maxSteps = kMaxSteps, std::size_t maxBytes = kMaxBytes)
        : m_maxSteps(maxSteps), m_maxBytes(maxBytes)
    {
    }

    // Adds a change that was made. Changes undone before can no longer be redone.
    void Add(TableStep step);

    [[nodiscard]] bool CanUndo() const { return !m_undo.empty(); }
    [[nodiscard]] bool CanRedo() const { return !m_redo.empty(); }

    // Return the step that undoes the last change and the step that redoes the change undone last. UndoStep
    // requires CanUndo(), RedoStep requires CanRedo().
    [[nodiscard]] const TableStep& UndoStep() const { return m_undo.back().step; }
    [[nodiscard]] const TableStep& RedoStep() const { return m_redo.back().step; }

    // Call one of these after its step has been made. `viewBefore`: the view status before the step; the
    // inverse step restores it.
    void NoteUndone(const ViewStatus& viewBefore) { Move(m_undo, m_redo, viewBefore); }
    void NoteRedone(const ViewStatus& viewBefore) { Move(m_redo, m_undo, viewBefore); }

    void Clear();

private:
    struct Entry
    {
        TableStep step;  // undoes or redoes the change
        std::size_t bytes;
    };

    static void Move(std::deque<Entry>& from, std::deque<Entry>& to, const ViewStatus& viewBefore);

    std::deque<Entry> m_undo;  // the last change at the back
    std::deque<Entry> m_redo;  // the next change at the back
    std::size_t m_bytes = 0;   // of both
    std::size_t m_maxSteps;
    std::size_t m_maxBytes;
};
