#include "classes/storage/PelkoDBManager.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Access = PelkoDBManagerTestAccess;

namespace {

static_assert(std::has_virtual_destructor_v<PelkoDBManager>);
static_assert(!std::is_copy_constructible_v<PelkoDBManager> && !std::is_copy_assignable_v<PelkoDBManager>);
static_assert(sizeof(PelkoDBManager) == 2 * sizeof(void*), "the connection is the only data member");

// Asked before any test runs: the singleton is made by the first getInstance(), not by the program's start.
const bool noSingletonAtStart = Access::sharedInstance() == nullptr;

constexpr char insertRow[] = "INSERT INTO tbl_msg (msg_id) VALUES (7)";

class PelkoDBManagerTest : public StoreTest {
protected:
    int run(const char* sql) { return Access::connection(db())->execDML(sql); }

    /// Leaves a write lock and an uncommitted row behind, which only closing the connection undoes.
    static void leaveTransactionOpen(PelkoDBManager& manager) {
        manager.beginTransaction();
        Access::connection(manager)->execDML(insertRow);
    }
    void expectLetGoOfFile() {
        EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "0");
        execute("INSERT INTO tbl_msg (msg_id) VALUES (8)");  // fails while someone holds the lock
    }
    void expectClosedAfterFailedSetUp() {
        EXPECT_EQ(Access::connection(db()), nullptr);
        EXPECT_FALSE(Access::isDBReady(db()));
        EXPECT_THAT(statements(), IsEmpty());
    }
};

// ---- singleton

TEST_F(PelkoDBManagerTest, SingletonIsMadeByTheFirstGetInstance) {
    EXPECT_TRUE(noSingletonAtStart);
    PelkoDBManager* const inUse = Access::sharedInstance();

    Access::sharedInstance() = nullptr;
    const std::unique_ptr<PelkoDBManager> made(PelkoDBManager::getInstance());
    EXPECT_NE(made.get(), inUse);
    EXPECT_EQ(Access::sharedInstance(), made.get());
    EXPECT_EQ(PelkoDBManager::getInstance(), made.get());
    EXPECT_EQ(Access::connection(*made), nullptr);

    Access::sharedInstance() = inUse;
    EXPECT_EQ(PelkoDBManager::getInstance(), inUse);
}

TEST_F(PelkoDBManagerTest, SingletonStaysTheSameThroughCloseAndOpen) {
    PelkoDBManager* const before = PelkoDBManager::getInstance();
    close();
    EXPECT_EQ(PelkoDBManager::getInstance(), before);
    ASSERT_TRUE(db().setUp());
    EXPECT_EQ(PelkoDBManager::getInstance(), before);
}

// ---- tearDown and destruction

TEST_F(PelkoDBManagerTest, TearDownClosesTheConnection) {
    leaveTransactionOpen(db());
    db().tearDown();
    EXPECT_EQ(Access::connection(db()), nullptr);
    EXPECT_FALSE(Access::isDBReady(db()));
    expectLetGoOfFile();
    expectNothingLogged();
}

TEST_F(PelkoDBManagerTest, TearDownOfClosedManagerDoesNothing) {
    close();
    forget();
    db().tearDown();
    EXPECT_EQ(Access::connection(db()), nullptr);
    expectNothingLogged();
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(PelkoDBManagerTest, DestructionCloses) {
    close();
    std::unique_ptr<PelkoDBManager> manager = Access::make();
    ASSERT_TRUE(manager->setUp());
    leaveTransactionOpen(*manager);
    manager.reset();
    expectLetGoOfFile();
    expectNothingLogged();
}

TEST_F(PelkoDBManagerTest, DestructionOfClosedManagerDoesNothing) {
    Access::make().reset();
    expectNothingLogged();
    EXPECT_THAT(statements(), IsEmpty());
}

// ---- setUp

TEST_F(PelkoDBManagerTest, SetUpMakesTablesThenIndexesAndThenRepairsOldRows) {
    close();
    forget();
    EXPECT_TRUE(db().setUp());
    EXPECT_TRUE(Access::isDBReady(db()));
    expectNothingLogged();

    std::string steps;
    for (const std::string& statement : statements()) {
        const auto is = [&](const char* head) { return statement.rfind(head, 0) == 0; };
        steps += is("CREATE TABLE") ? "t" : is("CREATE INDEX") ? "i" : is("SELECT db_id") ? "r" : "";
    }
    EXPECT_EQ(steps,
              "tttttttttt"
              "iiiiiii"
              "rr");
}

TEST_F(PelkoDBManagerTest, SetUpOpensNoTransaction) {
    run(insertRow);
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "1");  // committed by itself
    EXPECT_NO_THROW(db().beginTransaction());
}

