#include <gmock/gmock.h>

#include <climits>
#include <deque>
#include <list>
#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const PelkoChatTarget aliceTarget("alice");
const PelkoChatTarget aRoom(5, PelkoChatTargetTypeRoom);
const PelkoChatTarget aGroup(9007199254740993, PelkoChatTargetTypeGroup);
const PelkoChatTarget aService(9, PelkoChatTargetTypeCustomerService);

constexpr char insertSessionHead[] =
    "INSERT INTO tbl_session (target_type, target_id, last_msg_id, is_top, priority) VALUES ";
constexpr char allSessions[] = "SELECT * FROM tbl_session ORDER BY rowid";

PelkoSession sessionWith(const PelkoChatTarget& target, bool isTop = false, s64 lastDbID = 0,
                         int priority = 0) {
    PelkoSession session;
    session.target = target;
    session.isTop = isTop;
    session.lastMsg.dbID = lastDbID;
    session.priority = priority;
    return session;
}

class SessionsTest : public StoreTest {
protected:
    void add(const PelkoChatTarget& target) {
        EXPECT_TRUE(db().insertNewSession(sessionWith(target)));
        forget();
    }
    std::list<PelkoSession> load() {
        std::list<PelkoSession> sessions;
        EXPECT_TRUE(db().loadSessionList(sessions));
        return sessions;
    }
};

// ---- insertNewSession

TEST_F(SessionsTest, InsertWritesTheRowWithFlagAndMessageCrossed) {
    EXPECT_TRUE(db().insertNewSession(sessionWith(aliceTarget, true, 57, 3)));
    EXPECT_THAT(statements(), ElementsAre(std::string(insertSessionHead) + "(0, 'alice', 1, 57, 3)"));
    EXPECT_EQ(rows("SELECT target_type, target_id, last_msg_id, is_top, priority FROM tbl_session"),
              (std::vector<Row>{{"0", "alice", "1", "57", "3"}}));
    expectNothingLogged();
}

TEST_F(SessionsTest, InsertWritesEveryKindOfTargetWithItsKey) {
    EXPECT_TRUE(db().insertNewSession(sessionWith(PelkoUser("o'brien"))));
    EXPECT_TRUE(db().insertNewSession(sessionWith(aRoom, false, 9007199254740993, -1)));
    EXPECT_TRUE(db().insertNewSession(sessionWith(aGroup)));
    EXPECT_TRUE(db().insertNewSession(sessionWith(aService)));
    EXPECT_TRUE(db().insertNewSession(sessionWith(PelkoChatTarget(5, static_cast<PelkoChatTargetType>(9)))));
    const std::string head = insertSessionHead;
    EXPECT_THAT(statements(),
                ElementsAre(head + "(0, 'o''brien', 0, 0, 0)", head + "(1, '5', 0, 9007199254740993, -1)",
                            head + "(2, '9007199254740993', 0, 0, 0)", head + "(3, '9', 0, 0, 0)",
                            head + "(9, '', 0, 0, 0)"));
    EXPECT_EQ(value("SELECT target_id FROM tbl_session WHERE target_type = 0"), "o'brien");
}

TEST_F(SessionsTest, SecondInsertOfATargetFailsOnTheKeyAndChangesNothing) {
    add(aliceTarget);
    const std::vector<Row> before = rows(allSessions);
    EXPECT_FALSE(db().insertNewSession(sessionWith(aliceTarget, true, 57, 3)));
    expectFailureLogged("insertNewSession", HasSubstr("UNIQUE constraint failed"));
    EXPECT_EQ(rows(allSessions), before);
}

TEST_F(SessionsTest, TargetsOfDifferentKindsWithTheSameIdAreDifferentSessions) {
    add(PelkoUser("5"));
    add(aRoom);
    add(PelkoGroup(5LL));
    EXPECT_EQ(load().size(), 3U);
}

