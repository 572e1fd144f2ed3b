#pragma once

#include <string>
#include <string_view>

#include "run/RunFindings.h"

// Returns the report of a run as one HTML page in UTF-8, in the language of the process. The page shows the
// rows with errors, the rows with warnings only, the run as a whole, and all rows. The page loads nothing,
// and its script only sorts the tables: without the script the page is complete, too. `findings` must be the
// findings of the run. The time is linear in the number of rows.
[[nodiscard]] std::string RunReportPage(const RunRecord& run, const RunFindings& findings,
                                        std::wstring_view programVersion);

// Appends a text to HTML in UTF-8, for an element or a quoted attribute. Control characters and unpaired
// surrogates, which HTML cannot hold, are replaced with visible signs.
void AppendHtml(std::string& html, std::wstring_view text);
