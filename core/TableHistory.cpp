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

// About what the step takes, mostly in its texts.
std::size_t BytesOf(const TableStep& step)
{
    const std::size_t ranges = step.before.selection.rows.size() + step.after.selection.rows.size();
    std::size_t bytes = sizeof step + ranges * sizeof(TableSelection::Range);
    for (const RowSplice& splice : step.splices) {
        bytes += sizeof splice + BytesOf(splice.removed) + BytesOf(splice.inserted);
    }
    return bytes;
}

// The insertions that make `after` of `before`; fails when other rows would have to change, too.
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
    for (const std::size_t row : inserted) {
        const bool follows =
            !splices.empty() &&
            static_cast<std::size_t>(splices.back().at) + splices.back().inserted.size() == row;
        if (!follows) {
            splices.push_back({static_cast<int>(row), {}, {}});
        }
        splices.back().inserted.push_back(std::move(after[row]));
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

void Invert(TableStep& step)
{
    int moved = 0;  // by how many rows the splices above move the ones below down
    for (RowSplice& splice : step.splices) {
        splice.at -= moved;
        moved += static_cast<int>(splice.inserted.size()) - static_cast<int>(splice.removed.size());
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