TEST_F(SessionsTest, InsertThatChangesNoRowIsNoSuccess) {
    changeTables("CREATE TRIGGER skipped BEFORE INSERT ON tbl_session BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_FALSE(db().insertNewSession(sessionWith(aliceTarget)));
    expectNothingLogged();
}

// ---- loadSessionList

TEST_F(SessionsTest, EmptyTableLoadsNothing) {
    std::list<PelkoSession> sessions = {sessionWith(aliceTarget)};
    EXPECT_TRUE(db().loadSessionList(sessions));
    ASSERT_EQ(sessions.size(), 1U);
    EXPECT_EQ(sessions.front().target, aliceTarget);
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_session"));
    expectNothingLogged();
}

TEST_F(SessionsTest, SessionComesBackWithItsFields) {
    PelkoMessage message = imageMessage();
    db().insertMessage(&message);
    add(aliceTarget);
    db().markSessionIsTop(aliceTarget, true, -3);
    db().updateSessionLastMsg(aliceTarget, message.dbID);
    forget();

    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), 1U);
    const PelkoSession& session = sessions.front();
    EXPECT_TRUE(session.isTop);
    EXPECT_EQ(session.priority, -3);
    EXPECT_EQ(session.target, aliceTarget);
    EXPECT_EQ(session.lastMsg, message);
    EXPECT_EQ(session.lastMsg.text, "it's");
    EXPECT_EQ(session.lastMsg.media.path, "/app/media/small.jpg");
    EXPECT_THAT(statements(),
                ElementsAre("SELECT * FROM tbl_session", "SELECT * FROM tbl_msg WHERE db_id = 1"));
    expectNothingLogged();
}

TEST_F(SessionsTest, FieldsWithoutAColumnKeepTheirDefaults) {
    execute("INSERT INTO tbl_session VALUES (0, 'alice', 7, 1, 2)");
    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), 1U);
    const PelkoSession& session = sessions.front();
    const PelkoSession fresh;
    EXPECT_EQ(session.lastMsgId, fresh.lastMsgId);
    EXPECT_EQ(session.pageIndex, fresh.pageIndex);
    EXPECT_EQ(session.requestingHistory, fresh.requestingHistory);
    EXPECT_EQ(session.autoRequestHistory, fresh.autoRequestHistory);
    EXPECT_EQ(session.needUpdate, fresh.needUpdate);
    EXPECT_THAT(session.memberList, IsEmpty());
    EXPECT_THAT(session.curPageMemberList, IsEmpty());
}

TEST_F(SessionsTest, FreshlyInsertedSessionReadsItsCrossedColumns) {
    PelkoMessage first = PelkoMessage::createTextMessage(aliceTarget, "row 1");
    db().insertMessage(&first);
    db().insertNewSession(sessionWith(aliceTarget, true, 57));
    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), 1U);
    EXPECT_TRUE(sessions.front().isTop);  // from 57
    EXPECT_EQ(sessions.front().lastMsg.dbID, 1);
    EXPECT_EQ(sessions.front().lastMsg.text, "row 1");
}

TEST_F(SessionsTest, FreshlyInsertedSessionWithoutAMessageIsNotPinned) {
    db().insertNewSession(sessionWith(aliceTarget, true, 0));
    db().insertNewSession(sessionWith(aRoom, false, -1));
    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_FALSE(sessions.front().isTop);
    EXPECT_TRUE(sessions.back().isTop);
}

TEST_F(SessionsTest, MissingLastMessageIsADefaultMessage) {
    add(aliceTarget);
    db().updateSessionLastMsg(aliceTarget, 12345);
    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), 1U);
    EXPECT_EQ(sessions.front().lastMsg, PelkoMessage());
    EXPECT_EQ(sessions.front().lastMsg.sender, PelkoChatTarget());
    expectNothingLogged();
}

