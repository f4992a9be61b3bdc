#include "tools/pelko/file/Conversations.h"

#include <algorithm>
#include <deque>

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Target.h"

using namespace pelkotest;
using pelkotool::Conversation;
using pelkotool::conversationsIn;
using pelkotool::Database;
using pelkotool::DateRange;
using pelkotool::peerText;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ConversationsTest : public ToolTest {
protected:
    std::vector<Conversation> conversations(const DateRange& range = {}) const {
        return conversationsIn(Database::openToRead(database()), "me", range);
    }

    Conversation conversation(const std::string& target) const {
        for (const Conversation& found : conversations()) {
            if (peerText(found.peer) == target) {
                return found;
            }
        }
        ADD_FAILURE() << "there is no " << target;
        return {};
    }

    std::vector<std::string> targets() const {
        std::vector<std::string> all;
        for (const Conversation& found : conversations()) {
            all.push_back(peerText(found.peer));
        }
        return all;
    }
};

TEST_F(ConversationsTest, AnEmptyStoreHasNone) {
    runWell({"rooms", "add", "5"});
    EXPECT_THAT(conversations(), IsEmpty());
}

TEST_F(ConversationsTest, AFileWithoutATableCannotBeRead) {
    runWell({"send", "user:bob", "1"});
    for (const char* const table : {"tbl_msg", "tbl_session", "tbl_room"}) {
        execute(std::string("ALTER TABLE ") + table + " RENAME TO moved");
        EXPECT_THROW(conversations(), pelkotool::SqliteError) << table;
        execute(std::string("ALTER TABLE moved RENAME TO ") + table);
    }
    EXPECT_THAT(targets(), ElementsAre("user:bob"));
}

TEST_F(ConversationsTest, CountMessagesAndUnreadOnes) {
    runWell({"receive", "user:bob", "1"});
    runWell({"receive", "user:bob", "2"});
    runWell({"send", "user:bob", "3"});
    execute("UPDATE tbl_msg SET date = 100 * db_id");
    const Conversation bob = conversation("user:bob");
    EXPECT_EQ(bob.messages, 3);
    EXPECT_EQ(bob.unread, 2);
    EXPECT_EQ(bob.first, 100U);
    EXPECT_EQ(bob.last, 300U);
    EXPECT_EQ(bob.newestRow, 3);
    EXPECT_THAT(bob.rows, ElementsAre(1, 2, 3));
    EXPECT_TRUE(bob.hasSession);
    EXPECT_FALSE(bob.pinned);
}

TEST_F(ConversationsTest, AreMadeByMessagesAndBySessions) {
    runWell({"receive", "user:bob", "1"});
    runWell({"receive", "room:5", "2", "--from", "ann"});
    execute("DELETE FROM tbl_session WHERE target_id = 'bob'; DELETE FROM tbl_msg WHERE receiver_id = '5'");
    EXPECT_FALSE(conversation("user:bob").hasSession);
    const Conversation room = conversation("room:5");
    EXPECT_TRUE(room.hasSession);
    EXPECT_EQ(room.messages, 0);
    EXPECT_EQ(room.first, std::nullopt);
    EXPECT_EQ(room.last, std::nullopt);
    EXPECT_EQ(room.newestRow, 0);
    EXPECT_THAT(room.rows, IsEmpty());
}

TEST_F(ConversationsTest, AreNamedAsTheyAreStored) {
    runWell({"users", "add", "bob", "--nickname", "Bobby"});
    runWell({"rooms", "add", "5", "--name", "Garden"});
    runWell({"groups", "add", "77", "--name", "Choir"});
    for (const char* const target : {"user:bob", "user:ann", "room:5", "room:6", "group:77", "service:5"}) {
        runWell({"send", target, "x"});
    }
    EXPECT_EQ(conversation("user:bob").name, "Bobby");
    EXPECT_EQ(conversation("user:ann").name, "");
    EXPECT_EQ(conversation("room:5").name, "Garden");
    EXPECT_EQ(conversation("room:6").name, "");
    EXPECT_EQ(conversation("group:77").name, "Choir");
    EXPECT_EQ(conversation("service:5").name, "");
}

