#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "classes/platform/LoginContext.h"
#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

namespace {

const PelkoUser aliceUser("alice");

constexpr char selectPaths[] = "SELECT media_path, ex_media_path, extra_path FROM tbl_msg WHERE ";
constexpr char deleteRows[] = "DELETE FROM tbl_msg WHERE ";

/// The statements of a deletion: the files' query, then the rows' deletion.
Strings bothPhases(const std::string& condition) {
    return {selectPaths + condition, deleteRows + condition};
}

template <typename Case>
std::string caseName(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}

class MessageDeletionTest : public StoreTest {
protected:
    s64 store(PelkoMessage message) {
        EXPECT_TRUE(db().insertMessage(&message));
        forget();
        return message.dbID;
    }
    s64 storeText(const PelkoChatTarget& from, const PelkoChatTarget& to) {
        return store(PelkoMessage::createTextMessage(from, to, "hello"));
    }
    /// An image of the conversation with alice, with the files NAME.jpg and NAME-small.jpg and the extra text
    /// NAME.
    s64 storeImage(const std::string& name) {
        PelkoMessage message = PelkoMessage::createImageMessage(aliceUser, "/app/media/" + name + ".jpg",
                                                                "/app/media/" + name + "-small.jpg");
        message.extraText = name;
        return store(message);
    }
    static Strings filesOfImage(const std::string& name) {
        return {"/app/media/" + name + ".jpg", "/app/media/" + name + "-small.jpg", "/app/" + name};
    }
    /// Text rows of the given ids, as only a second connection can make them.
    void storeRows(const std::vector<s64>& ids) {
        for (const s64 id : ids) {
            execute("INSERT INTO tbl_msg (db_id, text) VALUES (" + std::to_string(id) + ", 'hello')");
        }
    }
    std::vector<s64> storedRows() const {
        std::vector<s64> ids;
        for (const Row& row : rows("SELECT db_id FROM tbl_msg ORDER BY db_id")) {
            ids.push_back(std::stoll(*row.front()));
        }
        return ids;
    }
    bool deleteMessages(std::vector<s64> ids) { return db().deleteMessages(ids); }
};

// ---- deleteMessages: the list of ids

TEST_F(MessageDeletionTest, DeleteMessagesDeletesTheNamedRowsOnly) {
    storeRows({7, 8, 9, 12, 13});
    EXPECT_TRUE(deleteMessages({7, 9, 12}));
    EXPECT_EQ(statements(), bothPhases("db_id IN (7, 9, 12)"));
    EXPECT_THAT(storedRows(), ElementsAre(8, 13));
    expectNothingLogged();
}

TEST_F(MessageDeletionTest, DeleteMessagesOfOneId) {
    storeRows({7, 8});
    EXPECT_TRUE(deleteMessages({7}));
    EXPECT_EQ(statements(), bothPhases("db_id IN (7)"));
    EXPECT_THAT(storedRows(), ElementsAre(8));
}

TEST_F(MessageDeletionTest, DeleteMessagesNamesIdsInTheCallersOrderTwiceWhereTheCallerDoes) {
    storeRows({7, 9});
    std::vector<s64> ids = {9, 7, 9};
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_EQ(statements(), bothPhases("db_id IN (9, 7, 9)"));
    EXPECT_THAT(storedRows(), IsEmpty());
    EXPECT_THAT(ids, ElementsAre(9, 7, 9));
}

TEST_F(MessageDeletionTest, DeleteMessagesTakesIdsInFull64Bits) {
    constexpr s64 smallest = std::numeric_limits<s64>::min();
    constexpr s64 largest = std::numeric_limits<s64>::max();
    storeRows({-1, 5, 4294967301, largest});
    execute("INSERT INTO tbl_msg (db_id) VALUES (-9223372036854775808)");
    EXPECT_TRUE(deleteMessages({smallest, -1, 4294967301, largest}));
    EXPECT_EQ(statements(),
              bothPhases("db_id IN (-9223372036854775808, -1, 4294967301, 9223372036854775807)"));
    EXPECT_THAT(storedRows(), ElementsAre(5));
}

TEST_F(MessageDeletionTest, DeleteMessagesOfAnEmptyListIsFalseWithoutAStatement) {
    storeRows({7});
    EXPECT_FALSE(deleteMessages({}));
    EXPECT_THAT(statements(), IsEmpty());
    EXPECT_THAT(platform().removed, IsEmpty());
    expectNothingLogged();
    EXPECT_THAT(storedRows(), ElementsAre(7));
}

TEST_F(MessageDeletionTest, DeleteMessagesChecksReadinessBeforeTheList) {
    close();
    EXPECT_FALSE(deleteMessages({}));
    expectNotReadyLogged("deleteMessages");
}

TEST_F(MessageDeletionTest, DeleteMessagesOfUnknownIdsIsFalseAndTouchesNoFile) {
    const s64 stored = storeImage("a");
    EXPECT_FALSE(deleteMessages({stored + 1, stored + 2}));
    EXPECT_EQ(statements(), bothPhases("db_id IN (2, 3)"));
    EXPECT_THAT(platform().removed, IsEmpty());
    expectNothingLogged();
    EXPECT_THAT(storedRows(), ElementsAre(stored));
}

TEST_F(MessageDeletionTest, DeleteMessagesIsTrueWhenOnlySomeIdsAreStored) {
    const s64 stored = storeImage("a");
    EXPECT_TRUE(deleteMessages({stored + 1, stored}));
    EXPECT_EQ(platform().removed, filesOfImage("a"));
    EXPECT_THAT(storedRows(), IsEmpty());
}

TEST_F(MessageDeletionTest, DeleteMessagesIsFalseWhenTheStatementDeletesNoRow) {
    const s64 stored = storeImage("a");
    changeTables("CREATE TRIGGER keep BEFORE DELETE ON tbl_msg BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_FALSE(deleteMessages({stored}));
    expectNothingLogged();
    EXPECT_EQ(platform().removed, filesOfImage("a"));
    EXPECT_THAT(storedRows(), ElementsAre(stored));
}

TEST_F(MessageDeletionTest, DeleteMessagesOfAThousandRunsTwoStatements) {
    std::vector<s64> ids(1000);
    std::iota(ids.begin(), ids.end(), 1);
    execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1001) "
        "INSERT INTO tbl_msg (db_id, media_path) SELECT i, 'media/' || i FROM n");
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_EQ(statements().size(), 2U);
    EXPECT_EQ(platform().removed.size(), 3000U);
    EXPECT_THAT(storedRows(), ElementsAre(1001));
}