TEST_F(SessionsTest, LastMessageIsFetchedByTheLow32BitsWithTheirSign) {
    execute(
        "INSERT INTO tbl_session VALUES (1, '1', 4294967297, 0, 0), (1, '2', 2147483648, 0, 0),"
        " (1, '3', -1, 0, 0), (1, '4', 2147483647, 0, 0)");
    load();
    const std::string head = "SELECT * FROM tbl_msg WHERE db_id = ";
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_session", head + "1", head + "-2147483648",
                                          head + "-1", head + "2147483647"));
}

TEST_F(SessionsTest, NullsReadAsZerosAndEmptyStrings) {
    execute("INSERT INTO tbl_session VALUES (NULL, NULL, NULL, NULL, NULL), (1, NULL, NULL, NULL, NULL)");
    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_EQ(sessions.front().target, PelkoUser(""));
    EXPECT_FALSE(sessions.front().isTop);
    EXPECT_EQ(sessions.front().priority, 0);
    EXPECT_EQ(sessions.front().lastMsg, PelkoMessage());
    EXPECT_EQ(sessions.back().target, PelkoRoom(0U));
}

TEST_F(SessionsTest, WithoutALastMessageIdTheMessageZeroIsFetched) {
    execute("INSERT INTO tbl_session (target_type, target_id) VALUES (0, 'alice')");
    load();
    EXPECT_THAT(statements(),
                ElementsAre("SELECT * FROM tbl_session", "SELECT * FROM tbl_msg WHERE db_id = 0"));
}

TEST_F(SessionsTest, AnyFlagButZeroIsPinned) {
    execute("INSERT INTO tbl_session VALUES (1, '1', 0, 0, 0), (1, '2', 0, 2, 0), (1, '3', 0, -1, 0)");
    const std::list<PelkoSession> sessions = load();
    std::vector<bool> pinned;
    for (const PelkoSession& session : sessions) {
        pinned.push_back(session.isTop);
    }
    EXPECT_THAT(pinned, ElementsAre(false, true, true));
}

TEST_F(SessionsTest, PinningIsReadFromTheLow32Bits) {
    db().insertNewSession(sessionWith(aliceTarget, true, 4294967296));
    db().insertNewSession(sessionWith(aRoom, false, 4294967297));
    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_FALSE(sessions.front().isTop);
    EXPECT_TRUE(sessions.back().isTop);
}

TEST_F(SessionsTest, TheReaderTakesTheColumnsInItsOwnOrder) {
    // Tables that lack ever fewer columns name the first one that is missing. The two of the target are read
    // for one call, in any order.
    const std::vector<std::string> order = {"is_top", "priority", "last_msg_id", "target_"};
    changeTables("DROP TABLE tbl_session");
    std::string present = "1 AS other";
    for (const std::string& column : order) {
        SCOPED_TRACE(column);
        changeTables("CREATE VIEW tbl_session AS SELECT " + present);
        std::list<PelkoSession> sessions;
        EXPECT_FALSE(db().loadSessionList(sessions));
        expectFailureLogged("loadSessionList", HasSubstr(" " + column));
        const bool lastMessageFetched = column == "target_";
        EXPECT_EQ(statements().size(), lastMessageFetched ? 2U : 1U);
        EXPECT_THAT(sessions, IsEmpty());
        changeTables("DROP VIEW tbl_session");
        present += ", 1 AS " + column;
    }
}

TEST_F(SessionsTest, TargetsComeBackByKind) {
    add(PelkoUser("o'brien"));
    add(aRoom);
    add(aGroup);
    add(aService);
    execute("INSERT INTO tbl_session VALUES (9, 'x', 0, 0, 0), (1, 'abc', 0, 0, 0)");
    std::vector<PelkoChatTarget> targets;
    for (const PelkoSession& session : load()) {
        targets.push_back(session.target);
    }
    EXPECT_THAT(targets,
                ElementsAre(PelkoUser("o'brien"), aRoom, aGroup, aService, PelkoChatTarget(), PelkoRoom(0U)));
}

