#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

// What happens, one line each, which the self-check reads.

// A call: its name, the result code, the time it took, and what was seen.
void LogCall(const std::string& name, HRESULT status, ULONGLONG began, const std::string& seen = {});

// An expectation of docs/windows.md and whether it was found.
void LogFinding(const std::string& id, const char* found, const std::string& detail);

// Something that failed and belongs to no expectation.
void LogFailure(const std::string& what);
