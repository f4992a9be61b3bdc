#include <algorithm>
#include <functional>

#include "classes/platform/LoginContext.h"
#include "tests/support/StoreTest.h"

// The plans that SQLite makes of the store's own statements, as it is shipped and without statistics tables.
// The statements are not written down here: each operation is run, and what it ran is planned.

namespace pelkotest {

namespace {

using namespace pelkoapi;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char countOfMade[] =
    "SELECT count(*) FROM sqlite_master WHERE type = 'index' AND name GLOB 'idx_msg_with_*'";

constexpr char namesOfMade[] =
    "SELECT name FROM sqlite_master WHERE name GLOB 'idx_msg_with_*' ORDER BY name";

class IndexesTest : public StoreTest {
protected:
    const PelkoUser alice{"alice"};
    const PelkoRoom room{5U};
    const PelkoGroup group{6};
    const PelkoCustomerService service{7U};

    /// The plan of every statement that has run since forget(), a line for each of its steps.
    std::vector<std::string> plans() const {
        std::vector<std::string> lines;
        for (const std::string& statement : statements()) {
            for (const Row& step : rows("EXPLAIN QUERY PLAN " + statement)) {
                lines.push_back(step.at(3).value());
            }
        }
        return lines;
    }
    std::vector<std::string> plansOf(const std::function<void()>& operation) {
        forget();
        operation();
        EXPECT_THAT(statements(), Not(IsEmpty()));
        return plans();
    }
    std::vector<std::string> pagePlan(const PelkoChatTarget& target) {
        return plansOf([&] {
            std::deque<PelkoMessage> page;
            EXPECT_TRUE(db().getLatestMessages(target, 20, page));
        });
    }
    std::vector<std::string> historyPlan(const PelkoChatTarget& target) {
        return plansOf([&] {
            std::deque<PelkoMessage> page;
            EXPECT_TRUE(db().getHistoryMessages(target, 1, 20, page));
        });
    }
    /// Messages between the logged-in user and a peer, in turns, dated 1 to count.
    void converse(const std::string& peer, int count) {
        execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                std::to_string(count) +
                ") INSERT INTO tbl_msg (msg_id, type, date, text, receiver_type, receiver_id, sender_type,"
                " sender_id, status) SELECT i, 0, i, 'text', 0, iif(i % 2, 'me', '" +
                peer + "'), 0, iif(i % 2, '" + peer + "', 'me'), 2 FROM n");
    }
};

const auto noScan = Each(Not(HasSubstr("SCAN")));
const auto noSort = Each(Not(HasSubstr("TEMP B-TREE")));

// ---- the indexes themselves

TEST_F(IndexesTest, SetUpMakesTheSevenIndexes) {
    EXPECT_EQ(rows("SELECT name FROM sqlite_master WHERE type = 'index' AND name LIKE 'idx%' ORDER BY name"),
              (std::vector<Row>{{"idx_msg_msg_id"},
                                {"idx_msg_pair"},
                                {"idx_msg_room"},
                                {"idx_msg_sending"},
                                {"idx_msg_transfer"},
                                {"idx_msg_unread"},
                                {"idx_relationship_name"}}));
    EXPECT_THAT(rows("SELECT name FROM sqlite_master WHERE name LIKE 'sqlite_stat%'"), IsEmpty());
}

TEST_F(IndexesTest, AFileWithoutThemGetsThem) {
    converse("alice", 3);
    close();
    execute("DROP INDEX idx_msg_room; DROP INDEX idx_msg_pair");
    EXPECT_TRUE(db().setUp());
    EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE name IN ('idx_msg_room', 'idx_msg_pair')"),
              "2");
    EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
    expectNothingLogged();
}

