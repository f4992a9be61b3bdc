#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_FAULTY_STORE_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_FAULTY_STORE_H

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/reliability/support/Faults.h"
#include "tests/reliability/support/StoredRows.h"
#include "tests/support/TemporaryFolder.h"

namespace pelkotest {

/// What came of a piece of work with a fault in it.
struct Attempt {
    long hits = 0;                    ///< calls that failed
    bool memoryRanOut = false;        ///< std::bad_alloc passed to the caller
    bool databaseError = false;       ///< CppSQLite3Exception did
    std::vector<std::string> logged;  ///< what the store logged, a line an element

    bool threw() const { return memoryRanOut || databaseError; }
    bool logsFailureOf(const std::string& operation) const;
};

/// The bytes of a database file, and of the log beside it in which changes wait for being taken up.
struct LaidFile {
    std::string bytes;
    std::string log;
};

/// A file that fillStore() filled, with messages that are being sent and media under way; made at the first
/// call. No store may be open then.
const LaidFile& filledFile();
/// The same file as a process leaves it that is killed: what was stored is in the log.
const LaidFile& abandonedFile();

/// The store of user "me" in a folder of the test's own, and what is expected of it whatever fails.
class FaultyStore : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    static pelkoapi::PelkoDBManager& db() { return *pelkoapi::PelkoDBManager::getInstance(); }
    std::string dbPath() const { return mFolder.path().string() + "/db.dat"; }

    /// Puts that file in the place of the store's; none for no bytes. The store is to be closed.
    void lay(const LaidFile& file) const;
    LaidFile laid() const;

    /// The platform as a new process finds it.
    void resetPlatform() const;

    /// Opens the store, to which nothing may happen now.
    void open();
    /// To be called after a setUp() of the test's own: the connection on which the store is open.
    void rememberConnection();
    sqlite3* connection() const { return mConnection; }
    /// Closes it: SQLite has no memory left after that.
    void close();

    /// Does the work with the fault in it. Fails the test when anything passes to the caller but
    /// std::bad_alloc or CppSQLite3Exception, or when the log is not what a failure is to leave in it.
    static Attempt attempt(const FaultPlan& faultPlan, const std::function<void()>& work);

    /// Does the work and expects that it logs nothing.
    static void expectQuiet(const std::function<void()>& work);

    /// The open store has nothing open in SQLite, and its file is sound.
    void expectNothingLeftOpen();
    /// It can be used as it is: for something else than what has failed in it.
    void expectUsable() const;

    /// Does the work inside a transaction on the store's connection, which is rolled back.
    void inPassing(const std::function<void()>& work) const;
    /// Runs a statement on the store's connection past the store.
    void execute(const char* sql) const;

    /// The store's file, looked at past the store. It stays open until closeFile() or close().
    StoredFile& file();
    void closeFile() { mFile.reset(); }

    /// Counts what is printed at the end of the test.
    void count(const Attempt& attempt) { mInjected += attempt.hits > 0 ? 1 : 0; }

private:
    TemporaryFolder mFolder;
    sqlite3* mConnection = nullptr;
    std::optional<StoredFile> mFile;
    long mInjected = 0;
};

/// The number in that environment variable, or the other.
long numberFromEnvironment(const char* name, long otherwise);

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_FAULTY_STORE_H
