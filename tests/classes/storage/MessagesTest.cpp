// Writing messages and changing their states; reading them is in MessagesReadTest.cpp.

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char insertMsgHead[] =
    "INSERT INTO tbl_msg (msg_id, type, date, text, media_type, media_path, ex_media_path, media_url, "
    "media_status, duration, receiver_type, receiver_id, sender_type, sender_id, status, extra_path) VALUES";
constexpr char selectRowId[] = "SELECT last_insert_rowid()";
constexpr char allMessages[] = "SELECT * FROM tbl_msg ORDER BY db_id";

PelkoMessage textMessage(s64 id = 0) {
    PelkoMessage message = PelkoMessage::createTextMessage(PelkoUser("alice"), PelkoUser("me"), "hello");
    message.id = id;
    return message;
}

class MessagesTest : public StoreTest {
protected:
    /// Stores the message and forgets how. @return its row id
    s64 store(PelkoMessage message) {
        EXPECT_TRUE(db().insertMessage(&message));
        forget();
        return message.dbID;
    }
    Value stored(const std::string& column) const { return value("SELECT " + column + " FROM tbl_msg"); }
    Value rowCount() const { return value("SELECT count(*) FROM tbl_msg"); }
};

// ---- insertMessage: a new message

TEST_F(MessagesTest, InsertWritesEveryField) {
    PelkoMessage message = imageMessage();
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_THAT(
        statements(),
        ElementsAre("SELECT * FROM tbl_msg WHERE msg_id = 9007199254740993",
                    std::string(insertMsgHead) +
                        "(9007199254740993, 1, 1700000000, 'it''s', 1, 'media/small.jpg', "
                        "'media/full.jpg', 'http://host/a.jpg', 2, 12, 2, '77', 0, 'alice', 1, 'extra')",
                    selectRowId));
    EXPECT_EQ(rows(allMessages), (std::vector<Row>{{"9007199254740993", "1", "1", "1700000000", "it's", "1",
                                                    "media/small.jpg", "media/full.jpg", "http://host/a.jpg",
                                                    "2", "12", "2", "77", "0", "alice", "1", "extra"}}));
    EXPECT_EQ(message.dbID, 1);
    expectNothingLogged();
}

TEST_F(MessagesTest, InsertOfADefaultMessageWritesZerosAndEmptyStrings) {
    PelkoMessage message;
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_THAT(statements(), ElementsAre(std::string(insertMsgHead) +
                                              "(0, 0, 0, '', 0, '', '', '', 0, 0, 0, '', 0, '', 0, '')",
                                          selectRowId));
}

TEST_F(MessagesTest, InsertWithoutServiceIdNeverLooksForADuplicate) {
    PelkoMessage message = textMessage();
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_EQ(message.dbID, 1);
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_EQ(message.dbID, 2);
    EXPECT_EQ(rows("SELECT db_id, msg_id FROM tbl_msg"), (std::vector<Row>{{"1", "0"}, {"2", "0"}}));
    const std::string insert =
        std::string(insertMsgHead) + "(0, 0, 0, 'hello', 0, '', '', '', 0, 0, 0, 'me', 0, 'alice', 0, '')";
    EXPECT_THAT(statements(), ElementsAre(insert, selectRowId, insert, selectRowId));
}

TEST_F(MessagesTest, RowIdIsTheDatabasesOwnAnd64Bits) {
    execute("INSERT INTO tbl_msg (db_id) VALUES (9007199254740993)");
    PelkoMessage message = textMessage();
    message.dbID = 5;
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_EQ(message.dbID, 9007199254740994);
    EXPECT_EQ(value("SELECT db_id FROM tbl_msg WHERE text = 'hello'"), "9007199254740994");
}

TEST_F(MessagesTest, OnlyTextAndUserNamesAreEscaped) {
    PelkoMessage message = PelkoMessage::createTextMessage(PelkoUser("o'brien"), PelkoUser("'d'"), "'it''s'");
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_EQ(statements().front(), std::string(insertMsgHead) +
                                        "(0, 0, 0, '''it''''s''', 0, '', '', '', 0, 0, 0, "
                                        "'''d''', 0, 'o''brien', 0, '')");
    EXPECT_EQ(rows("SELECT text, sender_id, receiver_id FROM tbl_msg"),
              (std::vector<Row>{{"'it''s'", "o'brien", "'d'"}}));
}

