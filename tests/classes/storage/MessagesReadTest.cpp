// Reading single messages, and the row reader; writing them is in MessagesTest.cpp.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = PelkoDBManagerTestAccess;

namespace {

void expectSameMedia(const PelkoMedia& actual, const PelkoMedia& expected) {
    EXPECT_EQ(actual.tag, expected.tag);
    EXPECT_EQ(actual.type, expected.type);
    EXPECT_EQ(actual.status, expected.status);
    EXPECT_EQ(actual.url, expected.url);
    EXPECT_EQ(actual.path, expected.path);
    EXPECT_EQ(actual.pathEx, expected.pathEx);
    EXPECT_EQ(actual.duration, expected.duration);
}

void expectSameMessage(const PelkoMessage& actual, const PelkoMessage& expected) {
    EXPECT_EQ(actual.id, expected.id);
    EXPECT_EQ(actual.dbID, expected.dbID);
    EXPECT_EQ(actual.date, expected.date);
    EXPECT_EQ(actual.type, expected.type);
    EXPECT_EQ(actual.status, expected.status);
    EXPECT_EQ(actual.text, expected.text);
    EXPECT_EQ(actual.extraText, expected.extraText);
    EXPECT_EQ(actual.sender, expected.sender);
    EXPECT_EQ(actual.receiver, expected.receiver);
    expectSameMedia(actual.media, expected.media);
    expectSameMedia(actual.extra, expected.extra);
}

class MessagesReadTest : public StoreTest {
protected:
    PelkoMessage store(PelkoMessage message) {
        EXPECT_TRUE(db().insertMessage(&message));
        forget();
        return message;
    }
    /// A stored image message whose row then holds this.
    PelkoMessage readAfter(const std::string& assignments) {
        const PelkoMessage message = store(imageMessage());
        execute("UPDATE tbl_msg SET " + assignments);
        return db().getMessage(message.dbID);
    }
    /// The row reader on a row of this select list.
    PelkoMessage readRow(const std::string& columns) {
        CppSQLite3Query query = Access::connection(db())->execQuery(("SELECT " + columns).c_str());
        return Access::createMsgFromQuery(db(), query);
    }
    bool exists(s64 msgID) { return db().ifMsgIDExist(msgID); }
};

// ---- getMessage

TEST_F(MessagesReadTest, MessageComesBackAsItWasStored) {
    const PelkoMessage message = store(imageMessage());
    expectSameMessage(db().getMessage(1), message);
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_msg WHERE db_id = 1"));
    expectNothingLogged();
}

TEST_F(MessagesReadTest, MessageComesBackAfterARestart) {
    const PelkoMessage message = store(imageMessage());
    reopen();
    expectSameMessage(db().getMessage(message.dbID), message);
}

TEST_F(MessagesReadTest, MissingMessageIsADefaultMessage) {
    store(imageMessage());
    for (const s64 dbID : {0LL, 2LL, -1LL, 9007199254740993LL, 4294967297LL}) {
        expectSameMessage(db().getMessage(dbID), PelkoMessage());
    }
    expectNothingLogged();
}

TEST_F(MessagesReadTest, RowIdsAre64Bits) {
    execute("INSERT INTO tbl_msg (db_id, text) VALUES (9007199254740993, 'far')");
    const PelkoMessage message = db().getMessage(9007199254740993);
    EXPECT_EQ(message.dbID, 9007199254740993);
    EXPECT_EQ(message.text, "far");
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_msg WHERE db_id = 9007199254740993"));
}

TEST_F(MessagesReadTest, ReadersLetGoOfTheFile) {
    store(imageMessage());
    db().getMessage(1);
    db().getReceivedMessage(9007199254740993);
    db().ifMsgIDExist(9007199254740993);
    execute("DELETE FROM tbl_msg");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

TEST_F(MessagesReadTest, RowThatCannotBeReadIsAFailure) {
    changeTables(
        "DROP TABLE tbl_msg; CREATE TABLE tbl_msg (db_id integer primary key, msg_id bigint, status integer);"
        "INSERT INTO tbl_msg VALUES (1, 7, 1)");
    expectSameMessage(db().getMessage(1), PelkoMessage());
    expectFailureLogged("getMessage", HasSubstr("sender_type"));
    forget();
    expectSameMessage(db().getReceivedMessage(7), PelkoMessage());
    expectFailureLogged("getReceivedMessage", HasSubstr("sender_type"));
}

// ---- getReceivedMessage

TEST_F(MessagesReadTest, ReceivedMessageIsFoundByItsServiceId) {
    const PelkoMessage message = store(imageMessage());
    expectSameMessage(db().getReceivedMessage(9007199254740993), message);
    EXPECT_THAT(
        statements(),
        ElementsAre("SELECT * FROM tbl_msg WHERE msg_id = 9007199254740993 AND (status == 1 OR status "
                    "== 2 OR status == 4)"));
    expectNothingLogged();
}

TEST_F(MessagesReadTest, ReceivedMessageIsFoundInSettledStatesOnly) {
    PelkoMessage message = imageMessage();
    for (int state = PelkoMessageStatusCreated; state <= PelkoMessageStatusSendingFailed; ++state) {
        message.id = 100 + state;
        message.status = static_cast<PelkoMessageStatus>(state);
        store(message);
    }
    const auto found = [&](PelkoMessageStatus state) {
        return db().getReceivedMessage(100 + state).dbID != 0;
    };
    EXPECT_FALSE(found(PelkoMessageStatusCreated));
    EXPECT_TRUE(found(PelkoMessageStatusUnread));
    EXPECT_TRUE(found(PelkoMessageStatusRead));
    EXPECT_FALSE(found(PelkoMessageStatusSending));
    EXPECT_TRUE(found(PelkoMessageStatusSent));
    EXPECT_FALSE(found(PelkoMessageStatusSendingFailed));
    expectSameMessage(db().getReceivedMessage(103), PelkoMessage());
    expectSameMessage(db().getReceivedMessage(999), PelkoMessage());
    expectNothingLogged();
}

TEST_F(MessagesReadTest, FirstOfSeveralSettledMessagesIsReceived) {
    execute("INSERT INTO tbl_msg (db_id, msg_id, status) VALUES (1, 7, 3), (2, 7, 4), (3, 7, 1)");
    EXPECT_EQ(db().getReceivedMessage(7).dbID, 2);
}

TEST_F(MessagesReadTest, IdsOfAnySignAreLookedUp) {
    execute("INSERT INTO tbl_msg (db_id, msg_id, status) VALUES (-1, 0, 4), (0, -5, 4)");
    EXPECT_EQ(db().getMessage(-1).dbID, -1);
    EXPECT_EQ(db().getMessage(0).id, -5);
    EXPECT_EQ(db().getReceivedMessage(0).dbID, -1);
    EXPECT_EQ(db().getReceivedMessage(-5).id, -5);
}

// ---- ifMsgIDExist

TEST_F(MessagesReadTest, ServiceIdExistsWhateverTheState) {
    execute("INSERT INTO tbl_msg (msg_id, status) VALUES (1, 0), (9007199254740993, 3)");
    EXPECT_TRUE(exists(1));
    EXPECT_TRUE(exists(9007199254740993));
    EXPECT_FALSE(exists(2));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_msg WHERE msg_id = 1",
                                          "SELECT * FROM tbl_msg WHERE msg_id = 9007199254740993",
                                          "SELECT * FROM tbl_msg WHERE msg_id = 2"));
    expectNothingLogged();
}

