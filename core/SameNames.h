#pragma once

#include <string>
#include <string_view>
#include <vector>

// A row and its new name.
struct NamedRow
{
    std::wstring name;
    std::size_t row = 0;
};

// Two rows whose copies would be the same file.
struct SameName
{
    std::size_t row = 0;
    std::size_t otherRow = 0;
};

// Compares two names as the file system does: negative, 0 or positive.
using NameOrder = int (*)(std::wstring_view left, std::wstring_view right);

// Returns each row that shares its name with other rows, together with one of the other rows; sorted by name.
// Takes n log n time.
[[nodiscard]] std::vector<SameName> FindSameNames(std::vector<NamedRow> rows, NameOrder compare);