TEST_F(MessagesTest, EveryKindOfTargetIsWrittenWithItsKey) {
    const std::vector<std::pair<PelkoChatTarget, Row>> targets = {
        {PelkoChatTarget("bob"), {"0", "bob"}},
        {PelkoChatTarget(5000000000, PelkoChatTargetTypeRoom), {"1", "5000000000"}},
        {PelkoChatTarget(9007199254740993, PelkoChatTargetTypeGroup), {"2", "9007199254740993"}},
        {PelkoChatTarget(-9, PelkoChatTargetTypeCustomerService), {"3", "-9"}},
        {PelkoChatTarget(5, static_cast<PelkoChatTargetType>(9)), {"9", ""}}};
    for (const auto& [target, key] : targets) {
        execute("DELETE FROM tbl_msg");
        store(PelkoMessage::createMessage(target, PelkoUser("me")));
        EXPECT_EQ(rows("SELECT sender_type, sender_id FROM tbl_msg"), std::vector<Row>{key});
        execute("DELETE FROM tbl_msg");
        store(PelkoMessage::createMessage(PelkoUser("me"), target));
        EXPECT_EQ(rows("SELECT receiver_type, receiver_id FROM tbl_msg"), std::vector<Row>{key});
    }
}

TEST_F(MessagesTest, UnsignedNumbersBeyond31BitsAreStoredNegative) {
    PelkoMessage message = textMessage();
    message.date = 2147483648U;
    message.media.duration = 4294967295U;
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_EQ(rows("SELECT date, duration FROM tbl_msg"), (std::vector<Row>{{"-2147483648", "-1"}}));
    const PelkoMessage back = db().getMessage(message.dbID);
    EXPECT_EQ(back.date, 2147483648U);
}

TEST_F(MessagesTest, PathsOutsideTheDataRootAreWrittenAsTheyAre) {
    PelkoMessage message = imageMessage();
    message.media.path = "/sdcard/a.jpg";
    message.media.pathEx = "";
    store(message);
    EXPECT_EQ(rows("SELECT media_path, ex_media_path FROM tbl_msg"),
              (std::vector<Row>{{"/sdcard/a.jpg", ""}}));
}

TEST_F(MessagesTest, MediaOfAMessageWithoutMediaIsWrittenAllTheSame) {
    PelkoMessage message = imageMessage();
    message.type = PelkoMessageTypeText;
    store(message);
    EXPECT_EQ(rows("SELECT type, media_type, media_path, media_status, duration FROM tbl_msg"),
              (std::vector<Row>{{"0", "1", "media/small.jpg", "2", "12"}}));
}

TEST_F(MessagesTest, ExtraDataIsNotStored) {
    PelkoMessage message = textMessage();
    message.putExtraData("/app/media/extra.bin");
    message.extra.url = "http://host/extra";
    db().insertMessage(&message);
    EXPECT_EQ(
        statements().front(),
        std::string(insertMsgHead) + "(0, 0, 0, 'hello', 0, '', '', '', 0, 0, 0, 'me', 0, 'alice', 0, '')");
}

TEST_F(MessagesTest, TextsOfAnyLengthAndContentAreStored) {
    const std::vector<std::string> texts = {"",
                                            "%s %d %n 100%",
                                            "a;b -- c /* d */ \\ \" ` ?1 :x @y $z",
                                            "J\xC3\xBCrgen \xF0\x9F\x98\x80 \xE4\xBD\xA0\xE5\xA5\xBD",
                                            "line\r\nline\ttab\x01\x7F",
                                            std::string(1000000, '\''),
                                            std::string(1000, 'x')};
    for (const std::string& text : texts) {
        PelkoMessage message = textMessage();
        message.text = text;
        EXPECT_TRUE(db().insertMessage(&message));
        EXPECT_EQ(value("SELECT text FROM tbl_msg WHERE db_id = " + std::to_string(message.dbID)), text);
        EXPECT_EQ(db().getMessage(message.dbID).text, text);
    }
    expectNothingLogged();
}

