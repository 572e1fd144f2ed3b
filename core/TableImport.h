#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/NameRules.h"
#include "core/UTtabEntry.h"

// Returns a form of a file name that is the same for names that differ in case only. The caller passes it in:
// case is a matter of the file system.
using NameFolding = std::wstring (*)(std::wstring_view name);

struct NameCase
{
    NameComparison equal;
    NameFolding fold;  // maps equal names to equal texts
};

// The generated names of a row.
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
    int notUnique = 0;              // rows that keep their names, as another row would have the same new name
    int ambiguous = 0;              // rows not changed, as their original name comes more than once
    int cleaned = 0;                // cells in which characters were replaced

    bool operator==(const TableImport&) const = default;
};

// Compares a text (see CTableReader) with the rows of the table. The first column finds the row: by its exact
// name, or else by the file system's comparison. The second and third columns are taken like edits of the
// row's two names; further columns are ignored, and a missing cell changes nothing. A first row with the
// table's header is skipped.
[[nodiscard]] TableImport ImportTable(const std::vector<UTtab_entry>& rows, std::wstring_view text,
                                      const NameCase& names);