TEST_F(SessionsTest, LoadingTwiceDoublesTheList) {
    add(aliceTarget);
    add(aRoom);
    std::list<PelkoSession> sessions;
    EXPECT_TRUE(db().loadSessionList(sessions));
    EXPECT_TRUE(db().loadSessionList(sessions));
    std::vector<PelkoChatTarget> targets;
    for (const PelkoSession& session : sessions) {
        targets.push_back(session.target);
    }
    EXPECT_THAT(targets, ElementsAre(aliceTarget, aRoom, aliceTarget, aRoom));
}

TEST_F(SessionsTest, AThousandSessionsSurviveARestart) {
    constexpr int many = 1000;
    db().beginTransaction();  // for speed alone
    for (int i = 1; i <= many; ++i) {
        PelkoMessage message = PelkoMessage::createTextMessage(aliceTarget, "last of " + std::to_string(i));
        const PelkoRoom target(static_cast<uint>(i));
        ASSERT_TRUE(db().insertMessage(&message));
        ASSERT_TRUE(db().insertNewSession(sessionWith(target)));
        ASSERT_TRUE(db().markSessionIsTop(target, i % 2 == 0, i));
        ASSERT_TRUE(db().updateSessionLastMsg(target, message.dbID));
    }
    db().commiteTransaction();
    reopen();
    const std::list<PelkoSession> sessions = load();
    ASSERT_EQ(sessions.size(), static_cast<std::size_t>(many));
    int i = 0;
    for (const PelkoSession& session : sessions) {
        ++i;
        ASSERT_EQ(session.target, PelkoRoom(static_cast<uint>(i)));
        ASSERT_EQ(session.isTop, i % 2 == 0);
        ASSERT_EQ(session.priority, i);
        ASSERT_EQ(session.lastMsg.text, "last of " + std::to_string(i));
    }
    expectNothingLogged();
}

TEST_F(SessionsTest, LastMessageThatCannotBeReadIsReportedByItsReader) {
    add(aliceTarget);
    add(aRoom);
    changeTables("DROP TABLE tbl_msg");
    EXPECT_EQ(load().size(), 2U);
    const std::string line = "getMessage failed, exception in (no such table: tbl_msg).";
    EXPECT_THAT(platform().file, ElementsAre(line, line));
}

TEST_F(SessionsTest, SessionsAppendedBeforeAFailureStay) {
    // The third row cannot be read. A session is appended once the cursor has left its row, so that the
    // second is lost with it.
    changeTables(
        "ALTER TABLE tbl_session RENAME TO sessions;"
        "INSERT INTO sessions VALUES (1, '1', 0, 0, 1), (1, '2', 0, 0, 2), (1, '3', 0, 0, 3);"
        "CREATE VIEW tbl_session AS SELECT target_type, target_id, last_msg_id, is_top,"
        " abs(CASE priority WHEN 3 THEN -9223372036854775808 ELSE priority END) AS priority FROM sessions");
    std::list<PelkoSession> sessions = {sessionWith(aliceTarget)};
    EXPECT_FALSE(db().loadSessionList(sessions));
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_EQ(sessions.front().target, aliceTarget);
    EXPECT_EQ(sessions.back().target, PelkoRoom(1U));
    expectFailureLogged("loadSessionList", HasSubstr("integer overflow"));
}

TEST_F(SessionsTest, LoadLetsGoOfTheFile) {
    add(aliceTarget);
    load();
    execute("DELETE FROM tbl_session");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

// ---- deleteSession

TEST_F(SessionsTest, DeleteRemovesTheTargetsRowAndKeepsItsMessages) {
    PelkoMessage message = PelkoMessage::createTextMessage(aRoom, "kept");
    db().insertMessage(&message);
    add(aRoom);
    add(PelkoGroup(5LL));
    add(PelkoUser("5"));
    EXPECT_TRUE(db().deleteSession(aRoom));
    EXPECT_THAT(statements(),
                ElementsAre("DELETE FROM tbl_session WHERE target_type = 1 AND target_id = '5'"));
    EXPECT_EQ(rows("SELECT target_type FROM tbl_session ORDER BY 1"), (std::vector<Row>{{"0"}, {"2"}}));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "1");
    expectNothingLogged();
}

