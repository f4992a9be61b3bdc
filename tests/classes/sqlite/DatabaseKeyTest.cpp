#include "classes/sqlite/DatabaseKey.h"

#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/StoreTest.h"
#include "tests/support/WithoutPrivileges.h"

// The store with a key: what can be read of its files without it, and what a wrong one does.

namespace pelkotest {

namespace {

namespace fs = std::filesystem;
using namespace pelkoapi;
using testing::Not;

constexpr char wrongKey[] = "file is not a database, or the key is not its key";
// No short ones, which may stand in any bytes by chance.
const std::string storedTexts[] = {"a text of a message",  "an extra text",     "the name of a friend",
                                   "a blocked user",       "a user's nickname", "a room's name",
                                   "an owner of a group",  "a notification",    "SQLite format 3",
                                   "CREATE TABLE tbl_msg", "tbl_relationship"};

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

class DatabaseKeyTest : public StoreTest {
protected:
    void SetUp() override {
        setDatabaseKey(key);
        StoreTest::SetUp();
    }
    void TearDown() override {
        StoreTest::TearDown();
        setKeyOfThisRun();
    }

    fs::path log() const { return dbPath() + "-wal"; }

    void fill() {
        PelkoMessage message = PelkoMessage::createTextMessage("alice", "a text of a message");
        message.extraText = "an extra text";
        ASSERT_TRUE(db().insertMessage(&message));
        std::string friendName = "the name of a friend";
        ASSERT_TRUE(db().addFriend(friendName));
        std::string blocked = "a blocked user";
        ASSERT_TRUE(db().blockUser(blocked));
        PelkoUser user("alice");
        user.nickname = "a user's nickname";
        ASSERT_TRUE(db().insertOrUpdateUser(user, 1));
        PelkoRoom room(5);
        room.name = "a room's name";
        ASSERT_TRUE(db().insertOrUpdateRoom(&room, 1));
        PelkoGroup group(77LL);
        group.ownerAccount = "an owner of a group";
        ASSERT_TRUE(db().insertOrUpdateGroup(&group, 1));
        PelkoNotify notify(PelkoNotifyTypeGroupInvite);
        notify.text = "a notification";
        ASSERT_TRUE(db().insertNotify(&notify));
    }
    /// The same in a file that is not encrypted, in the place of the one that is; closed.
    void fillWithoutAKey() {
        close();
        fs::remove(dbPath());
        setDatabaseKey("");
        ASSERT_TRUE(db().setUp());
        fill();
        close();
    }
    /// As fill() has stored it.
    std::string storedText() {
        std::deque<PelkoMessage> page;
        db().getLatestMessages(PelkoUser("alice"), 1, page);
        return page.empty() ? "" : page.front().text;
    }

    /// Expects a set-up with that key to fail with that reason, and every file to stay as it is.
    void expectRefused(const std::string& tried, const std::string& reason) {
        const std::string before = bytesOf(dbPath());
        const std::string logBefore = fs::exists(log()) ? bytesOf(log()) : "";
        setDatabaseKey(tried);
        forget();
        EXPECT_FALSE(db().setUp()) << tried;
        expectFailureLogged("setUp", testing::Eq(reason));
        EXPECT_TRUE(bytesOf(dbPath()) == before) << tried;
        EXPECT_TRUE((fs::exists(log()) ? bytesOf(log()) : "") == logBefore) << tried;
        setDatabaseKey(key);
    }

