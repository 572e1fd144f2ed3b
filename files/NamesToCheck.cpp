#include "files/NamesToCheck.h"

#include <algorithm>
#include <numeric>

namespace {

std::vector<int> SortedByNewName(const std::vector<UTtab_entry>& rows, NameOrder compare)
{
    std::vector<int> sorted(rows.size());
    std::iota(sorted.begin(), sorted.end(), 0);
    const auto name = [&](int row) -> const std::wstring& {
        return rows[static_cast<std::size_t>(row)].strRenamed;
    };
    std::ranges::sort(sorted, [&](int left, int right) {
        const int order = compare(name(left), name(right));
        return order != 0 ? order < 0 : left < right;
    });
    return sorted;
}

// Each row of a group with the same name points to its neighbour.
void AddSameCopies(std::vector<NameToCheck>& found, const std::vector<UTtab_entry>& rows, NameOrder compare)
{
    const std::vector<int> sorted = SortedByNewName(rows, compare);
    const auto same = [&](std::size_t left, std::size_t right) {
        return compare(rows[static_cast<std::size_t>(sorted[left])].strRenamed,
                       rows[static_cast<std::size_t>(sorted[right])].strRenamed) == 0;
    };
    bool before = false;
    for (std::size_t at = 0; at < sorted.size(); ++at) {
        const bool after = at + 1 < sorted.size() && same(at, at + 1);
        if (before || after) {
            found.push_back({sorted[at], NameProblem::sameCopy, sorted[before ? at - 1 : at + 1]});
        }
        before = after;
    }
}

}  // namespace

std::vector<NameToCheck> FindNamesToCheck(const std::vector<UTtab_entry>& rows, const MapEncoder& encoder,
                                          NameOrder compare)
{
    std::vector<NameToCheck> found;
    AddSameCopies(found, rows, compare);
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (FormatMapRecord(rows[row], encoder).size() > kMapLineMaxBytes) {
            found.push_back({static_cast<int>(row), NameProblem::longRecord, -1});
        }
    }
    std::ranges::stable_sort(found, {}, &NameToCheck::row);
    const auto sameRow = [](const NameToCheck& left, const NameToCheck& right) {
        return left.row == right.row;
    };
    found.erase(std::unique(found.begin(), found.end(), sameRow), found.end());
    return found;
}
