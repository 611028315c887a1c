#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace Terrascope::Bench {

using Clock = std::chrono::steady_clock;

inline double Microseconds(Clock::duration time) {
    return std::chrono::duration<double, std::micro>(time).count();
}

/// Microseconds that one call of `work` takes.
template <typename Work>
double MicrosecondsOf(const Work& work) {
    const Clock::time_point start = Clock::now();
    work();
    return Microseconds(Clock::now() - start);
}

inline double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The n-th smallest of the values, counted from 1.
inline double Ranked(std::vector<double> values, std::size_t n) {
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(n - 1);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

inline void PrintHeader() {
    std::printf("%-56s %12s %12s %8s %8s\n", "microseconds for one", "ours", "raw", "ratio",
                "target");
}

/// One row: our way, the raw way, and how many times ours takes; `target` is the largest ratio that
/// is wanted. Nothing is judged here.
inline void PrintRow(const char* name, double ours, double raw, double target) {
    std::printf("%-56s %12.3f %12.3f %8.2f %8.2f\n", name, ours, raw, raw > 0 ? ours / raw : 0.0,
                target);
    std::fflush(stdout);
}

/// Runs ours and raw in turn, so that both see the same machine, and prints the medians per
/// operation. Each call of `ours` and `raw` does `operations` operations.
template <typename Ours, typename Raw>
void Compare(const char* name, double target, int runs, int operations, const Ours& ours,
             const Raw& raw) {
    std::vector<double> oursTimes;
    std::vector<double> rawTimes;
    for (int run = 0; run < runs; ++run) {
        oursTimes.push_back(MicrosecondsOf(ours) / operations);
        rawTimes.push_back(MicrosecondsOf(raw) / operations);
    }
    PrintRow(name, Median(oursTimes), Median(rawTimes), target);
}

/// Keeps the optimiser from dropping a result.
template <typename T>
void Use(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

}  // namespace Terrascope::Bench
