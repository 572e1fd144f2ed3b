#pragma once

#include <string>

// One row of the conversion table in the form that the parts map file holds.
struct UTtab_entry
{
    std::wstring strOriginal;  // file name in the standard-parts folder
    std::wstring strRenamed;   // file name of the copy in the "Mapped" folder
    std::wstring strBomName;   // name written as the bill-of-materials entry

    bool operator==(const UTtab_entry&) const = default;
};