TEST_F(PelkoDBManagerTest, SetUpTwiceClosesTheFirstConnectionWithOneLogLine) {
    leaveTransactionOpen(db());
    forget();
    EXPECT_TRUE(db().setUp());
    EXPECT_THAT(platform().console, ElementsAre("[pelko]db is not correctly closed."));
    EXPECT_THAT(platform().file, ElementsAre("db is not correctly closed."));
    expectLetGoOfFile();
    EXPECT_TRUE(Access::isDBReady(db()));
    EXPECT_EQ(db().queryCount("tbl_msg", "msg_id = 8"), 1);
}

TEST_F(PelkoDBManagerTest, SetUpTwiceFollowsTheUserDataRoot) {
    const TemporaryFolder other;
    platform().userRoot = other.path().string();
    run(insertRow);
    EXPECT_TRUE(db().setUp());
    EXPECT_EQ(db().queryCount("tbl_msg", "1"), 0);
    EXPECT_TRUE(std::filesystem::exists(other.path().string() + "/db.dat"));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "1");
}

TEST_F(PelkoDBManagerTest, SetUpAfterTearDownSaysNothing) {
    close();
    forget();
    EXPECT_TRUE(db().setUp());
    expectNothingLogged();
}

TEST_F(PelkoDBManagerTest, SetUpTakesAnEmptyFileForANewDatabase) {
    close();
    std::filesystem::resize_file(dbPath(), 0);
    EXPECT_TRUE(db().setUp());
    EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name LIKE 'tbl%'"), "10");
}

TEST_F(PelkoDBManagerTest, SetUpFailsWithoutAPath) {
    close();
    const TemporaryFolder other;
    platform().userRoot = other.path().string();
    platform().createFileResult = -1;
    forget();
    EXPECT_FALSE(db().setUp());
    expectFailureLogged("setUp");
    expectClosedAfterFailedSetUp();
    EXPECT_TRUE(std::filesystem::is_empty(other.path().string()));
}

TEST_F(PelkoDBManagerTest, SetUpFailsWhenTheFileCannotBeOpened) {
    close();
    platform().userRoot = folder() + "/no-such-folder";
    forget();
    EXPECT_FALSE(db().setUp());
    expectFailureLogged("setUp", HasSubstr("unable to open database file"));
    expectClosedAfterFailedSetUp();
}

TEST_F(PelkoDBManagerTest, SetUpFailsOnAFileThatIsNoDatabase) {
    close();
    const std::string letter(4096, 'x');
    std::ofstream(dbPath(), std::ios::binary) << letter;
    forget();
    EXPECT_FALSE(db().setUp());
    expectFailureLogged("setUp", HasSubstr("file is not a database"));
    EXPECT_EQ(Access::connection(db()), nullptr);
    for (const std::string& statement : statements()) {
        EXPECT_THAT(statement, StartsWith("PRAGMA")) << "neither tables nor repairs";
    }
    std::ifstream file(dbPath(), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), letter);
}

TEST_F(PelkoDBManagerTest, FailedSecondSetUpLeavesTheManagerClosed) {
    platform().createFileResult = -1;
    EXPECT_FALSE(db().setUp());
    EXPECT_THAT(platform().file,
                ElementsAre("db is not correctly closed.", StartsWith("setUp failed, exception in (")));
    expectClosedAfterFailedSetUp();
    forget();
    EXPECT_EQ(db().getTotalUnreadCount(), 0U);
    expectNotReadyLogged("getTotalUnreadCount");

    platform().createFileResult = 0;
    forget();
    EXPECT_TRUE(db().setUp());
    expectNothingLogged();  // a failed one left nothing to close
}

TEST_F(PelkoDBManagerTest, SetUpHoldsTheConnectionBeforeItIsOpen) {
    close();
    bool held = false;
    platform().onCreateFile = [&] {
        held = Access::connection(db()) != nullptr && !Access::connection(db())->checkDBIsOpen();
    };
    EXPECT_TRUE(db().setUp());
    EXPECT_TRUE(held);
}

