#include "files/NamesToCheck.h"

#include <algorithm>
#include <utility>

#include "core/SameNames.h"
#include "files/MapLine.h"

std::vector<NameToCheck> FindNamesToCheck(std::size_t rows, const RowReader& read, NameFolding fold)
{
    std::vector<NameToCheck> found;
    CSameNames names(fold, rows);
    UTtab_entry content;
    for (std::size_t row = 0; row < rows; ++row) {
        read(row, content);
        names.Add(row, content.strRenamed);
        if (MapRecordLength(content) > kMapLineMaxBytes) {
            found.push_back({static_cast<int>(row), NameProblem::longRecord, -1});
        }
    }
    const auto nameOf = [&](std::size_t row) {
        read(row, content);
        return content.strRenamed;
    };
    for (const SameName& same : names.Find(nameOf)) {
        found.push_back({static_cast<int>(same.row), NameProblem::sameCopy, static_cast<int>(same.otherRow)});
    }
    std::ranges::sort(found, [](const NameToCheck& left, const NameToCheck& right) {
        return std::pair(left.row, left.problem) < std::pair(right.row, right.problem);
    });
    const auto sameRow = [](const NameToCheck& left, const NameToCheck& right) {
        return left.row == right.row;
    };
    found.erase(std::unique(found.begin(), found.end(), sameRow), found.end());
    return found;
}