TEST_F(SessionsTest, DeleteOfAnUnknownTargetIsFalse) {
    add(aRoom);
    EXPECT_FALSE(db().deleteSession(aliceTarget));
    EXPECT_FALSE(db().deleteSession(PelkoRoom(6U)));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_session"), "1");
    EXPECT_TRUE(db().deleteSession(aRoom));
    EXPECT_FALSE(db().deleteSession(aRoom));
    expectNothingLogged();
}

TEST_F(SessionsTest, DeletedSessionCanBeInsertedAgain) {
    add(aliceTarget);
    EXPECT_TRUE(db().deleteSession(aliceTarget));
    EXPECT_TRUE(db().insertNewSession(sessionWith(aliceTarget)));
}

// ---- markSessionIsTop

TEST_F(SessionsTest, MarkSetsPinningAndPriorityOfOneSession) {
    execute("INSERT INTO tbl_session VALUES (0, 'alice', 7, 0, 1), (1, '5', 8, 0, 1)");
    EXPECT_TRUE(db().markSessionIsTop(aliceTarget, true, 42));
    EXPECT_EQ(rows(allSessions),
              (std::vector<Row>{{"0", "alice", "7", "1", "42"}, {"1", "5", "8", "0", "1"}}));
    EXPECT_TRUE(db().markSessionIsTop(aliceTarget, false, -1));
    EXPECT_EQ(rows(allSessions),
              (std::vector<Row>{{"0", "alice", "7", "0", "-1"}, {"1", "5", "8", "0", "1"}}));
    EXPECT_THAT(
        statements(),
        ElementsAre(
            "UPDATE tbl_session SET is_top = 1, priority= 42 WHERE target_type = 0 AND target_id = 'alice'",
            "UPDATE tbl_session SET is_top = 0, priority= -1 WHERE target_type = 0 AND target_id = 'alice'"));
    expectNothingLogged();
}

// ---- updateSessionLastMsg

TEST_F(SessionsTest, LastMessageOfOneSessionIsSet) {
    execute("INSERT INTO tbl_session VALUES (0, 'o''brien', 7, 1, 2), (1, '5', 8, 1, 2)");
    EXPECT_TRUE(db().updateSessionLastMsg(PelkoUser("o'brien"), 9007199254740993));
    EXPECT_THAT(statements(), ElementsAre("UPDATE tbl_session SET last_msg_id = 9007199254740993 WHERE "
                                          "target_type = 0 AND target_id = 'o''brien'"));
    EXPECT_EQ(rows(allSessions),
              (std::vector<Row>{{"0", "o'brien", "9007199254740993", "1", "2"}, {"1", "5", "8", "1", "2"}}));
    expectNothingLogged();
}

TEST_F(SessionsTest, UpdatesOfAnUnknownTargetAreFalseAndInsertNothing) {
    add(aRoom);
    const std::vector<Row> before = rows(allSessions);
    EXPECT_FALSE(db().markSessionIsTop(aliceTarget, true, 1));
    EXPECT_FALSE(db().updateSessionLastMsg(aliceTarget, 1));
    EXPECT_EQ(rows(allSessions), before);
    expectNothingLogged();
}

