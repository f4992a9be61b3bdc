#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>

#include "classes/sqlite/CppSQLite3.h"
#include "classes/sqlite/DatabaseKey.h"
#include "tests/support/StoreTest.h"

// The connection and a file that somebody else has had in his hands: nothing that is in the file runs, and
// nothing that runs reaches beyond it.

namespace pelkotest {

namespace {

using pelkoapi::CppSQLite3DB;
using pelkoapi::CppSQLite3Exception;
using testing::HasSubstr;

int spyCalls = 0;

void spy(sqlite3_context* context, int, sqlite3_value**) {
    ++spyCalls;
    sqlite3_result_int(context, 1);
}

/// A function that nobody has declared harmless, as those of a client's own are.
int registerSpy(sqlite3* db, const char**, const sqlite3_api_routines*) {
    return sqlite3_create_function(db, "spy", 0, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, spy, nullptr,
                                   nullptr);
}

class DefensiveTest : public testing::Test {
protected:
    void SetUp() override { spyCalls = 0; }

    std::string path() const { return (mFolder.path() / "db.dat").string(); }

    /// Fills the file as somebody with a connection of his own does.
    void plant(const std::string& sql) const {
        sqlite3* raw = nullptr;
        ASSERT_EQ(sqlite3_open(path().c_str(), &raw), SQLITE_OK);
        const std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection(raw, sqlite3_close);
        pelkoapi::useDatabaseKey(raw);
        registerSpy(raw, nullptr, nullptr);
        ASSERT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(raw);
    }

    /// The message with which the statement fails on a connection of the store; "" when it succeeds.
    static std::string errorOf(CppSQLite3DB& db, const std::string& sql) {
        try {
            db.execDML(sql.c_str());
            return {};
        } catch (const CppSQLite3Exception& exception) {
            return exception.errorMessage();
        }
    }
    std::string errorOf(const std::string& sql) const {
        CppSQLite3DB db;
        db.open(path().c_str());
        return errorOf(db, sql);
    }
    long long number(const std::string& sql) const {
        CppSQLite3DB db;
        db.open(path().c_str());
        return db.execQuery(sql.c_str()).getInt64Field(0, -1);
    }

private:
    TemporaryFolder mFolder;
};

/// The function is known to every connection that is opened while this lives.
struct SpyEverywhere {
    SpyEverywhere() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(registerSpy)); }
    ~SpyEverywhere() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(registerSpy)); }
    SpyEverywhere(const SpyEverywhere&) = delete;
    SpyEverywhere& operator=(const SpyEverywhere&) = delete;
};

TEST_F(DefensiveTest, NoOtherFileCanBeAttached) {
    EXPECT_THAT(errorOf("ATTACH DATABASE ':memory:' AS other"), HasSubstr("too many attached databases"));
    EXPECT_THAT(errorOf("ATTACH DATABASE '" + path() + "2' AS other"),
                HasSubstr("too many attached databases"));
}

TEST_F(DefensiveTest, NoExtensionCanBeLoaded) {
    EXPECT_THAT(errorOf("SELECT load_extension('libc.so.6')"),
                testing::AnyOf("not authorized", "no such function: load_extension"));
}

TEST_F(DefensiveTest, TheSchemaCannotBeWrittenPastItsStatements) {
    plant("CREATE TABLE t (a)");
    CppSQLite3DB db;
    db.open(path().c_str());
    db.execQuery("PRAGMA writable_schema = 1");
    EXPECT_EQ(errorOf(db, "UPDATE sqlite_master SET sql = 'CREATE TABLE t (b)'"),
              "table sqlite_master may not be modified");
}

TEST_F(DefensiveTest, TheJournalCannotBeSwitchedOff) {
    CppSQLite3DB db;
    db.open(path().c_str());
    const std::string mode = db.execQuery("PRAGMA journal_mode = OFF").getStringField(0, "");
    EXPECT_EQ(mode, "wal");
}

