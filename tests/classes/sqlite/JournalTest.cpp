#include <sqlite3.h>

#include <filesystem>
#include <memory>

#include "classes/sqlite/CppSQLite3.h"
#include "tests/support/StoreTest.h"

// The journal of the connection: write-ahead logging, what survives, and what remains in the folder.

namespace pelkotest {

namespace {

namespace fs = std::filesystem;
using pelkoapi::CppSQLite3DB;
using testing::ElementsAre;

using RawConnection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

RawConnection openRaw(const std::string& path) {
    sqlite3* raw = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &raw), SQLITE_OK);
    return {raw, sqlite3_close};
}

int runRaw(const RawConnection& connection, const char* sql) {
    return sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr);
}

class JournalTest : public testing::Test {
protected:
    std::string path() const { return (mFolder.path() / "db.dat").string(); }
    std::string setting(CppSQLite3DB& db, const std::string& name) {
        return std::to_string(db.execQuery(("PRAGMA " + name).c_str()).getInt64Field(0, -1));
    }
    std::string journalMode(CppSQLite3DB& db) {
        return db.execQuery("PRAGMA journal_mode").getStringField("journal_mode", "");
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(mFolder.path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

private:
    TemporaryFolder mFolder;
};

TEST_F(JournalTest, AConnectionWritesAheadAndSyncsEveryCommit) {
    CppSQLite3DB db;
    db.open(path().c_str());
    EXPECT_EQ(journalMode(db), "wal");
    EXPECT_EQ(setting(db, "synchronous"), "2");
    EXPECT_EQ(setting(db, "journal_size_limit"), "4194304");
    EXPECT_EQ(setting(db, "checkpoint_fullfsync"), "1");
    EXPECT_EQ(setting(db, "busy_timeout"), "5000");
}

TEST_F(JournalTest, OnlyTheFileRemainsAfterClosing) {
    CppSQLite3DB db;
    db.open(path().c_str());
    db.execDML("CREATE TABLE t (n)");
    db.execDML("INSERT INTO t VALUES (1)");
    db.close();
    EXPECT_THAT(files(), ElementsAre("db.dat"));
    db.open(path().c_str());
    EXPECT_EQ(db.execQuery("SELECT n FROM t").getIntField(0, 0), 1);
}

TEST_F(JournalTest, AFileOfTheOtherModeIsSwitchedWithItsRows) {
    ASSERT_EQ(runRaw(openRaw(path()), "CREATE TABLE t (n); INSERT INTO t VALUES (7)"), SQLITE_OK);
    CppSQLite3DB db;
    db.open(path().c_str());
    EXPECT_EQ(journalMode(db), "wal");
    EXPECT_EQ(db.execQuery("SELECT n FROM t").getIntField(0, 0), 7);
}

TEST_F(JournalTest, AFileThatAnotherProcessReadsGoesOnInItsMode) {
    const RawConnection other = openRaw(path());
    ASSERT_EQ(runRaw(other, "CREATE TABLE t (n); INSERT INTO t VALUES (7); BEGIN; SELECT * FROM t"),
              SQLITE_OK);
    CppSQLite3DB db;
    db.open(path().c_str());
    EXPECT_EQ(journalMode(db), "delete");
    EXPECT_EQ(setting(db, "synchronous"), "2");
    EXPECT_EQ(db.execQuery("SELECT n FROM t").getIntField(0, 0), 7);
    ASSERT_EQ(runRaw(other, "COMMIT"), SQLITE_OK);
    EXPECT_EQ(db.execDML("INSERT INTO t VALUES (8)"), 1);
}

TEST_F(JournalTest, AReaderOfTheOldModeReadsWhatWasWritten) {
    CppSQLite3DB db;
    db.open(path().c_str());
    db.execDML("CREATE TABLE t (n)");
    db.close();
    const RawConnection other = openRaw(path());
    EXPECT_EQ(runRaw(other, "PRAGMA journal_mode = DELETE; INSERT INTO t VALUES (9)"), SQLITE_OK);
}

class StoreJournalTest : public StoreTest {};

TEST_F(StoreJournalTest, OnlyDbDatRemainsAfterTearDown) {
    pelkoapi::PelkoMessage message = pelkoapi::PelkoMessage::createTextMessage("alice", "hello");
    ASSERT_TRUE(db().insertMessage(&message));
    close();
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder())) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(names, ElementsAre("db.dat"));
}

}  // namespace

}  // namespace pelkotest
