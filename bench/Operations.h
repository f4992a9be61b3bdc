#ifndef PELKO_BENCH_OPERATIONS_H
#define PELKO_BENCH_OPERATIONS_H

#include <functional>
#include <string>
#include <vector>

#include "bench/Dataset.h"
#include "bench/HandTuned.h"
#include "bench/Recording.h"
#include "classes/storage/PelkoDBManager.h"

namespace pelkobench {

/// Statements that put a file back to where an operation found it, run outside the time that is measured.
struct Restoring {
    std::string open;   ///< once on the operation's connection, before anything else
    std::string reset;  ///< before the operation's first variant runs (again)
    std::string close;  ///< at the end; the file is then as it was
};

/// One operation of the manager, and the same work for HandTuned.
struct Operation {
    std::string name;
    long long expected;  ///< what both functions return when they did the work
    std::function<long long(pelkoapi::PelkoDBManager&, int variant)> store;
    std::function<long long(HandTuned&, int variant)> handTuned;

    // For operations that change the file.
    int variants = 0;        ///< how many different runs there are before a reset; 0 for a reading operation
    bool inBatches = false;  ///< all variants run in one transaction; the time is that of one of them
    Restoring restoreStore = {};
    Restoring restoreHandTuned = {};
};

constexpr int batchSize = 1000;
constexpr int durableVariants = 25;

/// All operations but setUp on a file of that size.
/// @param workFolder  under which media paths of the hand-tuned file are taken
std::vector<Operation> operationsOn(const Dataset& data, const std::string& workFolder);

/// The operations that change the file; part of operationsOn().
std::vector<Operation> writingOperationsOn(const Dataset& data, const std::string& workFolder);

}  // namespace pelkobench

#endif  // PELKO_BENCH_OPERATIONS_H
