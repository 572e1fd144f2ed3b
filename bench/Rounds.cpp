#include "bench/Rounds.h"

#include <cstddef>
#include <cstdio>

std::vector<double> RunRound(int round, const std::vector<Step>& steps)
{
    const bool reverse = round % 2 != 0;
    std::vector<double> seconds(steps.size());
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const std::size_t index = reverse ? steps.size() - 1 - i : i;
        seconds[index] = steps[index]();
    }
    return seconds;
}

void PrintRound(const std::vector<double>& seconds)
{
    for (std::size_t i = 0; i < seconds.size(); ++i) {
        std::printf("%.6f%c", seconds[i], i + 1 < seconds.size() ? '\t' : '\n');
    }
}
