#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "core/UTtabEntry.h"

// A row of the conversion table with its mark.
struct TableRow
{
    UTtab_entry texts;
    bool pending = true;

    bool operator==(const TableRow&) const = default;
};

// Consecutive rows that are replaced by others.
struct RowSplice
{
    int at = 0;  // the first row, in the table as the splices before have left it
    std::vector<TableRow> removed;
    std::vector<TableRow> inserted;

    bool operator==(const RowSplice&) const = default;
};

// By how many rows a splice moves the rows below it down.
[[nodiscard]] inline int Growth(const RowSplice& splice)
{
    return static_cast<int>(splice.inserted.size()) - static_cast<int>(splice.removed.size());
}

// Selected rows, as ranges with both ends included, and the row with the focus; -1 for none.
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

// What the caption says of the table.
struct ViewStatus
{
    bool mapView = false;
    bool changed = false;

    bool operator==(const ViewStatus&) const = default;
};

// One change of the table, with all that lets it be made and taken back.
struct TableStep
{
    struct Situation
    {
        int rows = 0;
        TableSelection selection;
        ViewStatus view;

        bool operator==(const Situation&) const = default;
    };

    std::vector<RowSplice> splices;  // from the top
    Situation before;
    Situation after;

    bool operator==(const TableStep&) const = default;
};

// Returns the splices that turn one table into the other. Rows that were only inserted, such as files added
// to a sorted table, are found one by one; otherwise everything between the first and the last difference is
// replaced.
[[nodiscard]] std::vector<RowSplice> CompareTables(std::vector<TableRow> before, std::vector<TableRow> after);

// Returns the splices for rows, given from the top, that were replaced in their places. Equal ones are left
// out.
[[nodiscard]] std::vector<RowSplice> ReplacedRows(const std::vector<int>& rows, std::vector<TableRow> before,
                                                  std::vector<TableRow> after);

// Returns the splices for rows, given from the top, that were removed.
[[nodiscard]] std::vector<RowSplice> RemovedRows(const std::vector<int>& rows, std::vector<TableRow> before);

// Turns a step into the one that takes it back.
void Invert(TableStep& step);

// The changes that can be taken back and made again, the oldest of which are dropped at the limits.
class CTableHistory
{
public:
    static constexpr std::size_t kMaxSteps = 100;
    static constexpr std::size_t kMaxBytes = std::size_t{64} * 1024 * 1024;

    explicit CTableHistory(std::size_t maxSteps = kMaxSteps, std::size_t maxBytes = kMaxBytes)
        : m_maxSteps(maxSteps), m_maxBytes(maxBytes)
    {
    }

    // Adds a change that was made. What was taken back before can no longer be made again.
    void Add(TableStep step);

    [[nodiscard]] bool CanUndo() const { return !m_undo.empty(); }
    [[nodiscard]] bool CanRedo() const { return !m_redo.empty(); }

    // The step that takes the last change back, or makes it again. There must be one.
    [[nodiscard]] const TableStep& UndoStep() const { return m_undo.back().step; }
    [[nodiscard]] const TableStep& RedoStep() const { return m_redo.back().step; }

    // To be called when that step was made. `viewBefore`: the view status before it, restored by its inverse.
    void NoteUndone(const ViewStatus& viewBefore) { Move(m_undo, m_redo, viewBefore); }
    void NoteRedone(const ViewStatus& viewBefore) { Move(m_redo, m_undo, viewBefore); }

    void Clear();

private:
    struct Entry
    {
        TableStep step;  // the one to be made next
        std::size_t bytes;
    };

    static void Move(std::deque<Entry>& from, std::deque<Entry>& to, const ViewStatus& viewBefore);

    std::deque<Entry> m_undo;  // the last change at the back
    std::deque<Entry> m_redo;  // the next change at the back
    std::size_t m_bytes = 0;   // of both
    std::size_t m_maxSteps;
    std::size_t m_maxBytes;
};
