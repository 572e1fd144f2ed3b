#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "run/RunRows.h"

// How a run ended.
enum class RunEnd : std::uint8_t
{
    finished,
    cancelled,
    sessionEnded,  // the Windows session
    cadNotLoaded,  // at the start of the run, or after a failed call
    cadTooOld,     // the same
    mapFileNotOpened
};

// A point in local time.
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
    std::wstring cadYear;  // empty when files were copied only, or when no SOLIDWORKS version is registered
    bool copyOnly = false;
    LocalTime start;
    std::chrono::milliseconds duration{};  // up to the final message
    RunEnd end = RunEnd::finished;
    bool mapFileReplaced = false;  // the map file holds the rows of this run only
    int givenUpCalls = 0;          // stalled calls, from connecting to releasing SOLIDWORKS
    CRunRows rows;
};
