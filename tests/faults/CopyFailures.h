#pragma once

#include <cstddef>
#include <string>

#include "tests/faults/FaultBench.h"

// The messages about errors when copying a row's file, with "*" for the system's error text.
std::wstring SourceFailure(const CFaultBench& bench, std::size_t row);
std::wstring TargetFailure(const CFaultBench& bench, std::size_t row);
std::wstring CopyingFailure(const CFaultBench& bench, std::size_t row);

// Expects that the copy holds the beginning of the source, as after an interrupted copy, and that it is
// read-only or not, as given. Deletes the copy and returns its size in bytes.
std::size_t RemovePartialCopy(const std::wstring& source, const std::wstring& copy, bool readOnly = true);
