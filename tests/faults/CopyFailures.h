#pragma once

#include <cstddef>
#include <string>

#include "tests/faults/FaultBench.h"

// The messages about the copying of a row's file, with "*" for the system's words.
std::wstring SourceFailure(const CFaultBench& bench, std::size_t row);
std::wstring TargetFailure(const CFaultBench& bench, std::size_t row);
std::wstring CopyingFailure(const CFaultBench& bench, std::size_t row);

// What the copying of a file leaves that failed on the way: its beginning. Puts it out of the way and answers
// how long it is.
std::size_t TakePartOf(const std::wstring& source, const std::wstring& copy);
