#include "core/TableHistory.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace {

using Rows = std::vector<TableRow>;

std::size_t BytesOf(const std::wstring& text)
{
    return sizeof(wchar_t) * (text.capacity() + 1);
}

std::size_t BytesOf(const Rows& rows)
{
    return std::accumulate(rows.begin(), rows.end(), std::size_t{0},
                           [](std::size_t sum, const TableRow& row) {
                               return sum + sizeof row + BytesOf(row.texts.strOriginal) +
                                      BytesOf(row.texts.strRenamed) + BytesOf(row.texts.strBomName);
                           });
}

// The approximate memory of a step; most of it is texts.
std::size_t BytesOf(const TableStep& step)
{
    const std::size_t ranges = step.before.selection.rows.size() + step.after.selection.rows.size();
    std::size_t bytes = sizeof step + ranges * sizeof(TableSelection::Range);
    for (const RowSplice& splice : step.splices) {
        bytes += sizeof splice + BytesOf(splice.removed) + BytesOf(splice.inserted);
    }
    return bytes;
}

// Returns the splice for changes at this row: the last splice if it ends right before the row, otherwise a
// new one. `end`: the row after the last splice.
RowSplice& SpliceAt(std::vector<RowSplice>& splices, int row, int end)
{
    if (splices.empty() || end != row) {
        splices.push_back({row, {}, {}});
    }
    return splices.back();
}

// Finds the insertions that turn `before` into `after`. Returns false when insertions alone do not suffice.
bool FindInsertions(const Rows& before, Rows& after, std::vector<RowSplice>& splices)
{
    std::vector<std::size_t> inserted;
    auto next = before.begin();
    for (std::size_t row = 0; row < after.size(); ++row) {
        if (next != before.end() && *next == after[row]) {
            ++next;
        } else {
            inserted.push_back(row);
        }
    }
    if (next != before.end()) {
        return false;
    }
    int end = 0;
    for (const std::size_t row : inserted) {
        SpliceAt(splices, static_cast<int>(row), end).inserted.push_back(std::move(after[row]));
        end = static_cast<int>(row) + 1;
    }
    return true;
}

Rows Middle(Rows& rows, std::size_t top, std::size_t bottom)
{
    return {std::make_move_iterator(rows.begin() + static_cast<std::ptrdiff_t>(top)),
            std::make_move_iterator(rows.end() - static_cast<std::ptrdiff_t>(bottom))};
}

}  // namespace

std::vector<RowSplice> CompareTables(Rows before, Rows after)
{
    std::vector<RowSplice> splices;
    if (FindInsertions(before, after, splices)) {
        return splices;
    }
    const auto top = static_cast<std::size_t>(std::ranges::mismatch(before, after).in1 - before.begin());
    const std::size_t most = std::min(before.size(), after.size()) - top;
    std::size_t bottom = 0;
    while (bottom < most && before[before.size() - 1 - bottom] == after[after.size() - 1 - bottom]) {
        ++bottom;
    }
    splices.push_back({static_cast<int>(top), Middle(before, top, bottom), Middle(after, top, bottom)});
    return splices;
}

std::vector<RowSplice> ReplacedRows(const std::vector<int>& rows, Rows before, Rows after)
{
    std::vector<RowSplice> splices;
    int end = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (before[i] != after[i]) {
            RowSplice& splice = SpliceAt(splices, rows[i], end);
            splice.removed.push_back(std::move(before[i]));
            splice.inserted.push_back(std::move(after[i]));
            end = rows[i] + 1;
        }
    }
    return splices;
}

std::vector<RowSplice> RemovedRows(const std::vector<int>& rows, Rows before)
{
    std::vector<RowSplice> splices;
    int end = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const int at = rows[i] - static_cast<int>(i);  // the rows removed so far were above
        SpliceAt(splices, at, end).removed.push_back(std::move(before[i]));
        end = at;
    }
    return splices;
}

void Invert(TableStep& step)
{
    int moved = 0;
    for (RowSplice& splice : step.splices) {
        splice.at -= moved;
        moved += Growth(splice);
        std::swap(splice.removed, splice.inserted);
    }
    std::swap(step.before, step.after);
}

void CTableHistory::Add(TableStep step)
{
    for (const Entry& entry : m_redo) {
        m_bytes -= entry.bytes;
    }
    m_redo.clear();
    Invert(step);
    const std::size_t bytes = BytesOf(step);
    m_undo.push_back({std::move(step), bytes});
    m_bytes += bytes;
    while (m_undo.size() > m_maxSteps || m_bytes > m_maxBytes) {
        m_bytes -= m_undo.front().bytes;
        m_undo.pop_front();
    }
}

void CTableHistory::Move(std::deque<Entry>& from, std::deque<Entry>& to, const ViewStatus& viewBefore)
{
    Entry entry = std::move(from.back());
    from.pop_back();
    entry.step.before.view = viewBefore;
    Invert(entry.step);
    to.push_back(std::move(entry));
}

void CTableHistory::Clear()
{
    m_undo.clear();
    m_redo.clear();
    m_bytes = 0;
}
