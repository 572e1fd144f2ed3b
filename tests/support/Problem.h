#pragma once

#include <string>

// Reports what a test cannot undo on this machine: on standard error, and to the handler. The handler lets
// the test or the whole run fail. Called by destructors, which cannot throw.
void ReportProblem(const std::string& text);

// At first there is no handler.
void SetProblemHandler(void (*handler)(const std::string& text));
