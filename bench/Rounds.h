#pragma once

#include <functional>
#include <vector>

// Prepares a run of the program or of a baseline, then times the run. Returns the seconds of the run alone.
using Step = std::function<double()>;

// Runs the steps of a round: in the given order in even rounds, in reverse order in odd rounds. A run profits
// or suffers from what the run before it left in caches and memory; with alternating orders, this does not
// always affect the same side. Returns the seconds in the given order.
[[nodiscard]] std::vector<double> RunRound(int round, const std::vector<Step>& steps);

// Prints the seconds as a line, separated by tabs.
void PrintRound(const std::vector<double>& seconds);