TEST_F(MessageDeletionTest, DeleteMessagesLeavesTheTransactionToTheCaller) {
    storeRows({7});
    db().beginTransaction();
    EXPECT_TRUE(deleteMessages({7}));
    EXPECT_THAT(storedRows(), ElementsAre(7));
    db().commiteTransaction();
    EXPECT_THAT(storedRows(), IsEmpty());
}

// ---- the files of a row

TEST_F(MessageDeletionTest, ImageLosesItsFileAndItsSecondFile) {
    const s64 stored =
        store(PelkoMessage::createImageMessage(aliceUser, "/app/media/cat.jpg", "/app/media/cat-small.jpg"));
    EXPECT_EQ(rows("SELECT media_path, ex_media_path FROM tbl_msg"),
              (std::vector<Row>{{"media/cat.jpg", "media/cat-small.jpg"}}));
    EXPECT_TRUE(deleteMessages({stored}));
    EXPECT_THAT(platform().removed, ElementsAre("/app/media/cat.jpg", "/app/media/cat-small.jpg", ""));
    EXPECT_THAT(storedRows(), IsEmpty());
}

TEST_F(MessageDeletionTest, EmptyPathsOfATextMessageArePassedOnToo) {
    const s64 stored = storeText("me", aliceUser);
    EXPECT_TRUE(deleteMessages({stored}));
    EXPECT_THAT(platform().removed, ElementsAre("", "", ""));
}

TEST_F(MessageDeletionTest, ExtraTextIsTakenForAPath) {
    PelkoMessage message = PelkoMessage::createTextMessage(aliceUser, "hello");
    message.extraText = "see you; at 8 %s";
    const s64 stored = store(message);
    EXPECT_TRUE(deleteMessages({stored}));
    EXPECT_THAT(platform().removed, ElementsAre("", "", "/app/see you; at 8 %s"));
}

TEST_F(MessageDeletionTest, AbsolutePathsAreRemovedAsTheyStand) {
    const s64 stored =
        store(PelkoMessage::createImageMessage(aliceUser, "/sdcard/cat.jpg", "/application/cat"));
    EXPECT_TRUE(deleteMessages({stored}));
    EXPECT_THAT(platform().removed, ElementsAre("/sdcard/cat.jpg", "/application/cat", ""));
}

TEST_F(MessageDeletionTest, MissingPathsAreEmpty) {
    execute("INSERT INTO tbl_msg (db_id) VALUES (7)");
    execute("INSERT INTO tbl_msg (db_id, media_path, extra_path) VALUES (8, NULL, 'x')");
    EXPECT_TRUE(deleteMessages({7, 8}));
    EXPECT_THAT(platform().removed, ElementsAre("", "", "", "", "", "/app/x"));
}

