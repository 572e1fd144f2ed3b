#pragma once

#include <string>
#include <vector>

#include "core/SameNames.h"
#include "files/MapLine.h"
#include "run/RunRecord.h"

// What depends on the system: the code page and the comparison of file names.
struct FindingRules
{
    MapEncoder encoder;  // of the map file's code page
    MapDecoder decode;   // the same
    NameOrder compareNames;
};

// Why each row of a run needs attention, as sentences in the language of the process; none for a row that
// turned out as the user wants it. Takes n log n time for n rows.
using RunFindings = std::vector<std::vector<std::wstring>>;
[[nodiscard]] RunFindings FindingsOf(const RunRecord& run, const FindingRules& rules);