TEST_F(MessagesReadTest, ServiceIdsBelowOneDoNotExist) {
    execute("INSERT INTO tbl_msg (msg_id) VALUES (0), (-5)");
    EXPECT_FALSE(exists(0));
    EXPECT_FALSE(exists(-5));
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
    close();
    forget();
    EXPECT_FALSE(exists(0));  // readiness comes first
    expectNotReadyLogged("ifMsgIDExist");
}

// ---- the row reader: plain fields

TEST_F(MessagesReadTest, FieldsComeFromTheirColumns) {
    const PelkoMessage message = readAfter(
        "msg_id = -7, type = 4, date = -1, text = 'T', status = 5, extra_path = 'E', sender_type = 1, "
        "sender_id = '12', receiver_type = 3, receiver_id = '13'");
    EXPECT_EQ(message.id, -7);
    EXPECT_EQ(message.type, PelkoMessageTypeJudgeService);
    EXPECT_EQ(message.date, 4294967295U);
    EXPECT_EQ(message.text, "T");
    EXPECT_EQ(message.status, PelkoMessageStatusSendingFailed);
    EXPECT_EQ(message.extraText, "E");
    EXPECT_EQ(message.sender, PelkoRoom(12U));
    EXPECT_EQ(message.receiver, PelkoCustomerService(13U));
}

