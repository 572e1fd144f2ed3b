#pragma once

#include <cstddef>
#include <functional>
#include <string>

// A row of the conversion table, as the parts map file holds it.
struct UTtab_entry
{
    std::wstring strOriginal;  // file name in the standard-parts folder
    std::wstring strRenamed;   // file name of the copy in the "Mapped" folder
    std::wstring strBomName;   // BOM name

    bool operator==(const UTtab_entry&) const = default;
};

// Reads the content of a row into an entry, which callers reuse for many rows to save allocations.
using RowReader = std::function<void(std::size_t row, UTtab_entry& entry)>;
