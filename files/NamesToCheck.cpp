#include "files/NamesToCheck.h"

#include <algorithm>
#include <utility>

namespace {

void AddSameCopies(std::vector<NameToCheck>& found, const std::vector<UTtab_entry>& rows, NameOrder compare)
{
    std::vector<NamedRow> names;
    names.reserve(rows.size());
    for (const UTtab_entry& row : rows) {
        names.push_back({row.strRenamed, names.size()});
    }
    for (const SameName& same : FindSameNames(std::move(names), compare)) {
        found.push_back({static_cast<int>(same.row), NameProblem::sameCopy, static_cast<int>(same.otherRow)});
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