TEST_F(PelkoDBManagerTest, OtherExceptionsPassThroughSetUp) {
    close();
    forget();
    platform().onCreateFile = [] { throw std::runtime_error("no disk"); };
    EXPECT_THROW(db().setUp(), std::runtime_error);
    expectNothingLogged();

    EXPECT_NE(Access::connection(db()), nullptr);
    EXPECT_FALSE(Access::isDBReady(db()));  // a connection, but none that is open
    platform().onCreateFile = nullptr;
    EXPECT_TRUE(db().setUp());
    EXPECT_THAT(platform().file, ElementsAre("db is not correctly closed."));
}

TEST_F(PelkoDBManagerTest, FailingTablesAndRepairsDoNotChangeTheResult) {
    close();
    execute("DROP TABLE tbl_msg; CREATE INDEX tbl_msg ON tbl_room (name)");
    forget();
    EXPECT_TRUE(db().setUp());
    EXPECT_TRUE(Access::isDBReady(db()));
    std::vector<std::string>& lines = platform().file;
    const auto isOfIndexes = [](const std::string& line) {
        return line.rfind("createIndexesIfNotExist failed, exception in (", 0) == 0;
    };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), isOfIndexes), 1) << "the first that cannot be made";
    lines.erase(std::remove_if(lines.begin(), lines.end(), isOfIndexes), lines.end());
    EXPECT_THAT(lines, ElementsAre(StartsWith("createMsgTable failed, exception in ("),
                                   StartsWith("nessesaryUpdate failed, exception in ("),
                                   StartsWith("nessesaryUpdate failed, exception in (")));
}

// ---- getDBPath

TEST_F(PelkoDBManagerTest, DBPathLiesInTheUserDataRoot) {
    platform().userRoot = "/data/users/it's me";
    platform().createdFiles.clear();
    platform().createdOverwrite.clear();
    EXPECT_EQ(Access::getDBPath(db()), "/data/users/it's me/db.dat");
    EXPECT_THAT(platform().createdFiles, ElementsAre("/data/users/it's me/db.dat"));
    EXPECT_THAT(platform().createdOverwrite, ElementsAre(false));
}

TEST_F(PelkoDBManagerTest, DBPathIsEmptyExactlyWhenTheFileCannotBeMade) {
    platform().createFileResult = 5;
    EXPECT_EQ(Access::getDBPath(db()), dbPath());
    platform().createFileResult = 0;
    EXPECT_EQ(Access::getDBPath(db()), dbPath());
    platform().createFileResult = -1;
    EXPECT_EQ(Access::getDBPath(db()), "");
    platform().createFileResult = -13;
    EXPECT_EQ(Access::getDBPath(db()), "");
    expectNothingLogged();
}

TEST_F(PelkoDBManagerTest, SetUpAsksForTheFileOnce) {
    close();
    platform().createdFiles.clear();
    ASSERT_TRUE(db().setUp());
    EXPECT_THAT(platform().createdFiles, ElementsAre(dbPath()));
}

// ---- transactions

TEST_F(PelkoDBManagerTest, TransactionHoldsRowsBackUntilCommitted) {
    db().beginTransaction();
    run(insertRow);
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "0");
    db().commiteTransaction();
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "1");
    EXPECT_THAT(statements(), ElementsAre("BEGIN TRANSACTION;", insertRow, "COMMIT TRANSACTION;"));
    expectNothingLogged();
}

TEST_F(PelkoDBManagerTest, TransactionResultsTellTheChangeCountOfTheStatementBefore) {
    reopen();
    EXPECT_FALSE(db().beginTransaction());  // nothing changed on this connection yet, but it has begun
    EXPECT_FALSE(db().commiteTransaction());

    run(insertRow);
    EXPECT_TRUE(db().beginTransaction());
    EXPECT_TRUE(db().commiteTransaction());

    run("UPDATE tbl_msg SET type = 1 WHERE msg_id = 99");
    EXPECT_FALSE(db().beginTransaction());
    run("UPDATE tbl_msg SET type = 1");
    EXPECT_TRUE(db().commiteTransaction());
}