TEST_F(DefensiveTest, TriggersDoNotRun) {
    plant(
        "CREATE TABLE t (a); CREATE TABLE log (a);"
        "CREATE TRIGGER inserting AFTER INSERT ON t BEGIN INSERT INTO log VALUES (1); END;"
        "CREATE TRIGGER refusing BEFORE DELETE ON t BEGIN SELECT RAISE(FAIL, 'kept'); END;");
    EXPECT_EQ(errorOf("INSERT INTO t VALUES (7)"), "");
    EXPECT_EQ(errorOf("DELETE FROM t"), "");
    EXPECT_EQ(number("SELECT COUNT(*) FROM log"), 0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM t"), 0);
}

TEST_F(DefensiveTest, ViewsAreNotRead) {
    plant("CREATE VIEW v AS SELECT 7 AS a");
    EXPECT_THAT(errorOf("SELECT * FROM v"), HasSubstr("access to view \"v\" prohibited"));
}

TEST_F(DefensiveTest, NoModuleOfVirtualTablesIsKnown) {
    if (sqlite3_compileoption_used("ENABLE_RTREE") == 0) {
        GTEST_SKIP() << "this SQLite brings no module to make such a table with";
    }
    plant("CREATE VIRTUAL TABLE t USING rtree(id, low, high)");
    EXPECT_EQ(errorOf("SELECT * FROM t"), "no such module: rtree");
    EXPECT_EQ(errorOf("INSERT INTO t VALUES (1, 2, 3)"), "no such module: rtree");
}

TEST_F(DefensiveTest, ADefaultCallsNoFunctionThatIsNotKnownToBeHarmless) {
    plant("CREATE TABLE t (a, b DEFAULT (spy()))");
    const SpyEverywhere everywhere;
    EXPECT_THAT(errorOf("INSERT INTO t (a) VALUES (7)"), HasSubstr("unsafe use of spy()"));
    EXPECT_EQ(spyCalls, 0);
    EXPECT_EQ(number("SELECT spy()"), 1) << "a statement of the client's may call it";
}

TEST_F(DefensiveTest, AFileWhoseTablesOrIndexesCallSuchAFunctionIsRefused) {
    for (const char* const schema : {"CREATE TABLE t (a CHECK (spy()))", "CREATE TABLE t (a, b AS (spy()))",
                                     "CREATE TABLE t (a); CREATE INDEX i ON t (spy())",
                                     "CREATE TABLE t (a); CREATE INDEX i ON t (a) WHERE spy()"}) {
        std::filesystem::remove(path());
        plant(schema);
        spyCalls = 0;
        const SpyEverywhere everywhere;
        CppSQLite3DB db;
        try {
            db.open(path().c_str());
            ADD_FAILURE() << "opened with " << schema;
        } catch (const CppSQLite3Exception& exception) {
            EXPECT_THAT(exception.errorMessage(), HasSubstr("unsafe use of spy()")) << schema;
        }
        EXPECT_EQ(spyCalls, 0) << schema;
    }
}

TEST_F(DefensiveTest, PagesAreCheckedAsTheyAreRead) {
    EXPECT_EQ(number("PRAGMA cell_size_check"), 1);
}

TEST_F(DefensiveTest, NoFileIsMapped) {
    EXPECT_EQ(number("PRAGMA mmap_size"), 0);
}

TEST_F(DefensiveTest, WhatIsDeletedIsOverwritten) {
    EXPECT_EQ(number("PRAGMA secure_delete"), 1);
}

TEST_F(DefensiveTest, RowsAndStatementsAreAsLongAsMessagesNeedAndNoLonger) {
    constexpr int limit = 128 * 1024 * 1024;
    CppSQLite3DB db;
    db.open(path().c_str());
    EXPECT_EQ(errorOf(db, "SELECT zeroblob(100000000)"), "");
    EXPECT_THAT(errorOf(db, "SELECT zeroblob(" + std::to_string(limit + 1) + ")"),
                HasSubstr("string or blob too big"));
    const std::string select = "SELECT 1";
    EXPECT_EQ(errorOf(db, select + std::string(limit - select.size(), ' ')), "");
    EXPECT_THAT(errorOf(db, select + std::string(limit, ' ')), HasSubstr("too"));
}

}  // namespace

}  // namespace pelkotest