TEST_F(MessagesTest, TextEndsAtItsFirstNulByte) {
    PelkoMessage message = textMessage();
    message.text = std::string("ab\0'cd", 6);
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_EQ(rows("SELECT text, sender_id FROM tbl_msg"), (std::vector<Row>{{"ab", "alice"}}));
}

TEST_F(MessagesTest, InsertThatChangesNoRowIsNoSuccess) {
    changeTables("CREATE TRIGGER skipped BEFORE INSERT ON tbl_msg BEGIN SELECT RAISE(IGNORE); END");
    PelkoMessage message = textMessage();
    message.dbID = 5;
    EXPECT_FALSE(db().insertMessage(&message));
    EXPECT_EQ(message.dbID, 5);
    EXPECT_THAT(statements(), testing::Not(testing::Contains(selectRowId)));
    expectNothingLogged();
}

TEST_F(MessagesTest, FailedInsertLeavesTheRecordAlone) {
    changeTables("CREATE TRIGGER full BEFORE INSERT ON tbl_msg BEGIN SELECT RAISE(ABORT, 'full'); END");
    PelkoMessage message = textMessage();
    message.dbID = 5;
    EXPECT_FALSE(db().insertMessage(&message));
    EXPECT_EQ(message.dbID, 5);
    EXPECT_EQ(rowCount(), "0");
    expectFailureLogged("insertMessage", std::string("full"));
}

TEST_F(MessagesTest, FailedDuplicateCheckIsReportedByItselfAndTheInsertIsTried) {
    changeTables("DROP TABLE tbl_msg");
    PelkoMessage message = textMessage(7);
    EXPECT_FALSE(db().insertMessage(&message));
    EXPECT_THAT(platform().file,
                ElementsAre("checkIfRecordExist failed, exception in (no such table: tbl_msg).",
                            "insertMessage failed, exception in (no such table: tbl_msg)."));
}

TEST_F(MessagesTest, InsertOfNoMessageIsFalse) {
    EXPECT_FALSE(db().insertMessage(nullptr));
    EXPECT_THAT(statements(), IsEmpty());
}

// ---- insertMessage: a known message

TEST_F(MessagesTest, KnownMessageWithoutRowIdChangesNothingAndCountsAsStored) {
    store(imageMessage());
    const std::vector<Row> before = rows(allMessages);
    PelkoMessage again = imageMessage();
    again.status = PelkoMessageStatusRead;
    EXPECT_TRUE(db().insertMessage(&again));
    EXPECT_EQ(again.dbID, 0);
    EXPECT_EQ(rows(allMessages), before);
    EXPECT_THAT(
        statements(),
        ElementsAre("SELECT * FROM tbl_msg WHERE msg_id = 9007199254740993",
                    "UPDATE tbl_msg SET msg_id = 9007199254740993, date = 1700000000, media_path = "
                    "'media/small.jpg', ex_media_path = 'media/full.jpg', status = 2, media_status = 2, "
                    "extra_path = 'extra', media_url = 'http://host/a.jpg' WHERE db_id = 0"));
    expectNothingLogged();
}

TEST_F(MessagesTest, KnownMessageWithItsRowIdIsUpdated) {
    PelkoMessage again = imageMessage();
    again.dbID = store(imageMessage());
    again.status = PelkoMessageStatusRead;
    again.text = "another";
    EXPECT_TRUE(db().insertMessage(&again));
    EXPECT_EQ(again.dbID, 1);
    EXPECT_EQ(rows("SELECT db_id, status, text FROM tbl_msg"), (std::vector<Row>{{"1", "2", "it's"}}));
}

TEST_F(MessagesTest, NegativeServiceIdsAreLookedUpToo) {
    store(textMessage(-5));
    PelkoMessage again = textMessage(-5);
    EXPECT_TRUE(db().insertMessage(&again));
    EXPECT_EQ(rowCount(), "1");
}

TEST_F(MessagesTest, KnownMessageWhoseUpdateFailsStillCountsAsStored) {
    store(textMessage(7));
    changeTables("CREATE TRIGGER locked BEFORE UPDATE ON tbl_msg BEGIN SELECT RAISE(ABORT, 'locked'); END");
    PelkoMessage again = textMessage(7);
    again.dbID = 1;
    EXPECT_TRUE(db().insertMessage(&again));
    expectFailureLogged("updateMessage", std::string("locked"));
}

