#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

// Prints what happens, one line each: the name, the result code, the time it took, and what was seen. The
// self-check reads the lines.
void LogCall(const std::string& name, HRESULT status, ULONGLONG began, const std::string& seen = {});

// An expectation of docs/windows.md and whether it was found.
void LogFinding(const std::string& id, const char* found, const std::string& detail);
