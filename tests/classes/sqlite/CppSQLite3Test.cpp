#include "classes/sqlite/CppSQLite3.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/RawConnection.h"
#include "tests/support/StoreTest.h"

namespace pelkotest {

namespace {

namespace fs = std::filesystem;
using pelkoapi::CppSQLite3DB;
using pelkoapi::CppSQLite3Exception;
using pelkoapi::CppSQLite3Query;
using testing::HasSubstr;

static_assert(std::has_virtual_destructor_v<CppSQLite3DB> && !std::is_copy_constructible_v<CppSQLite3DB> &&
              !std::is_copy_assignable_v<CppSQLite3DB> && !std::is_move_constructible_v<CppSQLite3DB> &&
              !std::is_move_assignable_v<CppSQLite3DB>);
static_assert(noexcept(std::declval<const CppSQLite3DB&>().checkDBIsOpen()));
static_assert(std::has_virtual_destructor_v<CppSQLite3Query> &&
              std::is_nothrow_copy_constructible_v<CppSQLite3Query> &&
              std::is_nothrow_copy_assignable_v<CppSQLite3Query> &&
              std::is_nothrow_move_constructible_v<CppSQLite3Query> &&
              std::is_nothrow_move_assignable_v<CppSQLite3Query>);
static_assert(std::has_virtual_destructor_v<CppSQLite3Exception> &&
              std::is_base_of_v<std::exception, CppSQLite3Exception> &&
              std::is_nothrow_copy_constructible_v<CppSQLite3Exception> &&
              std::is_nothrow_copy_assignable_v<CppSQLite3Exception>);

/// Expects the work to throw an error of that code and message.
template <typename Work>
void expectThrows(int code, const testing::Matcher<const char*>& message, Work work) {
    try {
        work();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const CppSQLite3Exception& exception) {
        EXPECT_EQ(exception.errorCode(), code);
        EXPECT_THAT(exception.errorMessage(), message);
        EXPECT_STREQ(exception.what(), exception.errorMessage());
    }
}

int countOpenStatements(sqlite3* connection) {
    int count = 0;
    for (sqlite3_stmt* statement = sqlite3_next_stmt(connection, nullptr); statement != nullptr;
         statement = sqlite3_next_stmt(connection, statement)) {
        ++count;
    }
    return count;
}

sqlite3*& newestHandle() {
    static sqlite3* handle = nullptr;
    return handle;
}

int keepNewestHandle(sqlite3* handle, const char**, const sqlite3_api_routines*) {
    newestHandle() = handle;
    return SQLITE_OK;
}

const auto keepNewestHandleHook = reinterpret_cast<void (*)()>(keepNewestHandle);

/// A connection to a database file with a table t(n, s) of the rows (1, one), (2, two), (3, NULL).
class CppSQLite3Test : public testing::Test {
protected:
    void SetUp() override {
        sqlite3_auto_extension(keepNewestHandleHook);
        mDb.open(dbPath().c_str());
        mHandle = newestHandle();
        mDb.execDML("CREATE TABLE t (n INTEGER UNIQUE, s TEXT)");
        mDb.execDML("INSERT INTO t VALUES (1, 'one'), (2, 'two'), (3, NULL)");
    }
    void TearDown() override { sqlite3_cancel_auto_extension(keepNewestHandleHook); }

