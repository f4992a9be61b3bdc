#include "bench/Competition.h"

#include <algorithm>

#include "bench/DataFiles.h"
#include "bench/Measuring.h"
#include "bench/StoreSession.h"

namespace pelkobench {

namespace {

// Writing operations wait for the medium: a fixed number of runs in each repetition.
constexpr int durableRuns = durableVariants;
constexpr int durableRunsOfTablesAlone = 10;
constexpr int batchRuns = 2;

/// Without an index every event reads the whole table, so fewer of them stand for a thousand.
int batchOfTablesAlone(int rows) {
    return std::clamp(20'000'000 / rows, 20, batchSize);
}

const Recording beginTransaction = {{"BEGIN TRANSACTION;", {}}};
const Recording commitTransaction = {{"COMMIT TRANSACTION;", {}}};

}  // namespace

Competition::Competition(const std::string& workRoot, int rows)
    : mStoreFolder(folderOf(workRoot, rows, Variant::store)),
      mStoreFile(fileOf(workRoot, rows, Variant::store)),
      mTablesFile(fileOf(workRoot, rows, Variant::tables)),
      mHandTunedFile(fileOf(workRoot, rows, Variant::handTuned)),
      mData(rows),
      mOperations(operationsOn(mData, folderOf(workRoot, rows, Variant::handTuned))) {
}

void Competition::registerBenchmarks() {
    const std::string rows = "/" + std::to_string(mData.rows());
    using Measure = void (Competition::*)(State&, const Operation&);
    const auto add = [&](const Operation& operation, const char* competitor, Measure measure) {
        benchmark::internal::Benchmark* const added = benchmark::RegisterBenchmark(
            (operation.name + '/' + competitor + rows).c_str(),
            [this, &operation, measure](State& state) { (this->*measure)(state, operation); });
        const bool isWriting = operation.variants > 0 && measure != &Competition::parsing;
        if (!isWriting) {
            return;  // in processor time: nothing waits for the medium
        }
        const bool slow = measure == &Competition::tablesAlone;
        added->UseManualTime()->Iterations(operation.inBatches ? (slow ? 1 : batchRuns)
                                           : slow              ? durableRunsOfTablesAlone
                                                               : durableRuns);
    };
    for (const Operation& operation : mOperations) {
        add(operation, "store", &Competition::store);
        add(operation, "floor", &Competition::floor);
        add(operation, "hand_tuned", &Competition::handTuned);
        add(operation, "tables_alone", &Competition::tablesAlone);
        add(operation, "parsing", &Competition::parsing);
    }

    using MeasureSetUp = void (Competition::*)(State&);
    const auto addSetUp = [&](const char* competitor, MeasureSetUp measure) {
        benchmark::RegisterBenchmark((std::string("set_up/") + competitor + rows).c_str(),
                                     [this, measure](State& state) { (this->*measure)(state); })
            ->UseManualTime()
            ->Iterations(durableRunsOfTablesAlone);
    };
    addSetUp("store", &Competition::storeSetUp);
    addSetUp("floor", &Competition::floorSetUp);
    addSetUp("hand_tuned", &Competition::handTunedSetUp);
    addSetUp("tables_alone", &Competition::tablesAloneSetUp);
    addSetUp("parsing", &Competition::parsingSetUp);
}

void Competition::store(State& state, const Operation& operation) {
    StoreSession session(mStoreFolder);
    pelkoapi::PelkoDBManager& manager = session.manager();
    const auto run = [&](int variant) { return operation.store(manager, variant) == operation.expected; };
    if (operation.variants == 0) {
        measureReading(state, [&] { return run(0); });
        return;
    }
    measureWriting(state, operation.variants, operation.inBatches,
                   Writer{session.handle(), operation.restoreStore, run, [&] { manager.beginTransaction(); },
                          [&] { manager.commiteTransaction(); }});
}

void Competition::floor(State& state, const Operation& operation) {
    recordings(operation);
    const Connection db(mStoreFile, Journal::writeAhead);
    bare(state, operation, db, operation.variants);
}

void Competition::tablesAlone(State& state, const Operation& operation) {
    recordings(operation);
    const Connection db(mTablesFile, Journal::standard);
    bare(state, operation, db, operation.inBatches ? batchOfTablesAlone(mData.rows()) : operation.variants);
}

void Competition::bare(State& state, const Operation& operation, sqlite3* db, int variants) {
    const auto run = [&, statements = recordings(operation)](int variant) {
        replay(db, statements[static_cast<std::size_t>(variant)]);
        return true;
    };
    if (operation.variants == 0) {
        measureReading(state, [&] { return run(0); });
        return;
    }
    measureWriting(state, variants, operation.inBatches,
                   Writer{db, operation.restoreStore, run, [&] { replay(db, beginTransaction); },
                          [&] { replay(db, commitTransaction); }});
}

void Competition::handTuned(State& state, const Operation& operation) {
    HandTuned handTuned(mHandTunedFile);
    const auto run = [&](int variant) {
        return operation.handTuned(handTuned, variant) == operation.expected;
    };
    if (operation.variants == 0) {
        measureReading(state, [&] { return run(0); });
        return;
    }
    measureWriting(state, operation.variants, operation.inBatches,
                   Writer{handTuned.handle(), operation.restoreHandTuned, run, [&] { handTuned.begin(); },
                          [&] { handTuned.commit(); }});
}

void Competition::parsing(State& state, const Operation& operation) {
    const std::vector<Recording>& statements = recordings(operation);
    const Connection db(mStoreFile, Journal::writeAhead);
    std::size_t next = 0;
    measureReading(state, [&] {
        parse(db, statements[next]);
        next = (next + 1) % statements.size();
        return true;
    });
}

const std::vector<Recording>& Competition::recordings(const Operation& operation) {
    std::vector<Recording>& recorded = mRecordings[operation.name];
    if (!recorded.empty()) {
        return recorded;
    }
    StoreSession session(mStoreFolder);
    execute(session.handle(), operation.restoreStore.open);
    execute(session.handle(), operation.restoreStore.reset);
    if (operation.inBatches) {
        execute(session.handle(), "BEGIN");
    }
    for (int variant = 0; variant < std::max(1, operation.variants); ++variant) {
        Recorder recorder(session.handle());
        operation.store(session.manager(), variant);
        recorded.push_back(recorder.finish());
    }
    if (operation.inBatches) {
        execute(session.handle(), "ROLLBACK");
    }
    execute(session.handle(), operation.restoreStore.close);
    return recorded;
}

}  // namespace pelkobench
