#ifndef PELKO_BENCH_STOPWATCH_H
#define PELKO_BENCH_STOPWATCH_H

#include <chrono>
#include <ctime>

namespace pelkobench {

/// Seconds that the work takes.
template <typename Work>
double secondsFor(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Seconds of processor time that the work takes: what it waits for is left out.
template <typename Work>
double processorSecondsFor(Work&& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

}  // namespace pelkobench

#endif  // PELKO_BENCH_STOPWATCH_H