TEST_F(MessageDeletionTest, FilesAreRemovedWhateverTheKindOfMessage) {
    // Kinds 0 to 5; nobody knows the last one.
    execute(
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 5) "
        "INSERT INTO tbl_msg (db_id, type, media_type, media_path, ex_media_path, extra_path) "
        "SELECT 10 + i, i, 0, 'a' || i, 'b' || i, 'c' || i FROM n");
    EXPECT_TRUE(deleteMessages({10, 11, 12, 13, 14, 15}));
    EXPECT_THAT(platform().removed,
                ElementsAre("/app/a0", "/app/b0", "/app/c0", "/app/a1", "/app/b1", "/app/c1", "/app/a2",
                            "/app/b2", "/app/c2", "/app/a3", "/app/b3", "/app/c3", "/app/a4", "/app/b4",
                            "/app/c4", "/app/a5", "/app/b5", "/app/c5"));
    EXPECT_THAT(storedRows(), IsEmpty());
}

// ---- clearMessages: the conversation

struct Conversation {
    const char* name;
    PelkoChatTarget target;
    const char* condition;
};

void PrintTo(const Conversation& conversation, std::ostream* out) {
    *out << conversation.name;
}

class ClearMessages : public MessageDeletionTest, public testing::WithParamInterface<Conversation> {};

TEST_P(ClearMessages, DeletesThisConversationAndNoOther) {
    // What says that a row belongs to the conversation is in the text of the extra column.
    execute(
        "INSERT INTO tbl_msg (receiver_type, receiver_id, sender_type, sender_id, extra_path) VALUES "
        "(0, 'alice', 0, 'me', 'User'), (0, 'me', 0, 'alice', 'User'),"
        "(0, 'bob', 0, 'me', ''), (0, 'me', 0, 'bob', ''), (0, 'alice', 0, 'bob', ''),"
        "(1, '7', 0, 'me', 'Room'), (1, '7', 0, 'alice', 'Room'), (1, '8', 0, 'alice', ''),"
        "(2, '7', 0, 'me', 'Group'), (2, '7', 0, 'alice', 'Group'), (2, '77', 0, 'me', ''),"
        "(3, '7', 0, 'me', 'Service'), (0, 'me', 3, '7', 'Service'), (3, '8', 0, 'me', ''),"
        "(0, 'me', 0, '7', ''), (3, 'alice', 0, 'me', '')");
    const std::string own = GetParam().name;
    const std::vector<Row> others =
        rows("SELECT * FROM tbl_msg WHERE extra_path != '" + own + "' ORDER BY db_id");
    ASSERT_EQ(others.size(), 14U);

    EXPECT_TRUE(db().clearMessages(GetParam().target));

    EXPECT_EQ(statements(), bothPhases(GetParam().condition));
    EXPECT_THAT(platform().removed, ElementsAre("", "", "/app/" + own, "", "", "/app/" + own));
    EXPECT_EQ(rows("SELECT * FROM tbl_msg ORDER BY db_id"), others);
    expectNothingLogged();
}

TEST_P(ClearMessages, IsTrueForAConversationWithoutMessages) {
    storeText("me", "bob");
    EXPECT_TRUE(db().clearMessages(GetParam().target));
    EXPECT_EQ(statements(), bothPhases(GetParam().condition));
    EXPECT_THAT(platform().removed, IsEmpty());
    EXPECT_EQ(storedRows().size(), 1U);
    expectNothingLogged();
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ClearMessages,
    testing::Values(Conversation{"User", aliceUser, withAlice},
                    Conversation{"Room", PelkoRoom(7), "(receiver_type = 1 AND receiver_id = '7')"},
                    Conversation{"Group", PelkoGroup(7), "(receiver_type = 2 AND receiver_id = '7')"},
                    Conversation{"Service", PelkoCustomerService(7U),
                                 "(((receiver_type = 0 AND sender_type = 3) OR ((receiver_type = 3 AND "
                                 "sender_type = 0))) AND ((receiver_id = '7' AND sender_id = 'me') OR "
                                 "(sender_id = '7' AND receiver_id = 'me')))"}),
    caseName<Conversation>);

TEST_F(MessageDeletionTest, ClearMessagesEscapesThePeersName) {
    storeText("me", "o'neil");
    const s64 other = storeText("me", "oneil");
    EXPECT_TRUE(db().clearMessages(PelkoUser("o'neil")));
    EXPECT_EQ(statements(),
              bothPhases("((receiver_type = 0 AND sender_type = 0) AND ((receiver_id = 'o''neil' AND "
                         "sender_id = 'me') OR (sender_id = 'o''neil' AND receiver_id = 'me')))"));
    EXPECT_THAT(storedRows(), ElementsAre(other));
}