TEST_F(IndexesTest, TheFirstThatCannotBeMadeIsLoggedAndEndsTheStep) {
    close();
    execute("DROP INDEX idx_msg_pair; DROP INDEX idx_relationship_name; CREATE TABLE idx_msg_pair (n)");
    forget();
    EXPECT_TRUE(db().setUp());
    expectFailureLogged("createIndexesIfNotExist", HasSubstr("idx_msg_pair"));
    EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE name = 'idx_relationship_name'"), "0");
    EXPECT_THAT(pagePlan(room), Each(HasSubstr("idx_msg_room")));
}

// ---- one message

TEST_F(IndexesTest, MessagesAreFoundByTheirIds) {
    EXPECT_THAT(plansOf([&] { db().getReceivedMessage(9); }), Each(HasSubstr("idx_msg_msg_id (msg_id=?)")));
    EXPECT_THAT(plansOf([&] { db().ifMsgIDExist(9); }), Each(HasSubstr("idx_msg_msg_id (msg_id=?)")));
    const auto byRowId = Each(HasSubstr("USING INTEGER PRIMARY KEY (rowid=?)"));
    EXPECT_THAT(plansOf([&] { db().getMessage(9); }), byRowId);
    EXPECT_THAT(plansOf([&] { db().updateMessage(PelkoMessage()); }), byRowId);
    EXPECT_THAT(plansOf([&] { db().updateMessageStatus(9, PelkoMessageStatusRead); }), byRowId);
    EXPECT_THAT(plansOf([&] { db().updateMessageMediaStatus(9, PelkoMediaStatusDownloaded); }), byRowId);
    std::vector<s64> ids = {1, 2};
    EXPECT_THAT(plansOf([&] { db().deleteMessages(ids); }), byRowId);
}

TEST_F(IndexesTest, AnIncomingMessageIsCheckedByItsServiceId) {
    PelkoMessage message = PelkoMessage::createTextMessage(alice, "hello");
    message.id = 9;
    forget();
    ASSERT_TRUE(db().insertMessage(&message));
    EXPECT_THAT(plans(), Contains(HasSubstr("idx_msg_msg_id (msg_id=?)")));
    EXPECT_THAT(plansOf([&] { db().updateSessionLastMsg(alice, 1); }),
                Each(HasSubstr("SEARCH tbl_session USING INDEX")));
}

// ---- pages

TEST_F(IndexesTest, PagesOfRoomsAndGroupsAreReadInOrder) {
    for (const PelkoChatTarget& target : {PelkoChatTarget(room), PelkoChatTarget(group)}) {
        EXPECT_THAT(pagePlan(target),
                    testing::ElementsAre(HasSubstr("idx_msg_room (receiver_id=? AND receiver_type=?)")));
        EXPECT_THAT(
            historyPlan(target),
            testing::ElementsAre(HasSubstr("USING INTEGER PRIMARY KEY (rowid=?)"),
                                 HasSubstr("idx_msg_room (receiver_id=? AND receiver_type=? AND date<?)")));
    }
}

TEST_F(IndexesTest, PagesOfUsersAndServicesReadTheirConversationAlone) {
    for (const PelkoChatTarget& target : {PelkoChatTarget(alice), PelkoChatTarget(service)}) {
        for (const std::vector<std::string>& plan : {pagePlan(target), historyPlan(target)}) {
            EXPECT_THAT(plan, noScan);
            EXPECT_EQ(std::count_if(plan.begin(), plan.end(),
                                    [](const std::string& step) {
                                        return step.find("idx_msg_pair (receiver_id=? AND sender_id=?)") !=
                                               std::string::npos;
                                    }),
                      2)
                << testing::PrintToString(plan);
        }
    }
}

TEST_F(IndexesTest, ClearingAConversationReadsItAlone) {
    for (const PelkoChatTarget& target :
         {PelkoChatTarget(room), PelkoChatTarget(group), PelkoChatTarget(alice), PelkoChatTarget(service)}) {
        const std::vector<std::string> plan = plansOf([&] { db().clearMessages(target); });
        EXPECT_THAT(plan, noScan);
        EXPECT_THAT(plan, Not(Contains(HasSubstr("idx_msg_unread"))));
    }
}

