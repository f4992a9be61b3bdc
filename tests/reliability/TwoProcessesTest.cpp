#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "classes/platform/LoginContext.h"
#include "tests/reliability/support/OtherProcess.h"
#include "tests/reliability/support/ShimVfs.h"
#include "tests/reliability/support/StoreOperations.h"
#include "tests/reliability/support/StoredRows.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestPlatform.h"

// Two processes over one file, as an app and its notification extension: each waits for the other's writes,
// nothing that either acknowledged is lost, and who has waited for too long says so.

namespace pelkotest {

namespace {

using namespace pelkoapi;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int ready = 1;
constexpr int goOn = 2;

PelkoDBManager& db() {
    return *PelkoDBManager::getInstance();
}

/// A connection without any of the store's care, in the other process.
class RawConnection {
public:
    explicit RawConnection(const std::string& path) {
        sqlite3* raw = nullptr;
        const int result = sqlite3_open(path.c_str(), &raw);
        mConnection.reset(raw);
        if (result != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(raw));
        }
        sqlite3_busy_timeout(raw, 10'000);
    }
    void run(const char* sql) {
        if (sqlite3_exec(mConnection.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(mConnection.get()));
        }
    }

private:
    struct Closer {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    std::unique_ptr<sqlite3, Closer> mConnection;
};

class TwoProcessesTest : public testing::Test {
protected:
    void SetUp() override {
        platform() = TestPlatform();
        platform().userRoot = mFolder.path().string();
        LoginContext::getInstance()->setUserName("me");
        // Made and closed, so that both sides find the same file.
        ASSERT_TRUE(db().setUp());
        fillStore(db());
        db().tearDown();
        forget();
    }
    void TearDown() override { db().tearDown(); }

    static void forget() {
        platform().file.clear();
        platform().console.clear();
    }
    /// Opens the store while the other process may be writing.
    static void open() {
        ASSERT_TRUE(db().setUp()) << "opening needs no lock of writing";
        forget();  // what of a repair had to be left for another time
    }

    std::string path() const { return (mFolder.path() / "db.dat").string(); }

    /// Holds the lock of writing from its ready on until it is told to go on, and for some milliseconds more.
    void holdTheLock(OtherProcess::Line& line, int milliseconds) const {
        RawConnection connection(path());
        connection.run("BEGIN IMMEDIATE; INSERT INTO tbl_group_list VALUES (999)");
        line.tell(ready);
        line.hear();
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        connection.run("COMMIT");
    }