    std::string pathOf(const std::string& name) const { return mFolder.path().string() + "/" + name; }
    std::string dbPath() const { return pathOf("test.db"); }
    CppSQLite3DB& db() { return mDb; }
    CppSQLite3Query rows() { return mDb.execQuery("SELECT n, s FROM t ORDER BY n"); }
    int openStatements() const { return countOpenStatements(mHandle); }
    int number(const char* sql) { return mDb.execQuery(sql).getIntField(0, -1); }

private:
    TemporaryFolder mFolder;
    sqlite3* mHandle = nullptr;  // of mDb, to see its statements
    CppSQLite3DB mDb;
};

// ---- the error

TEST(CppSQLite3ExceptionTest, KeepsCodeAndACopyOfTheMessage) {
    std::string message = "disk I/O error 100%s";
    const CppSQLite3Exception exception(SQLITE_IOERR, message.c_str(), false);
    message = "something else altogether";
    EXPECT_EQ(exception.errorCode(), SQLITE_IOERR);
    EXPECT_STREQ(exception.errorMessage(), "disk I/O error 100%s");
    EXPECT_STREQ(exception.what(), "disk I/O error 100%s");
}

TEST(CppSQLite3ExceptionTest, KeepsThePrimaryCodeOnly) {
    EXPECT_EQ(CppSQLite3Exception(SQLITE_CONSTRAINT_UNIQUE, "", false).errorCode(), SQLITE_CONSTRAINT);
    EXPECT_EQ(CppSQLite3Exception(SQLITE_BUSY_SNAPSHOT, "", false).errorCode(), SQLITE_BUSY);
}

TEST(CppSQLite3ExceptionTest, TheMessageIsNeverNull) {
    EXPECT_STREQ(CppSQLite3Exception(SQLITE_ERROR, "", false).errorMessage(), "");
    EXPECT_STREQ(CppSQLite3Exception(SQLITE_ERROR, nullptr, false).errorMessage(), "");
    EXPECT_STREQ(CppSQLite3Exception(SQLITE_ERROR, nullptr, true).errorMessage(), "");
}

TEST(CppSQLite3ExceptionTest, ReleasesAMessageThatIsHandedOver) {
    const sqlite3_int64 before = sqlite3_memory_used();
    {
        const CppSQLite3Exception exception(SQLITE_ERROR, sqlite3_mprintf("no column %d", 7), true);
        EXPECT_STREQ(exception.errorMessage(), "no column 7");
    }
    EXPECT_EQ(sqlite3_memory_used(), before);
}

TEST(CppSQLite3ExceptionTest, LeavesAMessageThatIsNotHandedOver) {
    const std::unique_ptr<char, void (*)(void*)> message(sqlite3_mprintf("still %s", "here"), sqlite3_free);
    { const CppSQLite3Exception exception(SQLITE_ERROR, message.get(), false); }
    EXPECT_STREQ(message.get(), "still here");
}

TEST(CppSQLite3ExceptionTest, CopiesOutliveTheirOriginal) {
    const sqlite3_int64 before = sqlite3_memory_used();
    {
        auto original = std::make_unique<CppSQLite3Exception>(SQLITE_BUSY, "database is locked", false);
        const CppSQLite3Exception copy(*original);
        CppSQLite3Exception assigned(SQLITE_ERROR, "replaced", false);
        assigned = *original;
        original.reset();
        for (const CppSQLite3Exception* const exception :
             {&copy, static_cast<const CppSQLite3Exception*>(&assigned)}) {
            EXPECT_EQ(exception->errorCode(), SQLITE_BUSY);
            EXPECT_STREQ(exception->errorMessage(), "database is locked");
        }
        const CppSQLite3Exception& self = assigned;
        assigned = self;
        EXPECT_STREQ(assigned.errorMessage(), "database is locked");
    }
    EXPECT_EQ(sqlite3_memory_used(), before);
}

TEST(CppSQLite3ExceptionTest, CanBeThrownAgainLater) {
    std::exception_ptr kept;
    try {
        throw CppSQLite3Exception(SQLITE_FULL, "database or disk is full", false);
    } catch (const std::exception&) {
        kept = std::current_exception();
    }
    expectThrows(SQLITE_FULL, testing::StrEq("database or disk is full"),
                 [&] { std::rethrow_exception(kept); });
}

// ---- opening and closing

TEST_F(CppSQLite3Test, ANewConnectionIsClosed) {
    CppSQLite3DB closed;
    EXPECT_FALSE(closed.checkDBIsOpen());
    closed.close();
    EXPECT_FALSE(closed.checkDBIsOpen());
}

TEST_F(CppSQLite3Test, OpenMakesAMissingFile) {
    CppSQLite3DB other;
    other.open(pathOf("new.db").c_str());
    EXPECT_TRUE(other.checkDBIsOpen());
    EXPECT_TRUE(fs::is_regular_file(pathOf("new.db")));
    other.execDML("CREATE TABLE x (y)");
}

TEST_F(CppSQLite3Test, OpenTakesAnEmptyFile) {
    { const std::ofstream empty(pathOf("empty.db")); }
    CppSQLite3DB other;
    other.open(pathOf("empty.db").c_str());
    other.execDML("CREATE TABLE x (y)");
    EXPECT_EQ(other.execDML("INSERT INTO x VALUES (1)"), 1);
}

TEST_F(CppSQLite3Test, OpenFindsWhatWasStored) {
    db().close();
    EXPECT_FALSE(db().checkDBIsOpen());
    db().open(dbPath().c_str());
    EXPECT_TRUE(db().checkDBIsOpen());
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 3);
}

TEST_F(CppSQLite3Test, OpenClosesWhatIsOpen) {
    db().open(pathOf("other.db").c_str());
    EXPECT_EQ(number("SELECT COUNT(*) FROM sqlite_master"), 0);
    const RawConnection first = openRaw(dbPath());
    EXPECT_EQ(runRaw(first, "BEGIN EXCLUSIVE"), SQLITE_OK);
}

TEST_F(CppSQLite3Test, OpenWithoutANameThrows) {
    for (const char* const path : {"", static_cast<const char*>(nullptr)}) {
        CppSQLite3DB other;
        expectThrows(SQLITE_CANTOPEN, HasSubstr("unable to open database file"), [&] { other.open(path); });
        EXPECT_FALSE(other.checkDBIsOpen());
    }
}

TEST_F(CppSQLite3Test, OpenOfWhatIsNoDatabaseThrowsAndLeavesItAlone) {
    const std::string text = "This is a letter, and not a short one; it is no database either.\n";
    for (const std::string& contents :
         {text, std::string("ab"), std::string(4096, '\0'), std::string(100000, 'x')}) {
        { std::ofstream(pathOf("letter.txt"), std::ios::binary) << contents; }
        CppSQLite3DB other;
        expectThrows(SQLITE_NOTADB, HasSubstr("not a database"),
                     [&] { other.open(pathOf("letter.txt").c_str()); });
        EXPECT_FALSE(other.checkDBIsOpen());
        EXPECT_EQ(fs::file_size(pathOf("letter.txt")), contents.size());
    }
}

TEST_F(CppSQLite3Test, OpenOfAFolderOrInAMissingFolderThrows) {
    fs::create_directory(pathOf("folder"));
    for (const char* const name : {"folder", "missing/new.db", "test.db/new.db"}) {
        CppSQLite3DB other;
        expectThrows(SQLITE_CANTOPEN, HasSubstr("unable to open database file"),
                     [&] { other.open(pathOf(name).c_str()); });
        EXPECT_FALSE(other.checkDBIsOpen());
    }
    EXPECT_FALSE(fs::exists(pathOf("missing")));
}

TEST_F(CppSQLite3Test, AFailedOpenLeavesTheConnectionClosedAndUsable) {
    EXPECT_THROW(db().open(""), CppSQLite3Exception);
    EXPECT_FALSE(db().checkDBIsOpen());
    db().open(dbPath().c_str());
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 3);
}

