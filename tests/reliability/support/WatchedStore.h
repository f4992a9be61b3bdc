#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_WATCHED_STORE_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_WATCHED_STORE_H

#include <filesystem>
#include <string>
#include <vector>

#include "tests/reliability/support/StoreOperations.h"
#include "tests/support/TemporaryFolder.h"

namespace pelkotest {

/// The store as user "me" over a file that anybody may have had in his hands, and what holds whatever is in
/// that file. Each call of the store is checked:
///
///  - nothing is thrown, but SQLite's failure by the two operations of transactions;
///  - both log channels say the same, in lines of the two documented forms;
///  - every statement that SQLite reports failed has a line;
///  - an operation that has logged its own failure has returned its neutral result;
///  - it comes to its end: a call of minutes ends the program, with a word on what it was.
///
/// Failures of these are failures of the running test.
class WatchedStore {
public:
    WatchedStore();
    ~WatchedStore();
    WatchedStore(const WatchedStore&) = delete;
    WatchedStore& operator=(const WatchedStore&) = delete;

    /// Where db.dat and what belongs to it lie; nothing else is there.
    const std::filesystem::path& folder() const { return mFolder.path(); }
    std::string dbPath() const { return (folder() / "db.dat").string(); }
    /// Empties the folder.
    void clear();

    /// setUp(). @return its result
    bool open();
    void close();

    /// Calls every operation once, in their order; of a store that is not open each has to log that and to
    /// return its neutral result. @return their outcomes
    std::vector<Outcome> runAll();
    /// One of them.
    Outcome run(const StoreOperation& operation);
    /// The one of that name.
    Outcome run(const std::string& name);
    /// A message within a transaction of the caller's.
    void runTransaction();

    /// The lines of the log file since the construction or the last forget().
    const std::vector<std::string>& lines() const { return mLines; }
    void forget() { mLines.clear(); }

    pelkoapi::PelkoDBManager& db() { return *pelkoapi::PelkoDBManager::getInstance(); }

private:
    template <typename Call>
    std::vector<std::string> watch(const std::string& what, const Call& call);

    TemporaryFolder mFolder;
    std::vector<std::string> mLines;
    bool mOpen = false;
};

/// What every operation returns of a store that is not open, in the order of storeOperations().
const std::vector<Outcome>& neutralOutcomes();

/// The names of the operations whose outcomes differ, with both outcomes; empty when all are equal.
std::string difference(const std::vector<Outcome>& expected, const std::vector<Outcome>& actual);

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_WATCHED_STORE_H
