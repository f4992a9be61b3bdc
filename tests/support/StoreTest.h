#ifndef PELKO_TESTS_SUPPORT_STORE_TEST_H
#define PELKO_TESTS_SUPPORT_STORE_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/support/PelkoDBManagerTestAccess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

/// The value of a column as text; nothing for NULL.
using Value = std::optional<std::string>;
using Row = std::vector<Value>;

/// Selects the messages between "me" and "alice".
inline constexpr char withAlice[] =
    "((receiver_type = 0 AND sender_type = 0) AND ((receiver_id = 'alice' AND sender_id = 'me') OR "
    "(sender_id = 'alice' AND receiver_id = 'me')))";

/// The key of every file of this run, from the environment variable PELKO_TEST_KEY; none without it. A test
/// that sets another one sets it back with this.
void setKeyOfThisRun();

/// A store in a folder of its own, open as user "me", with every seam in view: the statements that reach
/// SQLite on the manager's connection, both log channels, and the rows through a second connection.
class StoreTest : public testing::Test {
protected:
    StoreTest();
    ~StoreTest() override;

    /// A fresh test starts with an open store and nothing recorded; close() gives a manager that is not
    /// ready.
    void SetUp() override;
    void TearDown() override;

    pelkoapi::PelkoDBManager& db() { return *pelkoapi::PelkoDBManager::getInstance(); }

    void close() { db().tearDown(); }
    /// Closes and opens the store again, as a new run of the client does.
    void reopen();
    /// Forgets the recorded statements and log lines.
    void forget();

    std::string dbPath() const { return folder() + "/db.dat"; }
    std::string folder() const { return mFolder.path().string(); }

    /// The statements that have run on connections opened through the store since forget(), in order, as
    /// text.
    static const std::vector<std::string>& statements();

    /// Rows of a query on a second connection of its own.
    std::vector<Row> rows(const std::string& sql) const;
    /// The first column of the first row; fails the test when there is none.
    Value value(const std::string& sql) const;
    /// Runs statements on a second connection, to prepare what the store cannot.
    void execute(const std::string& sql) const;
    /// execute() for statements that change tables: the store's connection takes notice of the change, and
    /// what it ran for that is forgotten. Triggers and views, with which tests make a single row fail, run on
    /// it until it is closed.
    void changeTables(const std::string& sql);

    /// Expects exactly this one failure line in both channels since forget(): "<operation> failed, exception
    /// in (…)." with any message, or with the given one.
    static void expectFailureLogged(const std::string& operation,
                                    const testing::Matcher<std::string>& message = testing::_);
    /// Expects exactly one not-ready line of the operation in both channels, with the same positive line
    /// number.
    static void expectNotReadyLogged(const std::string& operation);
    /// Expects exactly these lines in both channels, the console's with its prefix; of a not-ready line only
    /// what stands before its line number.
    static void expectLogged(const std::vector<std::string>& lines);
    static void expectNothingLogged();

private:
    TemporaryFolder mFolder;
};

/// A received image message from user alice to group 77 with a value of its own in every stored field but
/// dbID.
pelkoapi::PelkoMessage imageMessage();

/// One operation of the store, as a row of a table of tests.
struct Operation {
    const char* name;                                  ///< as its not-ready line says it
    const char* failureName;                           ///< as its failure line says it
    void (*expectNeutral)(pelkoapi::PelkoDBManager&);  ///< calls it and expects its neutral result
};
void PrintTo(const Operation& operation, std::ostream* out);
std::string nameOf(const testing::TestParamInfo<Operation>& info);

/// What every operation has in common, for each of a table of operations.
class OperationTest : public StoreTest, public testing::WithParamInterface<Operation> {
protected:
    /// The store being closed: one not-ready line, the neutral result and no statement.
    void expectNotReadyWhenClosed();
    /// The same for a manager that holds a connection which is not open.
    void expectNotReadyWithClosedConnection();
    /// The table being gone: the failure line and the neutral result.
    void expectFailureWithout(const std::string& table);
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_SUPPORT_STORE_TEST_H
