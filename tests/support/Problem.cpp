#include "tests/support/Problem.h"

#include <cstdio>

namespace {

void (*g_handler)(const std::string& text) = nullptr;

}  // namespace

void ReportProblem(const std::string& text)
{
    std::fprintf(stderr, "%s\n", text.c_str());
    if (g_handler != nullptr) {
        g_handler(text);
    }
}

void SetProblemHandler(void (*handler)(const std::string& text))
{
    g_handler = handler;
}
