#pragma once

#include <chrono>
#include <cstdio>

// The shortest of several timed runs of f, in seconds: the least disturbed by the machine.
template <typename F> double bestSeconds(int runs, F&& f)
{
    double best = 1e300;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        f();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        if (took.count() < best)
            best = took.count();
    }
    return best;
}

inline void printFigure(const char* name, double value)
{
    std::printf("figure %s %.6g\n", name, value);
    std::fflush(stdout);
}
