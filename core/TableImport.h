#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/NameRules.h"
#include "core/UTtabEntry.h"

// Finds what a text with new names changes in the conversion table.

struct NameCase
{
    NameComparison equal;
    NameFolding fold;  // maps equal names to equal texts
};

// The new file name and the BOM name of a row.
struct RowNames
{
    int row = 0;
    std::wstring renamed;
    std::wstring bomName;

    bool operator==(const RowNames&) const = default;
};

// What a text changes in the table.
struct TableImport
{
    std::vector<RowNames> changes;  // the rows that change, from the top, with their new names
    int unknown = 0;                // rows of the text that are not in the table
    int notUnique = 0;              // rows that keep their names because the new file name is not unique
    int ambiguous = 0;              // rows not changed: name twice in the table, or with two sets in the text
    int cleaned = 0;                // cells in which characters were replaced

    bool operator==(const TableImport&) const = default;
};

// Compares a text (see CTableReader) with the rows of the table. The first column identifies the row by its
// original name: exact, or else as the file system compares names. If no row has the name, it is trimmed and
// looked up again. The second and third columns are treated like edits of the row's two names. Further
// columns are ignored, and a missing cell changes nothing. A first row with the table's header is skipped.
[[nodiscard]] TableImport ImportTable(const std::vector<UTtab_entry>& rows, std::wstring_view text,
                                      const NameCase& names);