TEST_F(CppSQLite3Test, DestroyingTheConnectionClosesIt) {
    {
        CppSQLite3DB other;
        other.open(dbPath().c_str());
        other.execDML("BEGIN EXCLUSIVE");
        EXPECT_EQ(runRaw(openRaw(dbPath()), "BEGIN IMMEDIATE"), SQLITE_BUSY);
    }
    EXPECT_EQ(runRaw(openRaw(dbPath()), "BEGIN IMMEDIATE"), SQLITE_OK);
}

TEST_F(CppSQLite3Test, CallsOnAClosedConnectionThrow) {
    db().close();
    db().close();
    EXPECT_THROW(db().execDML("CREATE TABLE x (y)"), CppSQLite3Exception);
    EXPECT_THROW(db().execQuery("SELECT 1"), CppSQLite3Exception);
    CppSQLite3DB never;
    EXPECT_THROW(never.execDML("BEGIN"), CppSQLite3Exception);
    EXPECT_THROW(never.execQuery("SELECT 1"), CppSQLite3Exception);
}

// ---- running a statement

TEST_F(CppSQLite3Test, ExecDMLReturnsTheChangedRows) {
    EXPECT_EQ(db().execDML("INSERT INTO t VALUES (4, 'four'), (5, 'five')"), 2);
    EXPECT_EQ(db().execDML("UPDATE t SET s = 'x' WHERE n > 2"), 3);
    EXPECT_EQ(db().execDML("UPDATE t SET s = 'x' WHERE n > 2"), 3) << "matched rows count, changed or not";
    EXPECT_EQ(db().execDML("UPDATE t SET s = 'y' WHERE n > 99"), 0);
    EXPECT_EQ(db().execDML("DELETE FROM t WHERE n = 1"), 1);
    EXPECT_EQ(db().execDML("DELETE FROM t WHERE n = 1"), 0);
    EXPECT_EQ(db().execDML("DELETE FROM t"), 4);
}