TEST_F(MessageDeletionTest, ClearMessagesOfAnUnknownKindRemovesNothing) {
    const s64 stored = storeImage("a");
    for (const int kind : {-1, 4, 99}) {
        forget();
        EXPECT_FALSE(db().clearMessages(PelkoChatTarget(7, static_cast<PelkoChatTargetType>(kind))));
        expectLogged({"clearMessages failed, exception in (incomplete input).",
                      "clearMessages failed, exception in (incomplete input)."});
        EXPECT_THAT(statements(), IsEmpty());
    }
    EXPECT_THAT(platform().removed, IsEmpty());
    EXPECT_THAT(storedRows(), ElementsAre(stored));
}

TEST_F(MessageDeletionTest, ClearMessagesWithAQuoteInTheOwnNameRemovesNothing) {
    const s64 stored = storeImage("a");
    for (const char* const name : {"'", "me''", "me'||'", "x' OR '1'='1", "me'))) --", "x'))) OR 1=1 --"}) {
        SCOPED_TRACE(name);
        LoginContext::getInstance()->setUserName(name);
        forget();
        EXPECT_FALSE(db().clearMessages(aliceUser));
        ASSERT_EQ(platform().file.size(), 2U);
        for (const std::string& line : platform().file) {
            EXPECT_THAT(line, testing::StartsWith("clearMessages failed, exception in (unrecognized token"));
        }
        EXPECT_THAT(platform().console,
                    ElementsAre("[pelko]" + platform().file[0], "[pelko]" + platform().file[1]));
        EXPECT_THAT(statements(), IsEmpty());
    }
    EXPECT_THAT(platform().removed, IsEmpty());
    EXPECT_THAT(storedRows(), ElementsAre(stored));
}

TEST_F(MessageDeletionTest, ClearMessagesOfARoomDoesNotNeedTheOwnName) {
    storeText("alice", PelkoRoom(7));
    LoginContext::getInstance()->setUserName("m'e");
    EXPECT_TRUE(db().clearMessages(PelkoRoom(7)));
    EXPECT_THAT(storedRows(), IsEmpty());
}