TEST_F(ConversationsTest, ComePinnedFirstThenByTheLastMessage) {
    for (const char* const target : {"user:a", "user:b", "user:c", "user:d"}) {
        runWell({"send", target, "x"});
    }
    execute("UPDATE tbl_msg SET date = db_id");
    EXPECT_THAT(targets(), ElementsAre("user:d", "user:c", "user:b", "user:a"));
    execute("UPDATE tbl_session SET is_top = 1, priority = 1 WHERE target_id = 'a'");
    execute("UPDATE tbl_session SET is_top = 7, priority = 2 WHERE target_id = 'b'");
    execute("UPDATE tbl_session SET priority = 9 WHERE target_id = 'c'");
    EXPECT_THAT(targets(), ElementsAre("user:b", "user:a", "user:d", "user:c"));
}

TEST_F(ConversationsTest, TheirRowsAreThoseOfTheRange) {
    for (const char* const text : {"1", "2", "3"}) {
        runWell({"receive", "user:bob", text});
    }
    execute("UPDATE tbl_msg SET date = 100 * db_id");
    DateRange range;
    range.since = 200;
    range.before = 300;
    const Conversation bob = conversations(range).front();
    EXPECT_THAT(bob.rows, ElementsAre(2));
    EXPECT_EQ(bob.messages, 3) << "all else counts all messages";
    EXPECT_EQ(bob.unread, 3);
    EXPECT_EQ(bob.first, 100U);
    EXPECT_EQ(bob.newestRow, 3);
}

TEST_F(ConversationsTest, TheirRowsComeAsTheStoreOrdersThem) {
    for (int i = 1; i <= 6; ++i) {
        runWell({"receive", "room:5", std::to_string(i), "--from", "ann", "--id", std::to_string(100 - i)});
    }
    // Same dates, same ids, and a date beyond 2^31, which is kept negative.
    execute(
        "UPDATE tbl_msg SET date = 50 WHERE db_id IN (1, 2, 4); UPDATE tbl_msg SET date = 10 WHERE db_id = 3;"
        "UPDATE tbl_msg SET date = -5 WHERE db_id = 5; UPDATE tbl_msg SET msg_id = 1 WHERE db_id IN (1, 2)");
    std::vector<long long> expected;
    {
        pelkotool::GlobalOptions options;
        options.dataDir = dataDir().string();
        options.dataDirGiven = true;
        pelkotool::Store store(accountOf(options), pelkotool::Store::IfMissing::refuse);
        for (const pelkoapi::PelkoMessage& message : store.run("read", [&](pelkoapi::PelkoDBManager& db) {
                 std::deque<pelkoapi::PelkoMessage> page;
                 db.getLatestMessages(pelkotool::parseTarget("room:5"), 100, page);
                 return page;
             })) {
            expected.push_back(message.dbID);
        }
    }
    const Conversation room = conversation("room:5");
    EXPECT_EQ(room.rows, expected);
    EXPECT_THAT(room.rows, ElementsAre(5, 3, 1, 2, 4, 6));
    EXPECT_EQ(room.newestRow, 6);
    EXPECT_EQ(room.last, 4294967291U) << "but dates are told as they were meant";
}

TEST_F(ConversationsTest, KeepKindsThatTheStoreDoesNotKnow) {
    runWell({"send", "user:bob", "1"});
    execute(
        "INSERT INTO tbl_msg (date, sender_type, sender_id, receiver_type, receiver_id) VALUES (1, 9, 'x', "
        "0, 'me'), (1, 9, 'x', 9, 'y'), (1, 0, 'bob', 0, 'ann');"
        "INSERT INTO tbl_msg (text) VALUES ('all else is missing');"
        "INSERT INTO tbl_session (target_type, target_id) VALUES (7, 'z')");
    std::vector<std::string> all = targets();
    std::sort(all.begin(), all.end());
    EXPECT_EQ(conversation("between-others").messages, 3) << "the one without parties among them";
    EXPECT_EQ(conversation("user:bob").messages, 1);
    EXPECT_THAT(all, ElementsAre("between-others", "kind-7:z", "kind-9:x", "user:bob"));
}

}  // namespace