    static PelkoMessage message(const std::string& text) {
        return PelkoMessage::createTextMessage(PelkoUser("alice"), PelkoRoom(5), text);
    }
    /// The rows of tbl_msg with these texts, at most one each.
    static int countOf(const StoredRows& rows, const std::string& text, int number) {
        int found = 0;
        for (int i = 0; i < number; ++i) {
            const std::string literal = "'" + text + ' ' + std::to_string(i) + "'";
            for (const std::string& row : rows.at("tbl_msg")) {
                if (row.find(literal) != std::string::npos) {
                    ++found;
                    break;
                }
            }
        }
        return found;
    }

private:
    TemporaryFolder mFolder;
};

/// Lets every call through.
class Bystander : public IoObserver {
public:
    int before(IoCall, const std::string&) noexcept override { return SQLITE_OK; }
};

TEST_F(TwoProcessesTest, AWriteWaitsForTheOtherOnes) {
    OtherProcess other([&](OtherProcess::Line& line) { holdTheLock(line, 300); });
    ASSERT_EQ(other.hear(), ready);
    open();
    other.tell(goOn);
    PelkoMessage mine = message("after waiting");
    EXPECT_TRUE(db().insertMessage(&mine));
    EXPECT_TRUE(db().isInGroup(999)) << "what was waited for is seen";
    EXPECT_THAT(platform().file, IsEmpty());
    EXPECT_EQ(other.join(), 0);
}

TEST_F(TwoProcessesTest, EveryWriterGivesUpWithItsNeutralResultWhenTheTimeIsOver) {
    OtherProcess other([&](OtherProcess::Line& line) { holdTheLock(line, 0); });
    ASSERT_EQ(other.hear(), ready);
    Bystander bystander;
    const ShimVfs noWaiting(bystander);
    open();
    const StoredRows before = storedRows(path());

    int refused = 0;
    long long waitedBefore = ShimVfs::waited();
    for (const StoreOperation& operation : storeOperations()) {
        SCOPED_TRACE(operation.name);
        forget();
        operation.run(db());
        const long long waited = ShimVfs::waited() - waitedBefore;
        waitedBefore = ShimVfs::waited();
        if (platform().file.empty()) {
            EXPECT_EQ(waited, 0) << "who reads does not wait";
            continue;
        }
        ++refused;
        for (const std::string& line : platform().file) {
            EXPECT_THAT(line, testing::EndsWith(" failed, exception in (database is locked)."));
        }
        EXPECT_EQ(platform().console.size(), platform().file.size());
        const auto refusals = static_cast<long long>(platform().file.size());
        EXPECT_GE(waited, refusals * 4'900'000) << "each statement waits for five seconds";
        EXPECT_LE(waited, refusals * 5'100'000);
    }
    EXPECT_GT(refused, 35) << "there are that many operations that write";
    EXPECT_EQ(difference(before, storedRows(path())), "");

    other.tell(goOn);
    EXPECT_EQ(other.join(), 0);
    forget();
    PelkoMessage mine = message("at last");
    EXPECT_TRUE(db().insertMessage(&mine)) << "the connection works on";
    EXPECT_THAT(platform().file, IsEmpty());
    db().tearDown();
}

TEST_F(TwoProcessesTest, RepairsAtTheOpeningDoNotWaitAndAreMadeAtTheNextOne) {
    {
        RawConnection connection(path());
        connection.run(
            "UPDATE tbl_msg SET media_status = 0, status = 1; UPDATE tbl_msg SET status = 3 WHERE db_id = 1");
    }
    OtherProcess other([&](OtherProcess::Line& line) { holdTheLock(line, 0); });
    ASSERT_EQ(other.hear(), ready);
    ASSERT_TRUE(db().setUp());
    EXPECT_THAT(platform().file,
                ElementsAre("updateMessageStatus failed, exception in (database is locked)."));
    EXPECT_EQ(db().getMessage(1).status, PelkoMessageStatusSending);
    other.tell(goOn);
    EXPECT_EQ(other.join(), 0);
    db().tearDown();
    forget();
    ASSERT_TRUE(db().setUp());
    EXPECT_THAT(platform().file, IsEmpty());
    EXPECT_EQ(db().getMessage(1).status, PelkoMessageStatusSendingFailed);
}

TEST_F(TwoProcessesTest, ReadersSeeWhatWasBeforeWhileTheOtherWrites) {
    OtherProcess other([&](OtherProcess::Line& line) { holdTheLock(line, 0); });
    ASSERT_EQ(other.hear(), ready);
    open();
    EXPECT_FALSE(db().isInGroup(999));
    EXPECT_GT(db().getTotalUnreadCount(), 0U);
    other.tell(goOn);
    EXPECT_EQ(other.join(), 0);
    EXPECT_TRUE(db().isInGroup(999));
    EXPECT_THAT(platform().file, IsEmpty());
}

TEST_F(TwoProcessesTest, NoWriteOfEitherIsLost) {
    constexpr int each = 200;
    const auto writeAll = [](const std::string& who) {
        int stored = 0;
        for (int i = 0; i < each; ++i) {
            PelkoMessage mine = message(who + ' ' + std::to_string(i));
            std::string name = who + std::to_string(i);
            const bool done = db().insertMessage(&mine) &&
                              db().updateMessageStatus(mine.dbID, PelkoMessageStatusRead) &&
                              db().addFriend(name) && db().updateLastMsgID(who, i + 1);
            stored += done ? 1 : 0;
        }
        return stored;
    };
    OtherProcess other([&](OtherProcess::Line& line) {
        db().setUp();
        line.tell(ready);
        line.hear();
        const int stored = writeAll("theirs");
        db().tearDown();
        line.tell(stored);
    });
    ASSERT_EQ(other.hear(), ready);
    ASSERT_TRUE(db().setUp());
    other.tell(goOn);
    const int mine = writeAll("mine");
    const int theirs = other.hear();
    EXPECT_EQ(mine, each) << testing::PrintToString(platform().file);
    EXPECT_EQ(theirs, each);
    EXPECT_EQ(other.join(), 0);

    EXPECT_EQ(db().getLastMsgID("mine"), each);
    EXPECT_EQ(db().getLastMsgID("theirs"), each);
    for (int i = 0; i < each; ++i) {
        std::string name = "theirs" + std::to_string(i);
        EXPECT_TRUE(db().isFriend(name));
    }
    db().tearDown();
    const StoredRows rows = storedRows(path());
    EXPECT_EQ(countOf(rows, "mine", each), each);
    EXPECT_EQ(countOf(rows, "theirs", each), each);
    EXPECT_EQ(integrityOf(path()), "ok");
    std::printf("counted: %d writes of two processes at once\n", 2 * 4 * each);
}

TEST_F(TwoProcessesTest, TheOtherOnesLockEndsWithItsLife) {
    OtherProcess other([&](OtherProcess::Line& line) { holdTheLock(line, 0); });
    ASSERT_EQ(other.hear(), ready);
    open();
    other.kill();
    EXPECT_EQ(other.join(), -1);
    PelkoMessage mine = message("after its end");
    EXPECT_TRUE(db().insertMessage(&mine));
    EXPECT_FALSE(db().isInGroup(999)) << "what it had not committed is gone";
    EXPECT_THAT(platform().file, IsEmpty());
    EXPECT_EQ(integrityOf(path()), "ok");
}

TEST_F(TwoProcessesTest, ClosingOneLeavesTheOtherItsJournal) {
    OtherProcess other([&](OtherProcess::Line& line) {
        db().setUp();
        PelkoMessage theirs = message("theirs");
        db().insertMessage(&theirs);
        line.tell(ready);
        line.hear();
        db().tearDown();
        line.tell(ready);
        line.hear();
    });
    ASSERT_EQ(other.hear(), ready);
    ASSERT_TRUE(db().setUp());
    PelkoMessage first = message("first");
    ASSERT_TRUE(db().insertMessage(&first));
    other.tell(goOn);
    ASSERT_EQ(other.hear(), ready);
    PelkoMessage second = message("second");
    EXPECT_TRUE(db().insertMessage(&second));
    EXPECT_EQ(db().getMessage(first.dbID).text, "first");
    other.tell(goOn);
    EXPECT_EQ(other.join(), 0);
    db().tearDown();
    EXPECT_FALSE(std::filesystem::exists(path() + "-wal")) << "the last one tidies up";
    EXPECT_EQ(integrityOf(path()), "ok");
    EXPECT_THAT(platform().file, IsEmpty());
}

TEST_F(TwoProcessesTest, AReadTransactionThatWasOvertakenCannotWriteAnyMore) {
    OtherProcess other([&](OtherProcess::Line& line) {
        line.hear();
        holdTheLock(line, 0);
        line.tell(ready);
    });
    ASSERT_TRUE(db().setUp());
    db().beginTransaction();
    EXPECT_GT(db().getTotalUnreadCount(), 0U);
    other.tell(goOn);
    ASSERT_EQ(other.hear(), ready);
    other.tell(goOn);
    ASSERT_EQ(other.hear(), ready) << "it has committed";
    PelkoMessage mine = message("too late");
    EXPECT_FALSE(db().insertMessage(&mine));
    EXPECT_THAT(platform().file, ElementsAre("insertMessage failed, exception in (database is locked)."));
    EXPECT_NO_THROW(db().commiteTransaction());
    EXPECT_TRUE(db().insertMessage(&mine)) << "in a transaction of its own";
    EXPECT_EQ(other.join(), 0);
}

}  // namespace

}  // namespace pelkotest