// ---- unread

TEST_F(IndexesTest, UnreadCountsReadUnreadMessagesOnly) {
    const auto fromTheIndexAlone = Each(HasSubstr("USING COVERING INDEX idx_msg_unread (status=?"));
    for (const PelkoChatTarget& target :
         {PelkoChatTarget(room), PelkoChatTarget(group), PelkoChatTarget(alice), PelkoChatTarget(service)}) {
        EXPECT_THAT(plansOf([&] { db().getUnreadCountOfTarget(target); }), fromTheIndexAlone);
        EXPECT_THAT(plansOf([&] { db().clearUnreadStatus(target); }),
                    Each(HasSubstr("USING INDEX idx_msg_unread (status=?")));
    }
    std::vector<PelkoChatTargetType> types = {PelkoChatTargetTypeUser, PelkoChatTargetTypeGroup};
    EXPECT_THAT(plansOf([&] { db().getUnreadCountOfTypes(types); }), fromTheIndexAlone);
    EXPECT_THAT(plansOf([&] { db().getTotalUnreadCount(); }), fromTheIndexAlone);
}

// ---- the repairs of each opening

TEST_F(IndexesTest, TheRepairsReadOnlyWhatTheyRepair) {
    forget();
    PelkoDBManagerTestAccess::nessesaryUpdate(db());
    EXPECT_THAT(plans(), testing::ElementsAre(HasSubstr("SCAN tbl_msg USING INDEX idx_msg_transfer"),
                                              HasSubstr("idx_msg_sending (status=?)")));
}

TEST_F(IndexesTest, TheRepairsMeetEachRowOnce) {
    execute(
        "INSERT INTO tbl_msg (db_id, type, media_status, status) VALUES (1, 1, 1, 3), (2, 2, 1, 3), (3, 1, "
        "3, 3),"
        " (4, 2, 3, 2)");
    forget();
    PelkoDBManagerTestAccess::nessesaryUpdate(db());
    EXPECT_THAT(statements(), SizeIs(2 + 4 + 3));
}

// ---- friends and blocked users

TEST_F(IndexesTest, OneNameOfALongListIsFound) {
    std::string name = "alice";
    const auto byName = HasSubstr("idx_relationship_name (username=? AND block_state=?)");
    EXPECT_THAT(plansOf([&] { db().isFriend(name); }), Each(byName));
    EXPECT_THAT(plansOf([&] { db().deleteFriend(name); }), Each(byName));
    EXPECT_THAT(plansOf([&] { db().blockUser(name); }), Contains(byName));
    EXPECT_THAT(plansOf([&] { db().getFriendUsernames(); }), noSort) << "the list stays in order of adding";
}

// ---- a busy conversation

TEST_F(IndexesTest, ABusyConversationIsReadInOrderFromTheNextOpeningOn) {
    converse("alice", 2000);
    std::deque<PelkoMessage> before;
    ASSERT_TRUE(db().getLatestMessages(alice, 20, before));
    reopen();
    expectNothingLogged();
    EXPECT_EQ(value(countOfMade), "1");

    EXPECT_THAT(pagePlan(alice), testing::ElementsAre(HasSubstr("USING INDEX idx_msg_with_")));
    EXPECT_THAT(historyPlan(alice), testing::ElementsAre(HasSubstr("USING INTEGER PRIMARY KEY (rowid=?)"),
                                                         HasSubstr("USING INDEX idx_msg_with_")));
    std::deque<PelkoMessage> after;
    ASSERT_TRUE(db().getLatestMessages(alice, 20, after));
    EXPECT_TRUE(before == after);
}

