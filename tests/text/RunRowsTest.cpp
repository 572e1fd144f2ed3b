#include "run/RunRows.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

RunRow FullRow()
{
    RunRow row;
    row.entry = {L"N_1_M8.sldprt", L"Größe\u20AC.sldprt", std::wstring(1, L'\xD83D') + L"\uFFFF %2"};
    row.pending = false;
    row.outcome = RowOutcome::notRecorded;
    row.cadReloaded = true;
    row.cadLost = true;
    row.givenUp = true;
    row.unwritten = {L"M8", L"", L"M10"};
    row.reason = std::wstring(300, L'x');
    row.duration = std::chrono::milliseconds(86'400'000);
    CadRecord cad;
    cad.step = CadStep::saving;
    cad.opened = true;
    cad.openCode = std::numeric_limits<std::int32_t>::min();
    cad.configurations = std::numeric_limits<std::int32_t>::max();
    cad.written = 127;
    cad.saveResult = -1;
    cad.failed = true;
    row.cad = cad;
    return row;
}

TEST(RunRows, ReturnsEachRowAsItWas)
{
    RunRow named;
    named.entry = {L"a.sldprt", L"b.sldprt", L"Norm"};
    named.outcome = RowOutcome::copied;
    RunRow withoutResult = FullRow();
    withoutResult.cad->saveResult.reset();
    withoutResult.cad->openCode = 128;
    withoutResult.cad->failed = false;
    const std::vector<RunRow> rows{{}, FullRow(), named, withoutResult, FullRow()};
    CRunRows packed;
    for (const RunRow& row : rows) {
        packed.push_back(row);
    }
    ASSERT_EQ(packed.size(), rows.size());
    for (std::size_t row = 0; row < rows.size(); ++row) {
        EXPECT_EQ(packed.at(row), rows[row]) << row;
    }
    EXPECT_THROW(static_cast<void>(packed.at(rows.size())), std::out_of_range);
}

}  // namespace