TEST_F(CppSQLite3Test, OtherStatementsKeepTheLastCount) {
    db().execDML("INSERT INTO t VALUES (4, 'four'), (5, 'five')");
    EXPECT_EQ(db().execDML("BEGIN TRANSACTION;"), 2);
    EXPECT_EQ(db().execDML("CREATE TABLE IF NOT EXISTS other (x)"), 2);
    EXPECT_EQ(db().execDML("COMMIT TRANSACTION;"), 2);
    db().execDML("DELETE FROM t WHERE n > 99");
    EXPECT_EQ(db().execDML("BEGIN TRANSACTION;"), 0);
    EXPECT_EQ(db().execDML("DROP TABLE other"), 0);

    CppSQLite3DB fresh;
    fresh.open(pathOf("fresh.db").c_str());
    EXPECT_EQ(fresh.execDML("CREATE TABLE x (y)"), 0);
}

TEST_F(CppSQLite3Test, ExecDMLRunsToTheEndPastRows) {
    EXPECT_EQ(db().execDML("INSERT INTO t SELECT n + 10, s FROM t RETURNING n"), 3);
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 6);
    expectThrows(SQLITE_ERROR, testing::StrEq("integer overflow"),
                 [&] { db().execDML("SELECT abs(column1) FROM (VALUES (1), (-9223372036854775808))"); });
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(CppSQLite3Test, ErrorsCarryPrimaryCodeAndMessageOfSQLite) {
    expectThrows(SQLITE_ERROR, testing::StrEq("near \"SELEKT\": syntax error"),
                 [&] { db().execQuery("SELEKT 1"); });
    expectThrows(SQLITE_ERROR, testing::StrEq("no such table: nowhere"),
                 [&] { db().execDML("DELETE FROM nowhere"); });
    expectThrows(SQLITE_CONSTRAINT, testing::StrEq("UNIQUE constraint failed: t.n"),
                 [&] { db().execDML("INSERT INTO t VALUES (1, 'again')"); });
    expectThrows(SQLITE_ERROR, testing::StrEq("integer overflow"),
                 [&] { db().execQuery("SELECT abs(-9223372036854775808)"); });
    EXPECT_EQ(openStatements(), 0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 3) << "the connection stays usable";
}

TEST_F(CppSQLite3Test, ALockedDatabaseIsBusy) {
    EXPECT_GT(number("PRAGMA busy_timeout"), 0) << "statements wait for another process's lock";
    EXPECT_EQ(number("PRAGMA busy_timeout = 0"), 0);
    const RawConnection other = openRaw(dbPath());
    ASSERT_EQ(runRaw(other, "BEGIN EXCLUSIVE"), SQLITE_OK);
    expectThrows(SQLITE_BUSY, testing::StrEq("database is locked"),
                 [&] { db().execDML("INSERT INTO t VALUES (4, 'four')"); });
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 3) << "reading goes on while another process writes";
    ASSERT_EQ(runRaw(other, "ROLLBACK"), SQLITE_OK);
    EXPECT_EQ(db().execDML("INSERT INTO t VALUES (4, 'four')"), 1);
}

TEST_F(CppSQLite3Test, BlanksCommentsAndSemicolonsAroundTheStatementAreFine) {
    const std::vector<std::pair<const char*, const char*>> around = {
        {"", ""},
        {"", ";"},
        {"", " ; ; ;\n\t "},
        {"", "; -- done; INSERT INTO t VALUES (9, 'nine')"},
        {"", "; /* INSERT INTO t VALUES (9, 'nine'); */ ;"},
        {"", "; /* unfinished"},
        {"", " -- without semicolon\n"},
        {" \n", ""},
        {"; ;", ";"},
        {"-- first\n", ""},
        {"/* first; */ ; ", ""},
    };
    for (const auto& [before, behind] : around) {
        const std::string insert = before + std::string("INSERT INTO t VALUES (7, 'seven')") + behind;
        EXPECT_EQ(db().execDML(insert.c_str()), 1) << insert;
        const std::string select = before + std::string("SELECT COUNT(*) FROM t") + behind;
        EXPECT_EQ(number(select.c_str()), 4) << select;
        EXPECT_EQ(db().execDML("DELETE FROM t WHERE n > 3"), 1) << insert;
    }
}