TEST_F(IndexesTest, OtherStatementsKeepTheirPlansBesideIt) {
    converse("alice", 2000);
    reopen();
    ASSERT_EQ(value(countOfMade), "1");
    const auto notThatIndex = Not(Contains(HasSubstr("idx_msg_with_")));
    for (const PelkoChatTarget& target :
         {PelkoChatTarget("bob"), PelkoChatTarget(room), PelkoChatTarget(group), PelkoChatTarget(service)}) {
        EXPECT_THAT(pagePlan(target), AllOf(notThatIndex, noScan));
        EXPECT_THAT(historyPlan(target), AllOf(notThatIndex, noScan));
        EXPECT_THAT(plansOf([&] { db().clearMessages(target); }), AllOf(notThatIndex, noScan));
    }
    for (const PelkoChatTarget& target :
         {PelkoChatTarget("alice"), PelkoChatTarget("bob"), PelkoChatTarget(room)}) {
        EXPECT_THAT(plansOf([&] { db().getUnreadCountOfTarget(target); }),
                    Each(HasSubstr("USING COVERING INDEX idx_msg_unread")));
        EXPECT_THAT(plansOf([&] { db().clearUnreadStatus(target); }), Each(HasSubstr("idx_msg_unread")));
    }
}

TEST_F(IndexesTest, AQuietConversationGetsNoIndex) {
    converse("alice", 1999);
    reopen();
    EXPECT_EQ(value(countOfMade), "0");
}

TEST_F(IndexesTest, OneIsMadeAtAnOpeningAndFourInAll) {
    for (const char* const peer : {"a", "b", "c", "d", "e"}) {
        converse(peer, 2000);
    }
    // All of them among the newest, whichever was written last.
    for (const char* const peer : {"a", "b", "c", "d", "e"}) {
        converse(peer, 50);
    }
    for (const char* const made : {"1", "2", "3", "4", "4"}) {
        reopen();
        EXPECT_EQ(value(countOfMade), made);
    }
    expectNothingLogged();
}

TEST_F(IndexesTest, AConversationThatFellSilentGivesItsPlace) {
    for (const char* const peer : {"a", "b", "c", "d"}) {
        converse(peer, 2000);
        reopen();
    }
    const std::vector<Row> four = rows(namesOfMade);
    ASSERT_THAT(four, SizeIs(4));
    converse("e", 2000);
    reopen();
    const std::vector<Row> later = rows(namesOfMade);
    EXPECT_THAT(later, SizeIs(4));
    EXPECT_NE(later, four);
    EXPECT_THAT(pagePlan(PelkoUser("e")), testing::ElementsAre(HasSubstr("USING INDEX idx_msg_with_")));
    expectNothingLogged();
}

TEST_F(IndexesTest, ABusyPeerWithAQuoteInTheNameIsServedToo) {
    converse("it''s", 2000);
    reopen();
    expectNothingLogged();
    EXPECT_THAT(pagePlan(PelkoUser("it's")), testing::ElementsAre(HasSubstr("USING INDEX idx_msg_with_")));
}

TEST_F(IndexesTest, ALoginNameWithAQuoteOrNoneMakesNone) {
    converse("alice", 2000);
    for (const char* const name : {"it's me", ""}) {
        LoginContext::getInstance()->setUserName(name);
        reopen();
        EXPECT_EQ(value(countOfMade), "0");
        expectNothingLogged();
    }
}

TEST_F(IndexesTest, TheRowsOfABusyConversationFollowEveryChange) {
    converse("alice", 2000);
    reopen();
    PelkoMessage message = PelkoMessage::createTextMessage(alice, "newest");
    message.date = 3000;
    ASSERT_TRUE(db().insertMessage(&message));
    std::deque<PelkoMessage> page;
    ASSERT_TRUE(db().getLatestMessages(alice, 1, page));
    EXPECT_EQ(page.front().text, "newest");
    message.date = 1;
    ASSERT_TRUE(db().updateMessage(message));
    page.clear();
    ASSERT_TRUE(db().getLatestMessages(alice, 1, page));
    EXPECT_EQ(page.front().date, 2000U);
    EXPECT_TRUE(db().clearMessages(alice));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "0");
    EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
}

}  // namespace

}  // namespace pelkotest