    /// The key itself, so that opening derives nothing.
    const std::string key = "x'2dd29ca851e7b56e4697b0e1f08507293d761a05ce4d1b628663f411a8086d99'";
};

TEST_F(DatabaseKeyTest, NoTextCanBeReadInTheFiles) {
    fill();
    const std::string waiting = bytesOf(log());
    ASSERT_THAT(waiting, Not(testing::IsEmpty()));
    close();
    const std::string closed = bytesOf(dbPath());
    for (const std::string& text : storedTexts) {
        EXPECT_EQ(waiting.find(text), std::string::npos) << text;
        EXPECT_EQ(closed.find(text), std::string::npos) << text;
    }
}

TEST_F(DatabaseKeyTest, WithoutAKeyEachOfTheseTextsCanBeRead) {
    fillWithoutAKey();
    const std::string closed = bytesOf(dbPath());
    for (const std::string& text : storedTexts) {
        EXPECT_NE(closed.find(text), std::string::npos) << text;
    }
}

TEST_F(DatabaseKeyTest, WhatWasStoredComesBack) {
    fill();
    reopen();
    EXPECT_EQ(storedText(), "a text of a message");
    expectNothingLogged();
}

TEST_F(DatabaseKeyTest, AWrongKeyIsRefusedAndChangesNothing) {
    fill();
    close();
    for (const std::string& wrong :
         {std::string("another"), key + " ", key.substr(1), "x'00" + key.substr(4)}) {
        expectRefused(wrong, wrongKey);
    }
    expectRefused("", "file is not a database");
    ASSERT_TRUE(db().setUp());
    EXPECT_EQ(storedText(), "a text of a message");
}

TEST_F(DatabaseKeyTest, AWrongKeyLeavesWhatWaitsInTheLog) {
    fill();
    const std::string file = bytesOf(dbPath());
    const std::string waiting = bytesOf(log());
    close();
    std::ofstream(dbPath(), std::ios::binary) << file;  // as a client leaves it that is killed
    std::ofstream(log(), std::ios::binary) << waiting;
    expectRefused("another", wrongKey);
    expectRefused("", "file is not a database");
    ASSERT_TRUE(db().setUp());
    EXPECT_EQ(storedText(), "a text of a message");
}

TEST_F(DatabaseKeyTest, AFileThatIsNotEncryptedIsRefusedWithAKey) {
    fillWithoutAKey();
    expectRefused(key, wrongKey);
    setDatabaseKey("");
    ASSERT_TRUE(db().setUp());
    EXPECT_EQ(storedText(), "a text of a message");
}

TEST_F(DatabaseKeyTest, WhatIsNoDatabaseIsRefused) {
    close();
    for (const std::size_t size : {2U, 100U, 4096U, 100000U}) {
        std::ofstream(dbPath(), std::ios::binary) << std::string(size, 'x');
        expectRefused(key, wrongKey);
    }
}

TEST_F(DatabaseKeyTest, EveryByteOfAKeyCounts) {
    using namespace std::string_literals;
    for (const std::string& own : {"a\0b"s, "\0"s, "\xff\xfe"s, "it's"s, std::string(1 << 20, 'k')}) {
        close();
        fs::remove(dbPath());
        setDatabaseKey(own);
        ASSERT_TRUE(db().setUp()) << own.size();
        fill();
        close();
        std::string other = own;
        ++other.back();
        expectRefused(other, wrongKey);
        setDatabaseKey(own);
        ASSERT_TRUE(db().setUp()) << own.size();
        EXPECT_EQ(storedText(), "a text of a message");
    }
}

TEST_F(DatabaseKeyTest, AKeyThatIsTooLongIsRefused) {
    close();
    expectRefused(std::string((1 << 20) + 1, 'k'), "the key is longer than 1 MiB");
}

TEST_F(DatabaseKeyTest, AnOpenStoreKeepsItsKey) {
    fill();
    setDatabaseKey("another");
    EXPECT_EQ(storedText(), "a text of a message");
    setDatabaseKey(key);
    reopen();
    EXPECT_EQ(storedText(), "a text of a message");
}

TEST_F(DatabaseKeyTest, AnEncryptedFileOnAReadOnlyMediumIsRead) {
    fill();
    close();
    fs::permissions(dbPath(), fs::perms(0444));
    fs::permissions(folder(), fs::perms(0555));
    {
        const WithoutPrivileges anybody;
        CppSQLite3DB connection;
        EXPECT_NO_THROW(connection.open(dbPath().c_str()));
        EXPECT_STREQ(connection.execQuery("SELECT text FROM tbl_msg").getStringField(0, ""),
                     "a text of a message");
        EXPECT_THROW(connection.execDML("DELETE FROM tbl_msg"), CppSQLite3Exception);
        setDatabaseKey("another");
        EXPECT_THROW(connection.open(dbPath().c_str()), CppSQLite3Exception);
    }
    fs::permissions(folder(), fs::perms(0755));
}

}  // namespace

}  // namespace pelkotest
