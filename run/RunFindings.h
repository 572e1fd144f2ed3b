#pragma once

#include <string>
#include <vector>

#include "core/NameRules.h"
#include "files/MapLine.h"
#include "run/RunRecord.h"

// What depends on the system: the code page and which file names are equal.
struct FindingRules
{
    MapEncoder encoder;  // of the map file's code page
    MapDecoder decode;   // of the same code page
    NameFolding foldName;
};

// Why a row needs attention, as sentences in the language of the process.
struct RowFindings
{
    // The row was not converted, or perhaps not completely.
    std::vector<std::wstring> errors;
    // The row's copy or its record may not be as the user wants it. A row may have errors, too.
    std::vector<std::wstring> warnings;

    [[nodiscard]] bool HasFailed() const { return !errors.empty(); }
    [[nodiscard]] bool IsOnlyWarnedAbout() const { return errors.empty() && !warnings.empty(); }
    [[nodiscard]] bool NeedsAttention() const { return !errors.empty() || !warnings.empty(); }
};

// One element for each row of the run. FindingsOf takes n log n time for n rows.
using RunFindings = std::vector<RowFindings>;
[[nodiscard]] RunFindings FindingsOf(const RunRecord& run, const FindingRules& rules);