TEST_F(MessagesReadTest, NullsReadAsZerosAndEmptyStrings) {
    execute("INSERT INTO tbl_msg (db_id) VALUES (3)");
    PelkoMessage expected;
    expected.dbID = 3;
    expectSameMessage(db().getMessage(3), expected);
}

TEST_F(MessagesReadTest, NullMediaColumnsReadAsZerosAndEmptyStrings) {
    const PelkoMessage message = readAfter(
        "media_path = NULL, ex_media_path = NULL, media_url = NULL, media_status = NULL, duration = NULL");
    expectSameMedia(message.media, PelkoMedia(PelkoMediaTypeImage));
}

TEST_F(MessagesReadTest, QuoteInAUserNameComesBackAsItWas) {
    const PelkoMessage message =
        store(PelkoMessage::createTextMessage(PelkoUser("o'brien"), PelkoUser("d'arcy"), ""));
    EXPECT_EQ(db().getMessage(message.dbID).sender.name, "o'brien");
    EXPECT_EQ(db().getMessage(message.dbID).receiver.name, "d'arcy");
}

TEST_F(MessagesReadTest, RoomIdsComeBackAs32Bits) {
    const PelkoMessage message = store(PelkoMessage::createMessage(
        PelkoUser("alice"), PelkoChatTarget(4294967297, PelkoChatTargetTypeRoom)));
    EXPECT_EQ(value("SELECT receiver_id FROM tbl_msg"), "4294967297");
    EXPECT_EQ(db().getMessage(message.dbID).receiver, PelkoRoom(1U));
}

TEST_F(MessagesReadTest, UnknownKindsOfTargetsReadAsTheDefaultTarget) {
    const PelkoMessage message =
        readAfter("sender_type = 9, sender_id = 'x', receiver_type = -1, receiver_id = '5'");
    EXPECT_EQ(message.sender, PelkoChatTarget());
    EXPECT_EQ(message.receiver, PelkoChatTarget());
}

TEST_F(MessagesReadTest, ExtraDataIsNeverSetFromARow) {
    PelkoMessage message = imageMessage();
    message.putExtraData("/app/media/extra.bin");
    const PelkoMessage back = db().getMessage(store(message).dbID);
    expectSameMedia(back.extra, PelkoMedia());
    EXPECT_FALSE(back.hasExtraData());
}

// ---- the row reader: media

TEST_F(MessagesReadTest, MediaPathsComeBackAbsolute) {
    const PelkoMessage message =
        readAfter("media_path = 'a/b.jpg', ex_media_path = '/sdcard/c.jpg', media_status = 3, duration = -1");
    EXPECT_EQ(message.media.path, "/app/a/b.jpg");
    EXPECT_EQ(message.media.pathEx, "/sdcard/c.jpg");
    EXPECT_EQ(message.media.status, PelkoMediaStatusDownloadFailed);
    EXPECT_EQ(message.media.duration, 4294967295U);
}

