#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

// Prints what happens, one line for each event. The self-check reads these lines.

// A call: its name, the result code, the time it took, and what was seen.
void LogCall(const std::string& name, HRESULT status, ULONGLONG began, const std::string& seen = {});

// An expectation of docs/windows.md, and whether it was met: "yes", "no" or "not tried".
void LogFinding(const std::string& id, const char* found, const std::string& detail);

// Something that failed and belongs to no expectation.
void LogFailure(const std::string& what);
