#pragma once

#include <string>

// Reports something on this machine that a test cannot undo or must not touch: on standard error, and to the
// handler. The handler makes the current test fail or, after the last test, the whole run. Destructors may
// call it: it does not throw.
void ReportProblem(const std::string& text);

// At first there is no handler.
void SetProblemHandler(void (*handler)(const std::string& text));
