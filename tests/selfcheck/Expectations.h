#pragma once

#include <span>
#include <string>

#include "tests/selfcheck/Finding.h"
#include "tests/selfcheck/TestResults.h"

// The checks of the expectations, by stage. Each id is that of a row of docs/windows.md that names the stage;
// tests/structure/check-expectations.py compares them.

// Stage 0: a look at the machine or at the program, which changes nothing.
struct Look
{
    const char* id;
    Finding (*look)();
};

// Stages 1 and 2: cases of a test program, as a pattern of GoogleTest.
struct Proof
{
    const char* id;
    const char* program;
    const char* cases;
};

// Stage 4: what a person does, and a question whose answer is "y" if the expectation is met.
struct Question
{
    const char* id;
    const char* doThis;
    const char* question;
};

[[nodiscard]] std::span<const Look> Looks();
[[nodiscard]] std::span<const Proof> Proofs();
[[nodiscard]] std::span<const Question> Questions();

// The patterns of a program's proofs, as a filter of GoogleTest.
[[nodiscard]] std::string FilterOf(const std::string& program);
