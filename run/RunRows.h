#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "cad/ProgressView.h"
#include "core/UTtabEntry.h"

// What became of a row.
enum class RowOutcome : std::uint8_t
{
    copied,        // and recorded in the map file
    recordedOnly,  // was not pending
    notCopied,
    notRecorded,  // the map file could not be written; a pending row's file has been copied
    notReached    // the run ended before this row
};

// What SOLIDWORKS did with one copy. The numbers come from the automation interface.
struct CadRecord
{
    CadStep step = CadStep::opening;  // the step begun last
    bool opened = false;              // there is a document, and the code allows using it
    long openCode = 0;
    long configurations = 0;                        // as SOLIDWORKS counts them; may be negative
    int written = 0;                                // configurations
    std::optional<long> saveResult = std::nullopt;  // none if not saved, or if Save returned no number
    bool failed = false;                            // a call of `step` failed

    bool operator==(const CadRecord&) const = default;
};

struct RunRow
{
    UTtab_entry entry;    // as the table had it
    bool pending = true;  // as the table had it, too
    RowOutcome outcome = RowOutcome::notReached;
    bool cadReloaded = false;                     // SOLIDWORKS was loaded again after a failed call
    bool cadLost = false;                         // SOLIDWORKS could not be loaded again
    bool givenUp = false;                         // a stalled call was given up
    std::optional<CadRecord> cad = std::nullopt;  // none when SOLIDWORKS had nothing to do with the row
    std::vector<std::wstring> unwritten;          // names of the configurations whose BOM name is not written
    std::wstring reason;  // why the row was not copied or recorded, or the failed call's error
    std::chrono::milliseconds duration{};

    bool operator==(const RunRow&) const = default;
};

// The rows of a run, packed into one sequence of bytes: a library has many thousands of rows, and most of
// them hold little besides their names.
class CRunRows
{
public:
    [[nodiscard]] std::size_t size() const { return m_begins.size(); }
    void push_back(const RunRow& row);
    // Throws std::out_of_range when there is no such row.
    [[nodiscard]] RunRow at(std::size_t row) const;

private:
    std::deque<std::uint8_t> m_bytes;  // grows without moving
    std::deque<std::size_t> m_begins;  // of each row
};