// ---- updateMessage

TEST_F(MessagesTest, UpdateWritesWhatMayChangeAndNothingElse) {
    PelkoMessage changed = PelkoMessage::createAudioMessage(PelkoUser("eve"), PelkoRoom(5U), "/app/new", 99);
    changed.dbID = store(imageMessage());
    changed.id = 8;
    changed.date = 4294967295U;
    changed.text = "new text";
    changed.extraText = "new extra";
    changed.status = PelkoMessageStatusSendingFailed;
    changed.media.pathEx = "/elsewhere/new2";
    changed.media.status = PelkoMediaStatusDownloadFailed;
    changed.media.url = "http://host/new";
    EXPECT_TRUE(db().updateMessage(changed));
    EXPECT_THAT(statements(),
                ElementsAre("UPDATE tbl_msg SET msg_id = 8, date = -1, media_path = 'new', ex_media_path = "
                            "'/elsewhere/new2', status = 5, media_status = 3, extra_path = 'new extra', "
                            "media_url = 'http://host/new' WHERE db_id = 1"));
    EXPECT_EQ(rows(allMessages),
              (std::vector<Row>{{"8", "1", "1", "-1", "it's", "1", "new", "/elsewhere/new2",
                                 "http://host/new", "3", "12", "2", "77", "0", "alice", "5", "new extra"}}));
    expectNothingLogged();
}

TEST_F(MessagesTest, UpdateChangesTheNamedRowAlone) {
    store(textMessage());
    PelkoMessage message = textMessage();
    message.dbID = store(textMessage());
    store(textMessage());
    message.status = PelkoMessageStatusRead;
    EXPECT_TRUE(db().updateMessage(message));
    EXPECT_EQ(rows("SELECT status FROM tbl_msg"), (std::vector<Row>{{"0"}, {"2"}, {"0"}}));
    EXPECT_TRUE(db().updateMessage(message));  // a row that is written counts as changed
}

TEST_F(MessagesTest, UpdateOfAnUnknownRowIsFalse) {
    store(textMessage(7));
    const std::vector<Row> before = rows(allMessages);
    PelkoMessage message = textMessage(7);
    for (const s64 dbID : {0LL, 2LL, -1LL}) {
        message.dbID = dbID;
        EXPECT_FALSE(db().updateMessage(message));
    }
    EXPECT_EQ(rows(allMessages), before);
    expectNothingLogged();
}

// ---- saveMessageList

