#include "core/SameNames.h"

#include <algorithm>

std::vector<SameName> FindSameNames(std::vector<NamedRow> rows, NameOrder compare)
{
    std::ranges::sort(rows, [compare](const NamedRow& left, const NamedRow& right) {
        const int order = compare(left.name, right.name);
        return order != 0 ? order < 0 : left.row < right.row;
    });
    std::vector<SameName> found;
    bool before = false;
    for (std::size_t at = 0; at < rows.size(); ++at) {
        const bool after = at + 1 < rows.size() && compare(rows[at].name, rows[at + 1].name) == 0;
        if (before || after) {
            found.push_back({rows[at].row, rows[before ? at - 1 : at + 1].row});
        }
        before = after;
    }
    return found;
}
