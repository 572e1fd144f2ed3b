#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cad/ProgressView.h"
#include "core/UTtabEntry.h"

// How a run ended.
enum class RunEnd : std::uint8_t
{
    finished,
    cancelled,
    sessionEnded,  // the Windows session
    cadNotLoaded,  // when loading SOLIDWORKS at the start or again
    cadTooOld,     // the same
    mapFileNotOpened
};

// What became of a row.
enum class RowOutcome : std::uint8_t
{
    copied,        // and recorded in the map file
    recordedOnly,  // was not pending
    notCopied,
    notRecorded,  // the map file could not be written; a pending row's file has been copied
    notReached    // the run ended before
};

// What SOLIDWORKS did with one copy. The numbers are the automation interface's.
struct CadRecord
{
    CadStep step = CadStep::opening;  // the last one that was begun
    bool opened = false;              // with a document and a code that allow to go on
    long openCode = 0;
    long configurations = 0;                        // as SOLIDWORKS counts them; may be negative
    int written = 0;                                // configurations
    std::optional<long> saveResult = std::nullopt;  // none when it was not saved, or Save returned no number
    bool failed = false;                            // a call of this step failed

    bool operator==(const CadRecord&) const = default;
};

struct RunRow
{
    UTtab_entry entry;  // as the table had it
    RowOutcome outcome = RowOutcome::notReached;
    bool cadReloaded = false;                     // after a failed call
    bool cadLost = false;                         // it could not be loaded again
    bool givenUp = false;                         // the user stopped waiting for a call
    std::optional<CadRecord> cad = std::nullopt;  // none when SOLIDWORKS had nothing to do with the row
    std::vector<std::wstring> unwritten;          // names of the configurations without their BOM name
    std::wstring reason;  // why it was not copied or recorded, or the failed call's error
    std::chrono::milliseconds duration{};
};

// A point in time by the user's clock.
struct LocalTime
{
    int year = 0;
    int month = 0;  // from 1
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// What became of every row in one run, in the order of the list.
struct RunRecord
{
    std::wstring folder;   // the standard-parts folder
    std::wstring cadYear;  // of the SOLIDWORKS version; empty when files were copied only
    bool copyOnly = false;
    LocalTime start;
    std::chrono::milliseconds duration{};  // up to the final message
    RunEnd end = RunEnd::finished;
    int givenUpCalls = 0;
    std::vector<RunRow> rows;
};
