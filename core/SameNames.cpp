#include "core/SameNames.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace {

// A folded name and its row.
using NamedRow = std::pair<std::wstring, std::size_t>;

// `rows`: sorted.
void AddNeighbours(std::vector<SameName>& found, std::span<const NamedRow> rows)
{
    bool before = false;
    for (std::size_t at = 0; at < rows.size(); ++at) {
        const bool after = at + 1 < rows.size() && rows[at].first == rows[at + 1].first;
        if (before || after) {
            found.push_back({rows[at].second, rows[before ? at - 1 : at + 1].second});
        }
        before = after;
    }
}

}  // namespace

void CSameNames::Add(std::size_t row, std::wstring_view name)
{
    const std::size_t hash = std::hash<std::wstring>()(m_fold(name));
    m_hashes.emplace_back(static_cast<std::uint32_t>(hash), static_cast<std::uint32_t>(row));
}

std::vector<SameName> CSameNames::Find(const std::function<std::wstring(std::size_t row)>& nameOf)
{
    std::ranges::sort(m_hashes);
    std::vector<SameName> found;
    for (auto first = m_hashes.begin(); first != m_hashes.end();) {
        const std::uint32_t hash = first->first;
        const auto end =
            std::find_if(first, m_hashes.end(), [hash](const auto& each) { return each.first != hash; });
        if (end - first > 1) {  // different names may share a hash
            std::vector<NamedRow> rows;
            std::transform(first, end, std::back_inserter(rows), [&](const auto& each) {
                return NamedRow(m_fold(nameOf(each.second)), each.second);
            });
            std::ranges::sort(rows);
            AddNeighbours(found, rows);
        }
        first = end;
    }
    return found;
}