TEST_F(PelkoDBManagerTest, ExceptionsOfTransactionStatementsReachTheCaller) {
    const auto messageOf = [&](bool (PelkoDBManager::*operation)()) -> std::string {
        try {
            (db().*operation)();
        } catch (const CppSQLite3Exception& exception) {
            return exception.errorMessage();
        }
        return "no exception";
    };
    EXPECT_EQ(messageOf(&PelkoDBManager::commiteTransaction), "cannot commit - no transaction is active");
    db().beginTransaction();
    EXPECT_EQ(messageOf(&PelkoDBManager::beginTransaction),
              "cannot start a transaction within a transaction");
    expectNothingLogged();
    EXPECT_NO_THROW(db().commiteTransaction());  // the outer one is still there
}

class TransactionOperations : public OperationTest {};

TEST_P(TransactionOperations, AreNotReadyWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(TransactionOperations, AreNotReadyWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

INSTANTIATE_TEST_SUITE_P(
    All, TransactionOperations,
    testing::Values(Operation{"beginTransaction", "",
                              [](PelkoDBManager& db) { EXPECT_FALSE(db.beginTransaction()); }},
                    Operation{"commiteTransaction", "",
                              [](PelkoDBManager& db) { EXPECT_FALSE(db.commiteTransaction()); }}),
    nameOf);

// ---- transStringQuote

TEST_F(PelkoDBManagerTest, TransStringQuoteDoublesEverySingleQuoteAndNothingElse) {
    EXPECT_EQ(db().transStringQuote("it's"), "it''s");
    EXPECT_EQ(db().transStringQuote(""), "");
    EXPECT_EQ(db().transStringQuote("''"), "''''");
    EXPECT_EQ(db().transStringQuote("'"), "''");
    EXPECT_EQ(db().transStringQuote("'a'b'"), "''a''b''");
    const std::string other = "plain \"text\" \\ %s ; -- \xC3\xBC\n";
    EXPECT_EQ(db().transStringQuote(other), other);
    close();
    forget();
    EXPECT_EQ(db().transStringQuote("it's"), "it''s");
    expectNothingLogged();
}

// ---- checkIfRecordExist and queryCount

TEST_F(PelkoDBManagerTest, CheckIfRecordExistTellsWhetherAnyRowMatches) {
    run(insertRow);
    run(insertRow);
    forget();
    EXPECT_TRUE(db().checkIfRecordExist("tbl_msg", "msg_id = 7"));
    EXPECT_FALSE(db().checkIfRecordExist("tbl_msg", "msg_id = 8"));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_msg WHERE msg_id = 7",
                                          "SELECT * FROM tbl_msg WHERE msg_id = 8"));
    expectNothingLogged();
}

TEST_F(PelkoDBManagerTest, QueryCountCountsTheMatchingRows) {
    run(insertRow);
    run(insertRow);
    forget();
    EXPECT_EQ(db().queryCount("tbl_msg", "msg_id = 7"), 2);
    EXPECT_EQ(db().queryCount("tbl_msg", "msg_id = 8"), 0);
    EXPECT_THAT(statements(), ElementsAre("SELECT COUNT(*) AS count FROM tbl_msg WHERE msg_id = 7",
                                          "SELECT COUNT(*) AS count FROM tbl_msg WHERE msg_id = 8"));
    EXPECT_EQ(db().queryCount("tbl_msg", "msg_id = 8 GROUP BY msg_id"), 0);  // a result without any row
    expectNothingLogged();
}

TEST_F(PelkoDBManagerTest, QueriesLetGoOfTheFile) {
    run(insertRow);
    db().checkIfRecordExist("tbl_msg", "1");
    db().queryCount("tbl_msg", "1");
    execute("DELETE FROM tbl_msg");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

TEST_F(PelkoDBManagerTest, PercentSignsInConditionsReachSQLite) {
    EXPECT_FALSE(db().checkIfRecordExist("tbl_msg", "text LIKE '%s%n%d'"));
    EXPECT_EQ(db().queryCount("tbl_msg", "text LIKE '%s%n%d'"), 0);
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_msg WHERE text LIKE '%s%n%d'",
                                          "SELECT COUNT(*) AS count FROM tbl_msg WHERE text LIKE '%s%n%d'"));
}

/// The two shared queries make no readiness check: whatever goes wrong is their own failure.
class SharedQueries : public OperationTest {};