TEST_F(SessionsTest, AnyNumberIsSetAndTheSameAgainIsAChange) {
    add(aliceTarget);
    for (const s64 id : {0LL, -1LL, LLONG_MIN, LLONG_MAX, LLONG_MAX}) {
        EXPECT_TRUE(db().updateSessionLastMsg(aliceTarget, id));
        EXPECT_EQ(value("SELECT last_msg_id FROM tbl_session"), std::to_string(id));
    }
    for (const int priority : {INT_MIN, INT_MAX, INT_MAX}) {
        EXPECT_TRUE(db().markSessionIsTop(aliceTarget, true, priority));
        EXPECT_EQ(load().front().priority, priority);
    }
    expectNothingLogged();
}

// ---- with the messages

TEST_F(SessionsTest, AnIncomingMessageIsStoredOnceCountedShownAndRead) {
    const PelkoUser myself("me");
    PelkoMessage question = PelkoMessage::createTextMessage(myself, aliceTarget, "how are you?");
    question.date = 100;
    ASSERT_TRUE(db().insertMessage(&question));
    add(aliceTarget);

    PelkoMessage answer = PelkoMessage::createTextMessage(aliceTarget, myself, "well");
    answer.id = 9;
    answer.date = 200;
    answer.status = PelkoMessageStatusUnread;
    PelkoMessage secondDelivery = answer;
    EXPECT_TRUE(db().insertMessage(&answer));
    EXPECT_EQ(answer.dbID, 2);
    EXPECT_TRUE(db().updateSessionLastMsg(aliceTarget, answer.dbID));
    EXPECT_TRUE(db().insertMessage(&secondDelivery));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "2");

    EXPECT_EQ(db().getUnreadCountOfTarget(aliceTarget), 1U);
    const PelkoMessage last = load().front().lastMsg;
    EXPECT_EQ(last.id, 9);
    EXPECT_EQ(last.text, "well");
    EXPECT_EQ(last.status, PelkoMessageStatusUnread);
    EXPECT_EQ(last.sender, aliceTarget);
    EXPECT_EQ(last.receiver, myself);

    EXPECT_TRUE(db().clearUnreadStatus(aliceTarget));
    EXPECT_EQ(db().getUnreadCountOfTarget(aliceTarget), 0U);
    std::deque<PelkoMessage> page;
    EXPECT_TRUE(db().getLatestMessages(aliceTarget, 20, page));
    ASSERT_EQ(page.size(), 2U);
    EXPECT_EQ(page.front().text, "how are you?");
    EXPECT_EQ(page.back().text, "well");
    EXPECT_EQ(page.back().status, PelkoMessageStatusRead);
    expectNothingLogged();
}

// ---- not ready, and SQL failure

class SessionOperations : public OperationTest {};

TEST_P(SessionOperations, AreNotReadyWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(SessionOperations, AreNotReadyWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(SessionOperations, FailWithoutTheTable) {
    expectFailureWithout("tbl_session");
}

INSTANTIATE_TEST_SUITE_P(
    All, SessionOperations,
    testing::Values(
        Operation{"loadSessionList", "loadSessionList",
                  [](PelkoDBManager& db) {
                      std::list<PelkoSession> sessions(2);
                      EXPECT_FALSE(db.loadSessionList(sessions));
                      EXPECT_EQ(sessions.size(), 2U);
                  }},
        Operation{"insertNewSession", "insertNewSession",
                  [](PelkoDBManager& db) { EXPECT_FALSE(db.insertNewSession(sessionWith(aliceTarget))); }},
        Operation{"deleteSession", "deleteSession",
                  [](PelkoDBManager& db) { EXPECT_FALSE(db.deleteSession(aliceTarget)); }},
        Operation{"markSessionIsTop", "markSessionIsTop",
                  [](PelkoDBManager& db) { EXPECT_FALSE(db.markSessionIsTop(aliceTarget, true, 1)); }},
        Operation{"updateSessionLastMsg", "updateSessionLastMsg",
                  [](PelkoDBManager& db) { EXPECT_FALSE(db.updateSessionLastMsg(aliceTarget, 1)); }}),
    nameOf);

}  // namespace
