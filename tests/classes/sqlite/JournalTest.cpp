#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "classes/sqlite/CppSQLite3.h"
#include "tests/support/RawConnection.h"
#include "tests/support/StoreTest.h"
#include "tests/support/WithoutPrivileges.h"

// The journal of the connection: write-ahead logging, what survives, and what remains in the folder.

namespace pelkotest {

namespace {

namespace fs = std::filesystem;
using pelkoapi::CppSQLite3DB;
using testing::ElementsAre;

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
    EXPECT_EQ(setting(db, "synchronous"), "3") << "EXTRA";
    EXPECT_EQ(setting(db, "journal_size_limit"), "4194304");
    EXPECT_EQ(setting(db, "fullfsync"), "1");
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
    EXPECT_EQ(setting(db, "synchronous"), "3") << "EXTRA";
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

TEST_F(JournalTest, AFileThatIsLockedForAMomentIsWaitedFor) {
    ASSERT_EQ(runRaw(openRaw(path()), "CREATE TABLE t (n); INSERT INTO t VALUES (7)"), SQLITE_OK);
    const RawConnection other = openRaw(path());
    ASSERT_EQ(runRaw(other, "BEGIN EXCLUSIVE"), SQLITE_OK);
    std::thread release([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        EXPECT_EQ(runRaw(other, "ROLLBACK"), SQLITE_OK);
    });
    CppSQLite3DB db;
    EXPECT_NO_THROW(db.open(path().c_str()));
    release.join();
    EXPECT_EQ(setting(db, "synchronous"), "3") << "EXTRA";
    EXPECT_EQ(setting(db, "journal_size_limit"), "4194304");
}

TEST_F(JournalTest, AFileOnAReadOnlyMediumIsRead) {
    for (const char* const name : {"db.dat", "100% #1?.dat"}) {
        const fs::path file = fs::path(path()).parent_path() / name;
        CppSQLite3DB db;
        db.open(file.c_str());
        db.execDML("CREATE TABLE t (n)");
        db.execDML("INSERT INTO t VALUES (7)");
        db.close();
        fs::permissions(file, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
        fs::permissions(file.parent_path(), fs::perms(0555));
        {
            const WithoutPrivileges anybody;
            ASSERT_EQ(access(file.c_str(), R_OK), 0) << "the temporary folder must be open to every user";
            EXPECT_NO_THROW(db.open(file.c_str()));
            EXPECT_EQ(db.execQuery("SELECT n FROM t").getIntField(0, 0), 7);
            EXPECT_THROW(db.execDML("INSERT INTO t VALUES (8)"), pelkoapi::CppSQLite3Exception);
            db.close();
        }
        fs::permissions(file.parent_path(), fs::perms(0755));
    }
    EXPECT_THAT(files(), testing::SizeIs(2));
}

TEST_F(JournalTest, WhatIsNoDatabaseIsNotReadEither) {
    std::ofstream(path()) << std::string(8192, 'x');
    CppSQLite3DB db;
    EXPECT_THROW(db.open(path().c_str()), pelkoapi::CppSQLite3Exception);
    EXPECT_THROW(db.open((path() + "/nowhere").c_str()), pelkoapi::CppSQLite3Exception);
    EXPECT_FALSE(db.checkDBIsOpen());
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