TEST_P(SharedQueries, FailUnderTheirOwnNameWhenClosed) {
    close();
    GetParam().expectNeutral(db());
    expectFailureLogged(GetParam().failureName);
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_P(SharedQueries, FailUnderTheirOwnNameWithAClosedConnection) {
    Access::connection(db())->close();
    GetParam().expectNeutral(db());
    expectFailureLogged(GetParam().failureName);
}

TEST_P(SharedQueries, FailUnderTheirOwnNameWithoutTheTable) {
    expectFailureWithout("tbl_msg");
}

INSTANTIATE_TEST_SUITE_P(All, SharedQueries,
                         testing::Values(Operation{"checkIfRecordExist", "checkIfRecordExist",
                                                   [](PelkoDBManager& db) {
                                                       EXPECT_FALSE(db.checkIfRecordExist("tbl_msg", "1"));
                                                   }},
                                         Operation{"queryCount", "queryCount",
                                                   [](PelkoDBManager& db) {
                                                       EXPECT_EQ(db.queryCount("tbl_msg", "1"), 0);
                                                   }}),
                         nameOf);

TEST_F(PelkoDBManagerTest, BrokenConditionsFail) {
    run(insertRow);
    for (const char* const condition : {"", "msg_id = ", "no_such_column = 1", "1; DROP TABLE tbl_msg"}) {
        SCOPED_TRACE(condition);
        forget();
        EXPECT_FALSE(db().checkIfRecordExist("tbl_msg", condition));
        expectFailureLogged("checkIfRecordExist");
        forget();
        EXPECT_EQ(db().queryCount("tbl_msg", condition), 0);
        expectFailureLogged("queryCount");
        EXPECT_THAT(statements(), IsEmpty());
    }
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "1");
}

TEST_F(PelkoDBManagerTest, FailureLineCarriesTheMessageOfTheDatabase) {
    db().queryCount("tbl_nothing", "1");
    EXPECT_THAT(platform().console,
                ElementsAre("[pelko]queryCount failed, exception in (no such table: tbl_nothing)."));
    EXPECT_THAT(platform().file,
                ElementsAre("queryCount failed, exception in (no such table: tbl_nothing)."));
}

// ---- the switches of the two log channels

/// Console on, file on.
class LogSwitches : public StoreTest, public testing::WithParamInterface<std::tuple<bool, bool>> {
protected:
    /// Runs what logs one line, under the parameter's switches.
    template <typename Work>
    void expectLine(const std::string& line, Work&& work) {
        forget();
        std::tie(platform().consoleOn, platform().fileOn) = GetParam();
        platform().consoleSwitchAsked = 0;
        platform().fileSwitchAsked = 0;
        work();
        EXPECT_EQ(platform().consoleSwitchAsked, 1);
        EXPECT_EQ(platform().fileSwitchAsked, 1);
        const auto [console, file] = GetParam();
        using Lines = std::vector<std::string>;
        EXPECT_THAT(platform().file,
                    file ? ElementsAre(StartsWith(line)) : testing::Matcher<Lines>(IsEmpty()));
        EXPECT_THAT(platform().console,
                    console ? ElementsAre(StartsWith("[pelko]" + line)) : testing::Matcher<Lines>(IsEmpty()));
    }
};

TEST_P(LogSwitches, AreAskedBeforeEveryLine) {
    expectLine("db is not correctly closed.", [&] { EXPECT_TRUE(db().setUp()); });
    expectLine("queryCount failed, exception in (", [&] { db().queryCount("tbl_nothing", "1"); });
    expectLine("queryCount failed, exception in (", [&] { db().queryCount("tbl_nothing", "1"); });
    close();
    expectLine("db is not ready(beginTransaction, line:", [&] { EXPECT_FALSE(db().beginTransaction()); });
    platform().createFileResult = -1;
    expectLine("setUp failed, exception in (", [&] { EXPECT_FALSE(db().setUp()); });
}

INSTANTIATE_TEST_SUITE_P(All, LogSwitches, testing::Combine(testing::Bool(), testing::Bool()));

TEST_F(PelkoDBManagerTest, NoSwitchIsAskedWhereNothingIsLogged) {
    platform().consoleSwitchAsked = 0;
    platform().fileSwitchAsked = 0;
    reopen();
    db().queryCount("tbl_msg", "1");
    EXPECT_EQ(platform().consoleSwitchAsked, 0);
    EXPECT_EQ(platform().fileSwitchAsked, 0);
}

}  // namespace