TEST_F(CppSQLite3Test, AnythingBehindTheStatementThrowsBeforeAnythingRuns) {
    const std::string insert = "INSERT INTO t VALUES (7, 'seven')";
    for (const char* const behind :
         {"; INSERT INTO t VALUES (8, 'eight')", ";DELETE FROM t", ";;; SELECT 1;", "; BEGIN", "; COMMIT",
          "; DROP TABLE t; --", "; /* c */ DELETE FROM t", "; -- c\nDELETE FROM t", "; nonsense", "; '",
          "; SELECT * FROM nowhere", "; PRAGMA user_version = 7", "; 7", " SELECT 1", "; ?"}) {
        EXPECT_THROW(db().execDML((insert + behind).c_str()), CppSQLite3Exception) << behind;
        EXPECT_THROW(db().execQuery((insert + behind).c_str()), CppSQLite3Exception) << behind;
        EXPECT_THROW(db().execQuery((std::string("SELECT 1") + behind).c_str()), CppSQLite3Exception)
            << behind;
        EXPECT_EQ(openStatements(), 0) << behind;
    }
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 3);
    EXPECT_EQ(number("PRAGMA user_version"), 0);
    EXPECT_EQ(db().execDML("BEGIN"), 3) << "no transaction was begun";
}

TEST_F(CppSQLite3Test, APragmaBehindTheStatementThrowsBeforeAnythingRuns) {
    const int keys = number("PRAGMA foreign_keys");
    const std::string change = "PRAGMA foreign_keys = " + std::to_string(1 - keys);
    EXPECT_THROW(db().execDML(("INSERT INTO t VALUES (7, 'seven'); " + change).c_str()), CppSQLite3Exception);
    EXPECT_EQ(number("PRAGMA foreign_keys"), keys);
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 3);
}

TEST_F(CppSQLite3Test, APragmaWithMoreBehindItThrowsBeforeAnythingRuns) {
    const int keys = number("PRAGMA foreign_keys");
    const std::string change = "PRAGMA foreign_keys = " + std::to_string(1 - keys);
    EXPECT_THROW(db().execDML((change + "; DELETE FROM t").c_str()), CppSQLite3Exception);
    EXPECT_EQ(number("PRAGMA foreign_keys"), keys);
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 3);
}

TEST_F(CppSQLite3Test, NoStatementThrows) {
    for (const char* const nothing :
         {"", " \n", ";", "-- only a comment", "/* and */ ; ", static_cast<const char*>(nullptr)}) {
        EXPECT_THROW(db().execDML(nothing), CppSQLite3Exception);
        EXPECT_THROW(db().execQuery(nothing), CppSQLite3Exception);
    }
}

// ---- the cursor

TEST_F(CppSQLite3Test, WalksTheRowsAndStaysAtTheEnd) {
    CppSQLite3Query query = rows();
    std::vector<int> numbers;
    for (; !query.eof(); query.nextRow()) {
        numbers.push_back(query.getIntField("n", -1));
    }
    EXPECT_THAT(numbers, testing::ElementsAre(1, 2, 3));
    query.nextRow();
    query.nextRow();
    EXPECT_TRUE(query.eof()) << "the statement does not start over";
}

TEST_F(CppSQLite3Test, ACursorOverNothingIsAtTheEnd) {
    EXPECT_TRUE(db().execQuery("SELECT * FROM t WHERE n > 99").eof());
    CppSQLite3Query none;
    EXPECT_TRUE(none.eof());
    none.nextRow();
    none.finalize();
    EXPECT_EQ(none.getIntField("n", 5), 5);
}

TEST_F(CppSQLite3Test, GettersReadByNameAndByPosition) {
    const CppSQLite3Query query = db().execQuery(
        "SELECT 7 AS seven, 9223372036854775807 AS large, 'it''s' AS text, '' AS empty, -1 AS negative");
    EXPECT_EQ(query.getIntField("seven", 0), 7);
    EXPECT_EQ(query.getIntField(0, 0), 7);
    EXPECT_EQ(query.getIntField(4, 0), -1);
    EXPECT_EQ(query.getInt64Field("large", 0), 9223372036854775807LL);
    EXPECT_EQ(query.getInt64Field(1, 0), 9223372036854775807LL);
    EXPECT_EQ(query.getInt64Field("negative", 0), -1);
    EXPECT_STREQ(query.getStringField("text", "none"), "it's");
    EXPECT_STREQ(query.getStringField("empty", "none"), "");
}