TEST_F(MessagesReadTest, AudioAndUserDataComeBackWithTheirMedia) {
    const PelkoMessage audio =
        store(PelkoMessage::createAudioMessage(PelkoUser("a"), PelkoUser("b"), "/app/a.amr", 7));
    expectSameMessage(db().getMessage(audio.dbID), audio);
    const PelkoMessage data =
        store(PelkoMessage::createUserDataMessage(PelkoUser("a"), PelkoUser("b"), "/app/a.bin"));
    expectSameMessage(db().getMessage(data.dbID), data);
}

TEST_F(MessagesReadTest, MediaIsOfTheKindThatTheRowSays) {
    const PelkoMessage message = readAfter("media_type = 2");  // of an image message
    EXPECT_EQ(message.type, PelkoMessageTypeImage);
    EXPECT_EQ(message.media.type, PelkoMediaTypeAudio);
    EXPECT_EQ(message.media.path, "/app/media/small.jpg");
}

TEST_F(MessagesReadTest, MessageWithoutMediaIgnoresTheMediaColumns) {
    for (const int type : {0, 4, 5, -1}) {
        SCOPED_TRACE(type);
        execute("DELETE FROM tbl_msg");
        const PelkoMessage message = readAfter("type = " + std::to_string(type));
        EXPECT_EQ(message.text, "it's");
        expectSameMedia(message.media, PelkoMedia());
    }
}

TEST_F(MessagesReadTest, UnknownKindsOfMediaAreIgnored) {
    for (const char* const mediaType : {"0", "4", "9", "-1", "NULL"}) {
        SCOPED_TRACE(mediaType);
        execute("DELETE FROM tbl_msg");
        const PelkoMessage message = readAfter(std::string("media_type = ") + mediaType);
        EXPECT_EQ(message.type, PelkoMessageTypeImage);
        expectSameMedia(message.media, PelkoMedia());
    }
}

TEST_F(MessagesReadTest, MediaColumnsAreReadOnlyWhereThereIsMedia) {
    const std::string plain =
        "0 AS sender_type, 'a' AS sender_id, 0 AS receiver_type, 'b' AS receiver_id, 7 AS msg_id, 8 AS "
        "db_id, "
        "'T' AS text, 9 AS date, 1 AS status, 'E' AS extra_path";
    EXPECT_EQ(readRow(plain + ", 0 AS type").text, "T");
    EXPECT_EQ(readRow(plain + ", 1 AS type, 4 AS media_type").text, "T");
    EXPECT_THROW(readRow(plain + ", 1 AS type"), CppSQLite3Exception);
    EXPECT_THROW(readRow(plain + ", 1 AS type, 1 AS media_type"), CppSQLite3Exception);
    expectNothingLogged();  // the reader catches nothing and says nothing
}

// ---- not ready, and SQL failure

class MessageReads : public OperationTest {};

TEST_P(MessageReads, AreNotReadyWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(MessageReads, AreNotReadyWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(MessageReads, FailWithoutTheTable) {
    expectFailureWithout("tbl_msg");
}

INSTANTIATE_TEST_SUITE_P(
    All, MessageReads,
    testing::Values(
        Operation{"getMessage", "getMessage",
                  [](PelkoDBManager& db) { expectSameMessage(db.getMessage(1), PelkoMessage()); }},
        Operation{"getReceivedMessage", "getReceivedMessage",
                  [](PelkoDBManager& db) { expectSameMessage(db.getReceivedMessage(1), PelkoMessage()); }},
        Operation{"ifMsgIDExist", "checkIfRecordExist",
                  [](PelkoDBManager& db) { EXPECT_FALSE(db.ifMsgIDExist(1)); }}),
    nameOf);

}  // namespace
