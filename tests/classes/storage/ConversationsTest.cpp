#include <gmock/gmock.h>

#include <deque>
#include <string>
#include <vector>

#include "classes/platform/LoginContext.h"
#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = PelkoDBManagerTestAccess;
using Types = std::vector<PelkoChatTargetType>;

namespace {

const PelkoChatTarget me("me");
const PelkoChatTarget alice("alice");
const PelkoChatTarget bob("bob");
const PelkoChatTarget someRoom(5, PelkoChatTargetTypeRoom);
const PelkoChatTarget someGroup(5, PelkoChatTargetTypeGroup);
const PelkoChatTarget someService(9, PelkoChatTargetTypeCustomerService);
const PelkoChatTarget unknownKind(5, static_cast<PelkoChatTargetType>(9));

class ConversationsTest : public StoreTest {
protected:
    /// @return the row id of a stored message, made of what the conversations look at
    s64 add(const PelkoChatTarget& from, const PelkoChatTarget& to, uint date, s64 id = 0,
            PelkoMessageStatus status = PelkoMessageStatusRead) {
        PelkoMessage message = PelkoMessage::createMessage(from, to);
        message.date = date;
        message.id = id;
        message.status = status;
        EXPECT_TRUE(db().insertMessage(&message));
        forget();
        return message.dbID;
    }
    s64 addUnread(const PelkoChatTarget& from, const PelkoChatTarget& to) {
        return add(from, to, 1, 0, PelkoMessageStatusUnread);
    }
    static std::vector<s64> rowIds(const std::deque<PelkoMessage>& messages) {
        std::vector<s64> ids;
        for (const PelkoMessage& message : messages) {
            ids.push_back(message.dbID);
        }
        return ids;
    }
    std::vector<s64> latest(const PelkoChatTarget& target, uint count = 100) {
        std::deque<PelkoMessage> out;
        EXPECT_TRUE(db().getLatestMessages(target, count, out));
        return rowIds(out);
    }
    std::vector<s64> history(const PelkoChatTarget& target, s64 anchor, uint count = 100) {
        std::deque<PelkoMessage> out;
        EXPECT_TRUE(db().getHistoryMessages(target, anchor, count, out));
        return rowIds(out);
    }
    std::string condition(const PelkoChatTarget& target) {
        return Access::conditionSqlWithTarget(db(), target);
    }
    /// A page whose second row, newest first, cannot be read: rows come straight from an index, and the text
    /// of the message dated 2 overflows.
    void breakMessageDated2() {
        changeTables(
            "ALTER TABLE tbl_msg RENAME TO messages;"
            "CREATE INDEX newest ON messages (date, msg_id, db_id);"
            "CREATE VIEW tbl_msg AS SELECT msg_id, db_id, type, date, status, extra_path, receiver_type,"
            " receiver_id, sender_type, sender_id,"
            " abs(CASE date WHEN 2 THEN -9223372036854775808 ELSE 0 END) AS text FROM messages");
    }
};

// ---- the condition of a conversation

TEST_F(ConversationsTest, ConditionOfARoomOrGroupIsItsAddress) {
    EXPECT_EQ(condition(someRoom), "(receiver_type = 1 AND receiver_id = '5')");
    EXPECT_EQ(condition(PelkoGroup(9007199254740993)),
              "(receiver_type = 2 AND receiver_id = '9007199254740993')");
}

TEST_F(ConversationsTest, ConditionOfAUserPairsItWithTheLoggedInUser) {
    EXPECT_EQ(condition(alice), withAlice);
    EXPECT_EQ(
        condition(PelkoUser("o'brien")),
        "((receiver_type = 0 AND sender_type = 0) AND ((receiver_id = 'o''brien' AND sender_id = 'me') OR "
        "(sender_id = 'o''brien' AND receiver_id = 'me')))");
}

TEST_F(ConversationsTest, ConditionOfACustomerServicePairsItWithTheLoggedInUser) {
    EXPECT_EQ(condition(someService),
              "(((receiver_type = 0 AND sender_type = 3) OR ((receiver_type = 3 AND sender_type = 0))) AND "
              "((receiver_id = '9' AND sender_id = 'me') OR (sender_id = '9' AND receiver_id = 'me')))");
}

TEST_F(ConversationsTest, ConditionOfAnUnknownKindIsEmpty) {
    EXPECT_EQ(condition(unknownKind), "");
    EXPECT_EQ(condition(PelkoChatTarget(5, static_cast<PelkoChatTargetType>(-1))), "");
}

TEST_F(ConversationsTest, ConditionAsksForTheLoggedInUserEachTime) {
    LoginContext::getInstance()->setUserName("100% me");
    EXPECT_THAT(condition(alice), HasSubstr("sender_id = '100% me'"));
    EXPECT_THAT(condition(someService), HasSubstr("sender_id = '100% me'"));
    LoginContext::getInstance()->setUserName("other");
    EXPECT_THAT(condition(alice), HasSubstr("sender_id = 'other'"));
}

TEST_F(ConversationsTest, ConditionNeedsNoDatabase) {
    close();
    forget();
    EXPECT_EQ(condition(alice), withAlice);
    expectNothingLogged();
}

// ---- what belongs to a conversation

TEST_F(ConversationsTest, UserConversationIsBetweenTheTwo) {
    const s64 sent = add(me, alice, 1);
    const s64 received = add(alice, me, 2);
    add(me, bob, 3);
    add(bob, me, 4);
    add(alice, bob, 5);
    add(bob, alice, 6);
    add(alice, someRoom, 7);
    add(me, me, 8);
    EXPECT_THAT(latest(alice), ElementsAre(sent, received));
}

TEST_F(ConversationsTest, ConversationWithOneselfIsNotesToOneself) {
    add(me, alice, 1);
    const s64 note = add(me, me, 2);
    EXPECT_THAT(latest(me), ElementsAre(note));
}

TEST_F(ConversationsTest, RoomConversationIsWhateverIsAddressedToIt) {
    const s64 first = add(alice, someRoom, 1);
    const s64 second = add(me, someRoom, 2);
    const s64 third = add(someService, someRoom, 3);
    add(alice, PelkoRoom(6U), 4);
    add(alice, someGroup, 5);
    add(someRoom, me, 6);
    EXPECT_THAT(latest(someRoom), ElementsAre(first, second, third));
}

TEST_F(ConversationsTest, GroupConversationIsWhateverIsAddressedToIt) {
    add(alice, someRoom, 1);
    const s64 toGroup = add(alice, someGroup, 2);
    const s64 own = add(me, someGroup, 3);
    EXPECT_THAT(latest(someGroup), ElementsAre(toGroup, own));
}

TEST_F(ConversationsTest, ServiceConversationIsBetweenTheUserAndTheService) {
    const PelkoChatTarget userNine("9");
    const s64 question = add(me, someService, 1);
    const s64 answer = add(someService, me, 2);
    add(bob, someService, 3);
    add(someService, bob, 4);
    const s64 toUser = add(me, userNine, 5);
    const s64 fromUser = add(userNine, me, 6);
    add(PelkoChatTarget(8, PelkoChatTargetTypeCustomerService), me, 7);
    EXPECT_THAT(latest(someService), ElementsAre(question, answer));
    EXPECT_THAT(latest(userNine), ElementsAre(toUser, fromUser));
}

// ---- the newest page

TEST_F(ConversationsTest, LatestPageIsTheNewestInAscendingOrder) {
    for (uint date = 1; date <= 5; ++date) {
        add(date % 2 == 0 ? me : alice, date % 2 == 0 ? alice : me, date);
    }
    EXPECT_THAT(latest(alice, 3), ElementsAre(3, 4, 5));
    EXPECT_THAT(statements(), ElementsAre(std::string("SELECT * FROM tbl_msg WHERE ") + withAlice +
                                          " ORDER BY date desc, msg_id desc, db_id desc LIMIT 3"));
    EXPECT_THAT(latest(alice, 1), ElementsAre(5));
    EXPECT_THAT(latest(alice, 6), ElementsAre(1, 2, 3, 4, 5));
    expectNothingLogged();
}

TEST_F(ConversationsTest, DateComesBeforeTheOrderOfStoring) {
    add(alice, me, 5);
    add(alice, me, 1);
    add(alice, me, 3);
    EXPECT_THAT(latest(alice), ElementsAre(2, 3, 1));
}

TEST_F(ConversationsTest, EqualDatesGoByServiceIdAndThenByRowId) {
    const s64 large = add(alice, me, 1, 30);
    const s64 firstUnacknowledged = add(me, alice, 1, 0);
    const s64 small = add(alice, me, 1, 20);
    const s64 secondUnacknowledged = add(me, alice, 1, 0);
    EXPECT_THAT(latest(alice), ElementsAre(firstUnacknowledged, secondUnacknowledged, small, large));
    EXPECT_THAT(latest(alice, 2), ElementsAre(small, large));
}

TEST_F(ConversationsTest, PagesCarryWholeMessages) {
    PelkoMessage message = imageMessage();
    db().insertMessage(&message);
    std::deque<PelkoMessage> out;
    ASSERT_TRUE(db().getLatestMessages(message.receiver, 1, out));
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(out[0].text, "it's");
    EXPECT_EQ(out[0].sender, alice);
    EXPECT_EQ(out[0].media.path, "/app/media/small.jpg");
}

TEST_F(ConversationsTest, LatestPageGoesInFrontOfWhatIsThere) {
    add(alice, me, 1);
    add(alice, me, 2);
    std::deque<PelkoMessage> out(2);
    out[0].dbID = 70;
    out[1].dbID = 71;
    EXPECT_TRUE(db().getLatestMessages(alice, 5, out));
    EXPECT_THAT(rowIds(out), ElementsAre(1, 2, 70, 71));
}

TEST_F(ConversationsTest, LatestPageOfAnEmptyConversationIsSuccess) {
    add(alice, me, 1);
    std::deque<PelkoMessage> out(1);
    EXPECT_TRUE(db().getLatestMessages(bob, 5, out));
    EXPECT_EQ(out.size(), 1U);
    expectNothingLogged();
}

TEST_F(ConversationsTest, LatestPageOfNoMessagesIsFalseWithoutAQuery) {
    add(alice, me, 1);
    std::deque<PelkoMessage> out;
    EXPECT_FALSE(db().getLatestMessages(alice, 0, out));
    EXPECT_THAT(out, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_F(ConversationsTest, CountsBeyond31BitsAreNoLimit) {
    add(alice, me, 1);
    EXPECT_THAT(latest(alice, 4294967295U), ElementsAre(1));
    EXPECT_THAT(statements().front(), testing::EndsWith(" LIMIT -1"));
}

TEST_F(ConversationsTest, RowsReadBeforeAFailureStayInTheLatestPage) {
    for (uint date = 1; date <= 3; ++date) {
        add(alice, someRoom, date);
    }
    breakMessageDated2();
    std::deque<PelkoMessage> out(1);
    EXPECT_FALSE(db().getLatestMessages(someRoom, 5, out));
    EXPECT_THAT(rowIds(out), ElementsAre(3, 0));
    expectFailureLogged("getLatestMessages", HasSubstr("integer overflow"));
}

// ---- the page before a message

TEST_F(ConversationsTest, HistoryIsWhatIsNotLaterThanTheAnchor) {
    for (uint date = 1; date <= 5; ++date) {
        add(alice, me, date);
    }
    EXPECT_THAT(history(alice, 3, 10), ElementsAre(1, 2));
    EXPECT_THAT(
        statements(),
        ElementsAre(std::string("SELECT * FROM (SELECT a.* FROM tbl_msg as a, tbl_msg as b WHERE b.db_id "
                                "= 3 AND a.date <= b.date AND a.db_id != b.db_id) WHERE ") +
                    withAlice + " ORDER BY date desc, msg_id desc, db_id desc LIMIT 10"));
    EXPECT_THAT(history(alice, 5, 2), ElementsAre(3, 4));
    EXPECT_THAT(history(alice, 1), IsEmpty());
    expectNothingLogged();
}

TEST_F(ConversationsTest, HistoryHoldsEveryOtherMessageOfTheAnchorsDate) {
    add(alice, me, 3, 10);
    add(alice, me, 3, 30);  // the anchor
    add(alice, me, 3, 40);
    add(alice, me, 3, 20);
    add(alice, me, 4, 5);
    EXPECT_THAT(history(alice, 2), ElementsAre(1, 4, 3));
}

TEST_F(ConversationsTest, HistoryKeepsToTheConversationWhateverTheAnchors) {
    add(alice, me, 1);
    add(bob, me, 2);
    add(alice, me, 3);
    EXPECT_THAT(history(alice, 3), ElementsAre(1));
    EXPECT_THAT(history(alice, 2), ElementsAre(1));
    EXPECT_THAT(history(bob, 3), ElementsAre(2));
}

TEST_F(ConversationsTest, HistoryGoesInFrontOfWhatIsThere) {
    add(alice, me, 1);
    add(alice, me, 2);
    std::deque<PelkoMessage> out(1);
    out[0].dbID = 70;
    EXPECT_TRUE(db().getHistoryMessages(alice, 2, 5, out));
    EXPECT_THAT(rowIds(out), ElementsAre(1, 70));
}

TEST_F(ConversationsTest, HistoryOfAnUnknownAnchorIsEmptySuccess) {
    add(alice, me, 1);
    EXPECT_THAT(history(alice, 9007199254740993), IsEmpty());
    EXPECT_THAT(statements().front(), HasSubstr("b.db_id = 9007199254740993 AND"));
    expectNothingLogged();
}

TEST_F(ConversationsTest, HistoryWithoutAnchorOrCountIsFalseWithoutAQuery) {
    execute("INSERT INTO tbl_msg (db_id) VALUES (0), (-1)");
    std::deque<PelkoMessage> out;
    EXPECT_FALSE(db().getHistoryMessages(alice, 0, 5, out));
    EXPECT_FALSE(db().getHistoryMessages(alice, -1, 5, out));
    EXPECT_FALSE(db().getHistoryMessages(alice, 1, 0, out));
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_F(ConversationsTest, RowsReadBeforeAFailureStayInTheHistory) {
    for (uint date = 1; date <= 4; ++date) {
        add(alice, someRoom, date);
    }
    breakMessageDated2();
    std::deque<PelkoMessage> out;
    EXPECT_FALSE(db().getHistoryMessages(someRoom, 4, 5, out));
    EXPECT_THAT(rowIds(out), ElementsAre(3));
    expectFailureLogged("getHistoryMessages", HasSubstr("integer overflow"));
}

// ---- reading a conversation

TEST_F(ConversationsTest, ClearMarksTheConversationReadInBothDirections) {
    addUnread(alice, me);
    addUnread(me, alice);
    addUnread(bob, me);
    addUnread(alice, someRoom);
    add(alice, me, 1, 0, PelkoMessageStatusSending);
    EXPECT_TRUE(db().clearUnreadStatus(alice));
    EXPECT_THAT(statements(), ElementsAre(std::string("UPDATE tbl_msg SET status = 2 WHERE ") + withAlice +
                                          " AND status = 1"));
    EXPECT_EQ(rows("SELECT status FROM tbl_msg ORDER BY db_id"),
              (std::vector<Row>{{"2"}, {"2"}, {"1"}, {"1"}, {"3"}}));
    expectNothingLogged();
}

TEST_F(ConversationsTest, ClearOfNothingUnreadIsSuccess) {
    add(alice, me, 1);
    EXPECT_TRUE(db().clearUnreadStatus(alice));
    EXPECT_TRUE(db().clearUnreadStatus(bob));
    expectNothingLogged();
}

// ---- counting

TEST_F(ConversationsTest, UnreadCountOfATarget) {
    addUnread(alice, me);
    addUnread(alice, me);
    add(alice, me, 1);
    addUnread(bob, me);
    addUnread(bob, someRoom);
    EXPECT_EQ(db().getUnreadCountOfTarget(alice), 2U);
    EXPECT_THAT(statements(), ElementsAre(std::string("SELECT COUNT(*) AS count FROM tbl_msg WHERE ") +
                                          withAlice + " AND status = 1"));
    EXPECT_EQ(db().getUnreadCountOfTarget(someRoom), 1U);
    EXPECT_EQ(db().getUnreadCountOfTarget(someGroup), 0U);
    expectNothingLogged();
}

TEST_F(ConversationsTest, UnreadCountOfTypesGoesByTheReceiversKind) {
    addUnread(alice, someRoom);
    addUnread(alice, PelkoRoom(6U));
    addUnread(bob, someGroup);
    addUnread(alice, me);
    addUnread(alice, bob);  // addressed to any user
    addUnread(me, someService);
    add(alice, someRoom, 1);
    Types roomsAndGroups = {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup};
    EXPECT_EQ(db().getUnreadCountOfTypes(roomsAndGroups), 3U);
    Types usersAndGroups = {PelkoChatTargetTypeUser, PelkoChatTargetTypeGroup};
    EXPECT_EQ(db().getUnreadCountOfTypes(usersAndGroups), 3U);
    Types services = {PelkoChatTargetTypeCustomerService};
    EXPECT_EQ(db().getUnreadCountOfTypes(services), 1U);
    const std::string head = "SELECT COUNT(*) AS count FROM tbl_msg WHERE receiver_type IN ";
    EXPECT_THAT(statements(), ElementsAre(head + "(1, 2) AND status = 1", head + "(0, 2) AND status = 1",
                                          head + "(3) AND status = 1"));
    expectNothingLogged();
}

TEST_F(ConversationsTest, UnreadCountOfTypesTakesTheListAsItStands) {
    addUnread(alice, someRoom);
    Types odd = {PelkoChatTargetTypeRoom, static_cast<PelkoChatTargetType>(-1), PelkoChatTargetTypeRoom};
    EXPECT_EQ(db().getUnreadCountOfTypes(odd), 1U);
    EXPECT_THAT(statements().front(), HasSubstr("receiver_type IN (1, -1, 1) AND"));
}

TEST_F(ConversationsTest, UnreadCountOfNoTypesIsNone) {
    addUnread(alice, me);
    Types none;
    EXPECT_EQ(db().getUnreadCountOfTypes(none), 0U);
}

TEST_F(ConversationsTest, TotalUnreadCountIsOfEveryConversation) {
    EXPECT_EQ(db().getTotalUnreadCount(), 0U);
    addUnread(alice, me);
    addUnread(bob, someRoom);
    addUnread(someService, bob);
    add(alice, me, 1);
    EXPECT_EQ(db().getTotalUnreadCount(), 3U);
    EXPECT_THAT(statements(), ElementsAre("SELECT COUNT(*) AS count FROM tbl_msg WHERE status = 1"));
    expectNothingLogged();
}

// ---- not ready, and SQL failure

class ConversationOperations : public OperationTest {};

TEST_P(ConversationOperations, AreNotReadyWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(ConversationOperations, AreNotReadyWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(ConversationOperations, FailWithoutTheTable) {
    expectFailureWithout("tbl_msg");
}

std::deque<PelkoMessage> heldPage() {
    return std::deque<PelkoMessage>(2);
}

template <const PelkoChatTarget& target>
std::vector<Operation> operationsOn() {
    return {{"getLatestMessages", "getLatestMessages",
             [](PelkoDBManager& db) {
                 std::deque<PelkoMessage> out = heldPage();
                 EXPECT_FALSE(db.getLatestMessages(target, 1, out));
                 EXPECT_EQ(out, heldPage());
             }},
            {"getHistoryMessages", "getHistoryMessages",
             [](PelkoDBManager& db) {
                 std::deque<PelkoMessage> out = heldPage();
                 EXPECT_FALSE(db.getHistoryMessages(target, 1, 1, out));
                 EXPECT_EQ(out, heldPage());
             }},
            {"clearUnreadStatus", "clearUnreadStatus",
             [](PelkoDBManager& db) { EXPECT_FALSE(db.clearUnreadStatus(target)); }},
            {"getUnreadCountOfTarget", "queryCount",
             [](PelkoDBManager& db) { EXPECT_EQ(db.getUnreadCountOfTarget(target), 0U); }}};
}

INSTANTIATE_TEST_SUITE_P(OfATarget, ConversationOperations, testing::ValuesIn(operationsOn<alice>()), nameOf);

INSTANTIATE_TEST_SUITE_P(OfAll, ConversationOperations,
                         testing::Values(Operation{"getUnreadCountOfTypes", "queryCount",
                                                   [](PelkoDBManager& db) {
                                                       Types users = {PelkoChatTargetTypeUser};
                                                       EXPECT_EQ(db.getUnreadCountOfTypes(users), 0U);
                                                   }},
                                         Operation{"getTotalUnreadCount", "queryCount",
                                                   [](PelkoDBManager& db) {
                                                       EXPECT_EQ(db.getTotalUnreadCount(), 0U);
                                                   }}),
                         nameOf);

/// Readiness is checked before the arguments are looked at.
class ConversationArguments : public OperationTest {};

TEST_P(ConversationArguments, AreLookedAtAfterTheReadinessCheck) {
    expectNotReadyWhenClosed();
}

INSTANTIATE_TEST_SUITE_P(All, ConversationArguments,
                         testing::Values(Operation{"getLatestMessages", "",
                                                   [](PelkoDBManager& db) {
                                                       std::deque<PelkoMessage> out;
                                                       EXPECT_FALSE(db.getLatestMessages(alice, 0, out));
                                                   }},
                                         Operation{"getHistoryMessages", "",
                                                   [](PelkoDBManager& db) {
                                                       std::deque<PelkoMessage> out;
                                                       EXPECT_FALSE(db.getHistoryMessages(alice, 0, 0, out));
                                                   }},
                                         Operation{"getUnreadCountOfTypes", "",
                                                   [](PelkoDBManager& db) {
                                                       Types none;
                                                       EXPECT_EQ(db.getUnreadCountOfTypes(none), 0U);
                                                   }}),
                         nameOf);

/// A target of an unknown kind has no condition, and SQLite refuses the statement around it.
class UnknownKindOfTarget : public OperationTest {};

TEST_P(UnknownKindOfTarget, IsASyntaxErrorThatChangesNothing) {
    execute("INSERT INTO tbl_msg (receiver_type, receiver_id, status) VALUES (9, '', 1)");
    GetParam().expectNeutral(db());
    expectFailureLogged(GetParam().failureName, HasSubstr("syntax error"));
    EXPECT_EQ(value("SELECT status FROM tbl_msg"), "1");
}

INSTANTIATE_TEST_SUITE_P(All, UnknownKindOfTarget, testing::ValuesIn(operationsOn<unknownKind>()), nameOf);

}  // namespace
