#ifndef PELKO_BENCH_COMPETITION_H
#define PELKO_BENCH_COMPETITION_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "bench/Dataset.h"
#include "bench/Operations.h"
#include "bench/Recording.h"

namespace pelkobench {

/// All operations on the files of one size, by every competitor. Each run opens its file, does the work once
/// unmeasured, measures, puts the file back and closes it.
class Competition {
public:
    /// @param workRoot  with files of that size, which are changed and put back
    Competition(const std::string& workRoot, int rows);

    /// Registers "<operation>/<competitor>/<rows>" for each.
    void registerBenchmarks();

private:
    using State = benchmark::State;

    void store(State& state, const Operation& operation);
    void floor(State& state, const Operation& operation);
    void handTuned(State& state, const Operation& operation);
    void tablesAlone(State& state, const Operation& operation);
    void parsing(State& state, const Operation& operation);
    void bare(State& state, const Operation& operation, sqlite3* db, int variants);

    void storeSetUp(State& state);
    void floorSetUp(State& state);
    void handTunedSetUp(State& state);
    void tablesAloneSetUp(State& state);
    void parsingSetUp(State& state);

    /// The statements of each variant of the operation, recorded when first asked for.
    const std::vector<Recording>& recordings(const Operation& operation);

    std::string mStoreFolder;
    std::string mStoreFile;
    std::string mTablesFile;
    std::string mHandTunedFile;
    Dataset mData;
    std::vector<Operation> mOperations;
    std::map<std::string, std::vector<Recording>> mRecordings;
};

}  // namespace pelkobench

#endif  // PELKO_BENCH_COMPETITION_H
