#include <algorithm>
#include <functional>
#include <optional>

#include "bench/Competition.h"
#include "bench/DataFiles.h"
#include "bench/Measuring.h"
#include "bench/StoreSession.h"

// Opening a filled file, ready for the first operation. Closing it stays out of the time.

namespace pelkobench {

namespace {

bool beginsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

/// Without what belongs to the indexes and the journal: the tables, the upgrade and the look at the file.
Recording withoutIndexesAndSettings(Recording recording) {
    const auto keep = [](const RecordedStatement& statement) {
        return beginsWith(statement.text, "CREATE TABLE") || beginsWith(statement.text, "SELECT db_id") ||
               statement.text == "PRAGMA schema_version";
    };
    recording.erase(std::remove_if(recording.begin(), recording.end(), std::not_fn(keep)), recording.end());
    return recording;
}

}  // namespace

void Competition::storeSetUp(State& state) {
    useFolder(mStoreFolder);
    pelkoapi::PelkoDBManager& manager = *pelkoapi::PelkoDBManager::getInstance();
    ManualTimes times(state);
    while (state.KeepRunning()) {
        times.measure([&] { manager.setUp(); });
        manager.tearDown();
    }
    times.report();
}

void Competition::floorSetUp(State& state) {
    const Recording recording = recordSetUp(mStoreFolder);
    ManualTimes times(state);
    while (state.KeepRunning()) {
        std::optional<Connection> db;
        times.measure([&] {
            db.emplace(mStoreFile, Journal::standard);  // the settings are among the statements
            replay(*db, recording);
        });
    }
    times.report();
}

void Competition::handTunedSetUp(State& state) {
    ManualTimes times(state);
    while (state.KeepRunning()) {
        std::optional<Connection> db;
        times.measure([&] { db.emplace(openHandTuned(mHandTunedFile)); });
    }
    times.report();
}

void Competition::tablesAloneSetUp(State& state) {
    const Recording recording = withoutIndexesAndSettings(recordSetUp(mStoreFolder));
    ManualTimes times(state);
    while (state.KeepRunning()) {
        std::optional<Connection> db;
        times.measure([&] {
            db.emplace(mTablesFile, Journal::standard);
            replay(*db, recording);
        });
    }
    times.report();
}

void Competition::parsingSetUp(State& state) {
    const Recording recording = recordSetUp(mStoreFolder);
    const Connection db(mStoreFile, Journal::writeAhead);
    parse(db, recording);
    ManualTimes times(state);
    while (state.KeepRunning()) {
        times.measure([&] { parse(db, recording); });
    }
    times.report();
}

}  // namespace pelkobench