TEST_F(CppSQLite3Test, GettersConvertAsSQLiteDoes) {
    const CppSQLite3Query query = db().execQuery(
        "SELECT '12abc' AS digits, 'abc' AS letters, 3.9 AS real, 4294967301 AS wide, 8 AS eight");
    EXPECT_EQ(query.getIntField("digits", -1), 12);
    EXPECT_EQ(query.getIntField("letters", -1), 0);
    EXPECT_EQ(query.getInt64Field("real", -1), 3);
    EXPECT_EQ(query.getIntField("wide", -1), 5) << "the low 32 bits";
    EXPECT_EQ(query.getInt64Field("wide", -1), 4294967301LL);
    EXPECT_STREQ(query.getStringField("eight", ""), "8");
}

TEST_F(CppSQLite3Test, GettersReturnTheNullValueForNull) {
    const CppSQLite3Query query = db().execQuery("SELECT NULL AS absent");
    EXPECT_EQ(query.getIntField("absent", -5), -5);
    EXPECT_EQ(query.getIntField(0, -5), -5);
    EXPECT_EQ(query.getInt64Field("absent", 1LL << 40), 1LL << 40);
    EXPECT_EQ(query.getInt64Field(0, 1LL << 40), 1LL << 40);
    EXPECT_STREQ(query.getStringField("absent", "none"), "none");
    EXPECT_EQ(query.getStringField("absent", nullptr), nullptr);
}

TEST_F(CppSQLite3Test, GettersReturnTheNullValueWithoutARow) {
    CppSQLite3Query empty = db().execQuery("SELECT n, s FROM t WHERE n > 99");
    CppSQLite3Query passed = db().execQuery("SELECT n, s FROM t WHERE n = 1");
    passed.nextRow();
    CppSQLite3Query finalized = rows();
    finalized.finalize();
    for (const CppSQLite3Query* const query : {&empty, &passed, &finalized}) {
        EXPECT_EQ(query->getIntField("n", 5), 5);
        EXPECT_EQ(query->getIntField(0, 5), 5);
        EXPECT_EQ(query->getInt64Field("n", 6), 6);
        EXPECT_EQ(query->getInt64Field(0, 6), 6);
        EXPECT_STREQ(query->getStringField("s", "none"), "none");
    }
}

TEST_F(CppSQLite3Test, UnknownColumnsThrow) {
    const CppSQLite3Query query = rows();
    EXPECT_THROW(query.getIntField("x", 0), CppSQLite3Exception);
    EXPECT_THROW(query.getInt64Field("x", 0), CppSQLite3Exception);
    EXPECT_THROW(query.getStringField("", ""), CppSQLite3Exception);
    for (const int position : {-1, 2, 1000}) {
        EXPECT_THROW(query.getIntField(position, 0), CppSQLite3Exception);
        EXPECT_THROW(query.getInt64Field(position, 0), CppSQLite3Exception);
    }
    expectThrows(SQLITE_ERROR, HasSubstr("no%such"), [&] { query.getStringField("no%such", ""); });
    EXPECT_EQ(query.getIntField("n", 0), 1) << "the cursor stays where it was";
}