TEST_F(MessageDeletionTest, ClearMessagesIsTrueWhenTheStatementDeletesNoRow) {
    const s64 stored = storeImage("a");
    changeTables("CREATE TRIGGER keep BEFORE DELETE ON tbl_msg BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_TRUE(db().clearMessages(aliceUser));
    expectNothingLogged();
    EXPECT_THAT(storedRows(), ElementsAre(stored));
}

// ---- the two phases and how each fails: the same in both operations

struct Deletion {
    const char* name;
    const char* condition;            ///< of three messages with the row ids 1, 2 and 3
    bool (*run)(PelkoDBManager& db);  ///< deletes these three
};

void PrintTo(const Deletion& deletion, std::ostream* out) {
    *out << deletion.name;
}

class TwoPhases : public MessageDeletionTest, public testing::WithParamInterface<Deletion> {
protected:
    void SetUp() override {
        MessageDeletionTest::SetUp();
        for (const char* const name : {"a", "b", "c"}) {
            storeImage(name);
        }
        ASSERT_THAT(storedRows(), ElementsAre(1, 2, 3));
    }
    bool run() { return GetParam().run(db()); }
    std::string condition() const { return GetParam().condition; }
    static std::string failure(const std::string& message) {
        return std::string(GetParam().name) + " failed, exception in (" + message + ").";
    }
    static Strings allFiles() {
        Strings files;
        for (const char* const name : {"a", "b", "c"}) {
            const Strings ofImage = filesOfImage(name);
            files.insert(files.end(), ofImage.begin(), ofImage.end());
        }
        return files;
    }
};

TEST_P(TwoPhases, RemoveTheFilesRowByRowThenTheRows) {
    EXPECT_TRUE(run());
    EXPECT_EQ(statements(), bothPhases(condition()));
    EXPECT_EQ(platform().removed, allFiles());
    EXPECT_THAT(storedRows(), IsEmpty());
    expectNothingLogged();
}

TEST_P(TwoPhases, LeaveTheOtherTablesAlone) {
    execute(
        "INSERT INTO tbl_session (target_type, target_id, last_msg_id) VALUES (0, 'alice', 3);"
        "INSERT INTO tbl_user (username) VALUES ('alice')");
    EXPECT_TRUE(run());
    EXPECT_EQ(value("SELECT last_msg_id FROM tbl_session"), "3");
    EXPECT_EQ(value("SELECT username FROM tbl_user"), "alice");
}

TEST_P(TwoPhases, DeleteTheRowsWhenTheFilesCannotBeAskedFor) {
    changeTables("ALTER TABLE tbl_msg RENAME COLUMN extra_path TO extra");
    EXPECT_TRUE(run());
    expectLogged({failure("no such column: extra_path")});
    EXPECT_THAT(statements(), ElementsAre(deleteRows + condition()));
    EXPECT_THAT(platform().removed, IsEmpty());
    EXPECT_THAT(storedRows(), IsEmpty());
}

TEST_P(TwoPhases, DeleteTheRowsWhenTheFilesFailHalfway) {
    // A computed column in place of the stored one, which fails in the second row alone.
    changeTables(
        "UPDATE tbl_msg SET duration = -9223372036854775808 WHERE db_id = 2;"
        "ALTER TABLE tbl_msg RENAME COLUMN extra_path TO extra;"
        "ALTER TABLE tbl_msg ADD COLUMN extra_path AS (substr(extra, 1 + 0 * abs(duration)))");
    EXPECT_TRUE(run());
    expectLogged({failure("integer overflow")});
    EXPECT_EQ(statements(), bothPhases(condition()));
    EXPECT_EQ(platform().removed, filesOfImage("a"));
    EXPECT_THAT(storedRows(), IsEmpty());
}

TEST_P(TwoPhases, CannotBringTheFilesBackWhenTheRowsStay) {
    changeTables("CREATE TRIGGER keep BEFORE DELETE ON tbl_msg BEGIN SELECT RAISE(ABORT, 'rows stay'); END");
    EXPECT_FALSE(run());
    expectLogged({failure("rows stay")});
    EXPECT_EQ(platform().removed, allFiles());
    EXPECT_THAT(storedRows(), ElementsAre(1, 2, 3));
}

TEST_P(TwoPhases, AreTakenBackAsAWholeWhenOneRowStays) {
    changeTables(
        "CREATE TRIGGER keep BEFORE DELETE ON tbl_msg WHEN OLD.db_id = 2 "
        "BEGIN SELECT RAISE(ABORT, 'this row stays'); END");
    EXPECT_FALSE(run());
    expectLogged({failure("this row stays")});
    EXPECT_THAT(storedRows(), ElementsAre(1, 2, 3));
}

TEST_P(TwoPhases, FailEachOnItsOwn) {
    changeTables("DROP TABLE tbl_msg");
    EXPECT_FALSE(run());
    expectLogged({failure("no such table: tbl_msg"), failure("no such table: tbl_msg")});
    EXPECT_THAT(statements(), IsEmpty());
    EXPECT_THAT(platform().removed, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Operations, TwoPhases,
                         testing::Values(Deletion{"deleteMessages", "db_id IN (1, 2, 3)",
                                                  [](PelkoDBManager& db) {
                                                      std::vector<s64> ids = {1, 2, 3};
                                                      return db.deleteMessages(ids);
                                                  }},
                                         Deletion{
                                             "clearMessages", withAlice,
                                             [](PelkoDBManager& db) { return db.clearMessages(aliceUser); }}),
                         caseName<Deletion>);

// ---- not ready

class DeletionOperations : public OperationTest {
protected:
    void SetUp() override {
        OperationTest::SetUp();
        execute(
            "INSERT INTO tbl_msg (receiver_type, receiver_id, sender_type, sender_id, extra_path) VALUES "
            "(0, 'alice', 0, 'me', 'x')");
    }
    void expectNothingRemoved() {
        EXPECT_THAT(platform().removed, IsEmpty());
        EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "1");
    }
};

TEST_P(DeletionOperations, LogOnceAndRemoveNothingWhenClosed) {
    expectNotReadyWhenClosed();
    expectNothingRemoved();
}

TEST_P(DeletionOperations, LogOnceAndRemoveNothingWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
    expectNothingRemoved();
}

INSTANTIATE_TEST_SUITE_P(All, DeletionOperations,
                         testing::Values(Operation{"deleteMessages", "deleteMessages",
                                                   [](PelkoDBManager& db) {
                                                       std::vector<s64> ids = {1};
                                                       EXPECT_FALSE(db.deleteMessages(ids));
                                                   }},
                                         Operation{"clearMessages", "clearMessages",
                                                   [](PelkoDBManager& db) {
                                                       EXPECT_FALSE(db.clearMessages(aliceUser));
                                                   }}),
                         nameOf);

}  // namespace
