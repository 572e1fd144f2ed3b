#pragma once

#include <cstddef>
#include <vector>

#include "core/NameRules.h"
#include "core/UTtabEntry.h"

// Why the names of a row need the user's attention, although the rules allow them.
enum class NameProblem
{
    sameCopy,  // another row's copy has the same name, letter case aside: the later copy replaces the earlier
    longRecord  // the record is so long that the map file's reader stops at it
};

struct NameToCheck
{
    int row = 0;
    NameProblem problem = NameProblem::sameCopy;
    int otherRow = -1;  // the other row with the same copy, if that is the problem

    bool operator==(const NameToCheck&) const = default;
};

// Returns the rows to check, from the top. A row with both problems is returned once, with sameCopy. Takes
// n log n time.
[[nodiscard]] std::vector<NameToCheck> FindNamesToCheck(std::size_t rows, const RowReader& read,
                                                        NameFolding fold);
