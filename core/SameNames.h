#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/NameRules.h"

// Two rows whose copies would be the same file.
struct SameName
{
    std::size_t row = 0;
    std::size_t otherRow = 0;
};

// Finds the rows that share a new name. Stores a hash of each name, not the name: tables are large, and few
// names occur twice.
class CSameNames
{
public:
    // rows: how many rows to expect.
    CSameNames(NameFolding fold, std::size_t rows) : m_fold(fold) { m_hashes.reserve(rows); }

    void Add(std::size_t row, std::wstring_view name);

    // Returns each row that shares its name with other rows, together with one of the other rows. `nameOf`
    // returns the name with which a row was added. Takes n log n time.
    [[nodiscard]] std::vector<SameName> Find(const std::function<std::wstring(std::size_t row)>& nameOf);

private:
    NameFolding m_fold;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_hashes;  // of the folded name, and the row
};
