// The operations on a conversation, for each kind of peer; what they select, and in which order, is in
// ConversationsTest.cpp.

#include <gmock/gmock.h>

#include <deque>
#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using Access = PelkoDBManagerTestAccess;

namespace {

struct Peer {
    const char* name;
    PelkoChatTarget target;
};

void PrintTo(const Peer& peer, std::ostream* out) {
    *out << peer.name;
}

/// A store with one unread message to the peer, with a value of its own in every field, and an older one.
class ConversationKindsTest : public StoreTest, public testing::WithParamInterface<Peer> {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        mMessage = imageMessage();
        mMessage.sender = PelkoUser("me");
        mMessage.receiver = peer();
        ASSERT_TRUE(db().insertMessage(&mMessage));
        PelkoMessage later = mMessage;
        later.id += 1;
        later.date += 1;
        later.status = PelkoMessageStatusRead;
        ASSERT_TRUE(db().insertMessage(&later));
        mAnchor = later.dbID;
        forget();
    }

    static const PelkoChatTarget& peer() { return GetParam().target; }
    std::string condition() { return Access::conditionSqlWithTarget(db(), peer()); }
    void expectWhole(const PelkoMessage& message) const {
        EXPECT_EQ(message, mMessage);  // date and ids
        EXPECT_EQ(message.sender, mMessage.sender);
        EXPECT_EQ(message.receiver, mMessage.receiver);
        EXPECT_EQ(message.type, mMessage.type);
        EXPECT_EQ(message.status, mMessage.status);
        EXPECT_EQ(message.text, mMessage.text);
        EXPECT_EQ(message.extraText, mMessage.extraText);
        EXPECT_EQ(message.media.type, mMessage.media.type);
        EXPECT_EQ(message.media.status, mMessage.media.status);
        EXPECT_EQ(message.media.url, mMessage.media.url);
        EXPECT_EQ(message.media.path, mMessage.media.path);
        EXPECT_EQ(message.media.pathEx, mMessage.media.pathEx);
        EXPECT_EQ(message.media.duration, mMessage.media.duration);
    }
    s64 anchor() const { return mAnchor; }

private:
    PelkoMessage mMessage;
    s64 mAnchor = 0;
};

TEST_P(ConversationKindsTest, HistoryHoldsWholeMessages) {
    std::deque<PelkoMessage> page;
    EXPECT_TRUE(db().getHistoryMessages(peer(), anchor(), 2, page));
    EXPECT_THAT(statements(),
                ElementsAre("SELECT * FROM (SELECT a.* FROM tbl_msg as a, tbl_msg as b WHERE b.db_id = 2 AND "
                            "a.date <= b.date AND a.db_id != b.db_id) WHERE " +
                            condition() + " ORDER BY date desc, msg_id desc, db_id desc LIMIT 2"));
    ASSERT_EQ(page.size(), 1U);
    expectWhole(page.front());
}

TEST_P(ConversationKindsTest, UnreadMessagesAreCountedUntilTheConversationIsRead) {
    EXPECT_EQ(db().getUnreadCountOfTarget(peer()), 1U);
    EXPECT_TRUE(db().clearUnreadStatus(peer()));
    EXPECT_EQ(db().getUnreadCountOfTarget(peer()), 0U);
    const std::string count =
        "SELECT COUNT(*) AS count FROM tbl_msg WHERE " + condition() + " AND status = 1";
    EXPECT_THAT(
        statements(),
        ElementsAre(count, "UPDATE tbl_msg SET status = 2 WHERE " + condition() + " AND status = 1", count));
    EXPECT_EQ(rows("SELECT status FROM tbl_msg"), (std::vector<Row>{{"2"}, {"2"}}));
}

INSTANTIATE_TEST_SUITE_P(All, ConversationKindsTest,
                         testing::Values(Peer{"User", PelkoUser("alice")}, Peer{"Room", PelkoRoom(5U)},
                                         Peer{"Group", PelkoGroup(5LL)},
                                         Peer{"CustomerService", PelkoCustomerService(9U)}),
                         [](const testing::TestParamInfo<Peer>& peer) { return peer.param.name; });

}  // namespace