TEST_F(MessagesTest, SaveOfAnEmptyListIsNothing) {
    std::vector<PelkoMessage> none;
    EXPECT_EQ(db().saveMessageList(none), 0U);
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(MessagesTest, SaveInsertsInOrderWithoutATransactionAndFillsInRowIds) {
    std::vector<PelkoMessage> list = {textMessage(), textMessage(7), textMessage()};
    EXPECT_EQ(db().saveMessageList(list), 3U);
    EXPECT_EQ(list[0].dbID, 1);
    EXPECT_EQ(list[1].dbID, 2);
    EXPECT_EQ(list[2].dbID, 3);
    const std::string values = ", 0, 0, 'hello', 0, '', '', '', 0, 0, 0, 'me', 0, 'alice', 0, '')";
    EXPECT_THAT(statements(),
                ElementsAre(insertMsgHead + ("(0" + values), selectRowId,
                            "SELECT * FROM tbl_msg WHERE msg_id = 7", insertMsgHead + ("(7" + values),
                            selectRowId, insertMsgHead + ("(0" + values), selectRowId));
}

TEST_F(MessagesTest, SaveCountsKnownMessages) {
    store(textMessage(7));
    std::vector<PelkoMessage> list = {textMessage(7), textMessage(8), textMessage(8)};
    EXPECT_EQ(db().saveMessageList(list), 3U);
    EXPECT_EQ(rows("SELECT msg_id FROM tbl_msg"), (std::vector<Row>{{"7"}, {"8"}}));
}

TEST_F(MessagesTest, SaveGoesOnAfterAMessageThatFails) {
    std::vector<PelkoMessage> list = {textMessage(), textMessage(), textMessage()};
    list[1].extraText = "it's";
    EXPECT_EQ(db().saveMessageList(list), 2U);
    EXPECT_EQ(rows("SELECT db_id FROM tbl_msg"), (std::vector<Row>{{"1"}, {"2"}}));
    EXPECT_EQ(list[0].dbID, 1);
    EXPECT_EQ(list[1].dbID, 0);
    EXPECT_EQ(list[2].dbID, 2);
    expectFailureLogged("insertMessage");
}

// ---- updateMessageStatus and updateMessageMediaStatus

TEST_F(MessagesTest, StatusOfOneRowIsChanged) {
    store(textMessage());
    store(imageMessage());
    EXPECT_TRUE(db().updateMessageStatus(2, PelkoMessageStatusSent));
    EXPECT_THAT(statements(), ElementsAre("UPDATE tbl_msg SET status = 4 WHERE db_id = 2"));
    EXPECT_EQ(rows("SELECT status, media_status, msg_id FROM tbl_msg"),
              (std::vector<Row>{{"0", "0", "0"}, {"4", "2", "9007199254740993"}}));
    expectNothingLogged();
}

TEST_F(MessagesTest, MediaStatusOfOneRowIsChanged) {
    store(textMessage());
    store(imageMessage());
    EXPECT_TRUE(db().updateMessageMediaStatus(2, PelkoMediaStatusDownloadFailed));
    EXPECT_THAT(statements(), ElementsAre("UPDATE tbl_msg SET media_status = 3 WHERE db_id = 2"));
    EXPECT_EQ(rows("SELECT status, media_status FROM tbl_msg"), (std::vector<Row>{{"0", "0"}, {"1", "3"}}));
}

TEST_F(MessagesTest, StatusOfAnUnknownRowIsFalse) {
    store(textMessage(9007199254740993));
    EXPECT_FALSE(db().updateMessageStatus(9007199254740993, PelkoMessageStatusRead));
    EXPECT_FALSE(db().updateMessageMediaStatus(0, PelkoMediaStatusDownloaded));
    EXPECT_THAT(statements(), ElementsAre("UPDATE tbl_msg SET status = 2 WHERE db_id = 9007199254740993",
                                          "UPDATE tbl_msg SET media_status = 2 WHERE db_id = 0"));
    EXPECT_EQ(rows("SELECT status, media_status FROM tbl_msg"), (std::vector<Row>{{"0", "0"}}));
    expectNothingLogged();
}

// ---- not ready, and SQL failure

class MessageWrites : public OperationTest {};

TEST_P(MessageWrites, AreNotReadyWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(MessageWrites, AreNotReadyWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(MessageWrites, FailWithoutTheTable) {
    expectFailureWithout("tbl_msg");
}

INSTANTIATE_TEST_SUITE_P(
    All, MessageWrites,
    testing::Values(Operation{"insertMessage", "insertMessage",
                              [](PelkoDBManager& db) {
                                  PelkoMessage message = textMessage();
                                  message.dbID = 5;
                                  EXPECT_FALSE(db.insertMessage(&message));
                                  EXPECT_EQ(message.dbID, 5);
                              }},
                    Operation{"updateMessage", "updateMessage",
                              [](PelkoDBManager& db) { EXPECT_FALSE(db.updateMessage(textMessage())); }},
                    Operation{"saveMessageList", "insertMessage",
                              [](PelkoDBManager& db) {
                                  std::vector<PelkoMessage> list = {textMessage()};
                                  EXPECT_EQ(db.saveMessageList(list), 0U);
                              }},
                    Operation{"updateMessageStatus", "updateMessageStatus",
                              [](PelkoDBManager& db) {
                                  EXPECT_FALSE(db.updateMessageStatus(1, PelkoMessageStatusRead));
                              }},
                    Operation{"updateMessageMediaStatus", "updateMessageMediaStatus",
                              [](PelkoDBManager& db) {
                                  EXPECT_FALSE(db.updateMessageMediaStatus(1, PelkoMediaStatusDownloaded));
                              }}),
    nameOf);

}  // namespace