TEST_F(CppSQLite3Test, AFailingStepThrowsAndEndsTheCursor) {
    CppSQLite3Query query =
        db().execQuery("SELECT abs(column1) AS n FROM (VALUES (1), (-9223372036854775808), (3))");
    EXPECT_EQ(query.getIntField("n", 0), 1);
    expectThrows(SQLITE_ERROR, testing::StrEq("integer overflow"), [&] { query.nextRow(); });
    EXPECT_TRUE(query.eof());
    EXPECT_EQ(query.getIntField("n", -1), -1);
    query.nextRow();
    EXPECT_TRUE(query.eof());
    query.finalize();
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(CppSQLite3Test, FinalizeReleasesTheStatementAndMayBeRepeated) {
    CppSQLite3Query query = rows();
    EXPECT_EQ(openStatements(), 1);
    query.finalize();
    EXPECT_EQ(openStatements(), 0);
    EXPECT_TRUE(query.eof());
    query.finalize();
    query.nextRow();
    EXPECT_TRUE(query.eof());
}

TEST_F(CppSQLite3Test, DestroyingTheCursorReleasesTheStatement) {
    {
        const CppSQLite3Query query = rows();
        EXPECT_EQ(openStatements(), 1);
    }
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(CppSQLite3Test, CopyingHandsTheStatementOver) {
    {
        auto source = std::make_unique<CppSQLite3Query>(rows());
        CppSQLite3Query copy(*source);
        EXPECT_TRUE(source->eof());
        EXPECT_EQ(source->getIntField("n", -1), -1);
        source->nextRow();
        source->finalize();
        source.reset();
        EXPECT_EQ(openStatements(), 1);
        EXPECT_EQ(copy.getIntField("n", -1), 1);
        copy.nextRow();
        EXPECT_STREQ(copy.getStringField("s", ""), "two");
    }
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(CppSQLite3Test, MovingHandsTheStatementOver) {
    {
        CppSQLite3Query source = rows();
        CppSQLite3Query moved(std::move(source));  // NOLINT(performance-move-const-arg): copying moves, too
        EXPECT_TRUE(source.eof());  // NOLINT(bugprone-use-after-move): an emptied cursor is at eof
        source.finalize();
        EXPECT_EQ(moved.getIntField("n", -1), 1);

        CppSQLite3Query assigned;
        assigned = std::move(moved);  // NOLINT(performance-move-const-arg)
        EXPECT_TRUE(moved.eof());     // NOLINT(bugprone-use-after-move)
        EXPECT_EQ(assigned.getIntField("n", -1), 1);
        EXPECT_EQ(openStatements(), 1);
    }
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(CppSQLite3Test, AssigningReleasesWhatTheTargetHeld) {
    {
        CppSQLite3Query target = db().execQuery("SELECT 'old' AS s");
        const CppSQLite3Query source = rows();
        EXPECT_EQ(openStatements(), 2);
        target = source;
        EXPECT_EQ(openStatements(), 1);
        EXPECT_TRUE(source.eof());
        EXPECT_STREQ(target.getStringField("s", ""), "one");

        const CppSQLite3Query& self = target;
        target = self;
        EXPECT_STREQ(target.getStringField("s", ""), "one");

        target = CppSQLite3Query();
        EXPECT_EQ(openStatements(), 0);
        EXPECT_TRUE(target.eof());
    }
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(CppSQLite3Test, ACursorThatDoesNotOwnItsStatementLeavesIt) {
    const RawConnection raw = openRaw(dbPath());
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(raw.get(), "SELECT n FROM t ORDER BY n", -1, &statement, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    {
        CppSQLite3Query query(raw.get(), statement, false, false);
        CppSQLite3Query copy(query);
        EXPECT_EQ(copy.getIntField(0, -1), 1);
        copy.finalize();
        EXPECT_TRUE(copy.eof());
    }
    EXPECT_EQ(countOpenStatements(raw.get()), 1);
    EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
    { const CppSQLite3Query owner(raw.get(), statement, false); }
    EXPECT_EQ(countOpenStatements(raw.get()), 0);
}

TEST_F(CppSQLite3Test, ACursorOutlivesItsConnection) {
    // Leaving write-ahead logging takes the file alone, so it tells whether another connection has it.
    const auto isAloneWithTheFile = [](const RawConnection& connection) {
        std::string mode;
        const auto keepMode = [](void* kept, int, char** values, char**) {
            *static_cast<std::string*>(kept) = values[0];
            return 0;
        };
        sqlite3_exec(connection.get(), "PRAGMA journal_mode = DELETE", keepMode, &mode, nullptr);
        return mode == "delete";
    };
    db().close();
    for (const bool destroyed : {false, true}) {
        auto connection = std::make_unique<CppSQLite3DB>();
        connection->open(dbPath().c_str());
        CppSQLite3Query query = connection->execQuery("SELECT n, s FROM t ORDER BY n");
        connection->close();
        EXPECT_FALSE(connection->checkDBIsOpen());
        if (destroyed) {
            connection.reset();
        }
        EXPECT_EQ(query.getIntField("n", -1), 1);
        query.nextRow();
        EXPECT_STREQ(query.getStringField("s", ""), "two");
        const RawConnection other = openRaw(dbPath());
        EXPECT_FALSE(isAloneWithTheFile(other)) << "the cursor still reads the file";
        query.finalize();
        EXPECT_TRUE(isAloneWithTheFile(other)) << "the file is let go with the last cursor";
    }
}

}  // namespace

}  // namespace pelkotest
