#ifndef PELKO_BENCH_MEASURING_H
#define PELKO_BENCH_MEASURING_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include "bench/Operations.h"
#include "bench/Sqlite.h"
#include "bench/Stopwatch.h"

namespace pelkobench {

/// Measures a reading operation. @param run returns whether it did the work
template <typename Run>
void measureReading(benchmark::State& state, Run&& run) {
    bool done = run();
    while (state.KeepRunning()) {
        done = run() && done;
    }
    if (!done) {
        state.SkipWithError("the operation did not return what it should");
    }
}

/// Times taken by hand. A medium answers now sooner, now many times later, whatever is asked of it: the
/// median of an operation's runs is told, and the mean processor time, which is what the work itself costs.
/// Both are in seconds.
class ManualTimes {
public:
    explicit ManualTimes(benchmark::State& state) : mState(state) {}

    /// Measures one iteration. @param pieces  the time is that of one of so many equal pieces of work
    template <typename Work>
    void measure(Work&& work, int pieces = 1) {
        double seconds = 0;
        mProcessorSeconds += processorSecondsFor([&] { seconds = secondsFor(work); }) / pieces;
        mState.SetIterationTime(seconds / pieces);
        mTimes.push_back(seconds / pieces);
    }

    void report() {
        const auto middle = mTimes.begin() + static_cast<std::ptrdiff_t>(mTimes.size() / 2);
        std::nth_element(mTimes.begin(), middle, mTimes.end());
        mState.counters["median"] = *middle;
        mState.counters["processor"] = mProcessorSeconds / static_cast<double>(mTimes.size());
    }

private:
    benchmark::State& mState;
    std::vector<double> mTimes;
    double mProcessorSeconds = 0;
};

/// How a competitor runs a writing operation on its connection.
template <typename Run, typename Begin, typename Commit>
struct Writer {
    sqlite3* db;
    const Restoring& restoring;
    Run run;  // of one variant; returns whether it did the work
    Begin begin;
    Commit commit;
};
template <typename Run, typename Begin, typename Commit>
Writer(sqlite3*, const Restoring&, Run, Begin, Commit) -> Writer<Run, Begin, Commit>;

/// Measures a writing operation by hand, so that putting the file back stays out of the time.
template <typename AnyWriter>
void measureWriting(benchmark::State& state, int variants, bool inBatches, AnyWriter&& writer) {
    const Restoring& restoring = writer.restoring;
    execute(writer.db, restoring.open);
    execute(writer.db, restoring.reset);
    bool done = inBatches || writer.run(0);
    int next = variants;
    ManualTimes times(state);
    while (state.KeepRunning()) {
        if (next == variants) {
            execute(writer.db, restoring.reset);
            next = 0;
        }
        if (!inBatches) {
            times.measure([&] { done = writer.run(next) && done; });
            ++next;
            continue;
        }
        const auto batch = [&] {
            writer.begin();
            for (; next < variants; ++next) {
                done = writer.run(next) && done;
            }
            writer.commit();
        };
        times.measure(batch, variants);
    }
    times.report();
    execute(writer.db, restoring.close);
    if (!done) {
        state.SkipWithError("the operation did not return what it should");
    }
}

}  // namespace pelkobench

#endif  // PELKO_BENCH_MEASURING_H
