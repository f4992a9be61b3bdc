#include "tools/pelko/file/Peers.h"

#include <deque>

#include "PelkoMessage.h"
#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

using namespace pelkotest;
using pelkotool::conversationCondition;
using pelkotool::Database;
using pelkotool::isKnownKind;
using pelkotool::ownerOf;
using pelkotool::parsePeer;
using pelkotool::Peer;
using pelkotool::peerText;
using pelkotool::Statement;

namespace {

class PeersTest : public ToolTest {
protected:
    /// A store with messages of every kind of conversation, and of names that come in several of them.
    void fill() const {
        runWell({"send", "user:bob", "1"});
        runWell({"receive", "user:bob", "2"});
        runWell({"send", "user:me", "to myself"});
        runWell({"send", "user:5", "a user named as a room"});
        runWell({"receive", "room:5", "3", "--from", "bob"});
        runWell({"send", "room:5", "4"});
        runWell({"receive", "group:5", "5", "--from", "me"});
        runWell({"send", "group:77", "6"});
        runWell({"receive", "service:5", "7"});
        runWell({"send", "service:9", "8"});
        runWell({"receive", "service:9", "9"});
    }

    pelkotool::Account account() const {
        pelkotool::GlobalOptions options;
        options.dataDir = dataDir().string();
        options.dataDirGiven = true;
        return accountOf(options);
    }

    /// One message between two parties, as no client would store it.
    void insert(const std::string& senderType, const std::string& sender, const std::string& receiverType,
                const std::string& receiver) const {
        execute(
            "INSERT INTO tbl_msg (date, type, status, sender_type, sender_id, receiver_type, receiver_id) "
            "VALUES (1, "
            "0, 2, " +
            senderType + ", '" + sender + "', " + receiverType + ", '" + receiver + "')");
    }

    std::string owner() const { return ownerOf(Database::openToRead(database())); }
};

TEST_F(PeersTest, BelongWhereTheStoreSeesThem) {
    fill();
    pelkotool::Store store(account(), pelkotool::Store::IfMissing::refuse);
    const Database file = Database::openToRead(database());
    Statement rows = file.prepare(std::string("SELECT db_id, ") + pelkotool::peerTypeSql + ", " +
                                  pelkotool::peerIdSql + " FROM tbl_msg");
    rows.bind(1, std::string_view("me"));
    int compared = 0;
    for (; rows.step(); ++compared) {
        const pelkoapi::PelkoMessage message =
            store.run("read", [&](pelkoapi::PelkoDBManager& db) { return db.getMessage(rows.integer(0)); });
        EXPECT_EQ(peerText({rows.integer(1), rows.text(2)}), pelkotool::targetText(message.getTarget()));
    }
    EXPECT_EQ(compared, 11);
}

TEST_F(PeersTest, AreSelectedAsTheStoreSelectsThem) {
    fill();
    insert("0", "bob", "0", "ann");  // between others
    insert("3", "9", "3", "9");
    pelkotool::Store store(account(), pelkotool::Store::IfMissing::refuse);
    const Database file = Database::openToRead(database());
    for (const char* const target :
         {"user:bob", "user:me", "user:5", "user:ann", "user:nobody", "room:5", "room:77", "group:5",
          "group:77", "service:5", "service:9", "service:77"}) {
        const Peer peer = parsePeer(target);
        Statement rows = file.prepare("SELECT db_id FROM tbl_msg WHERE " + conversationCondition(peer) +
                                      " ORDER BY date, msg_id, db_id");
        rows.bind(1, std::string_view("me"));
        // A room's or group's condition has no place for the account's name.
        rows.bind(2, peer.id);
        std::vector<long long> found;
        while (rows.step()) {
            found.push_back(rows.integer(0));
        }
        std::vector<long long> expected;
        for (const pelkoapi::PelkoMessage& message : store.run("read", [&](pelkoapi::PelkoDBManager& db) {
                 std::deque<pelkoapi::PelkoMessage> page;
                 db.getLatestMessages(pelkotool::parseTarget(target), 1000, page);
                 return page;
             })) {
            expected.push_back(message.dbID);
        }
        EXPECT_EQ(found, expected) << target;
    }
}

TEST_F(PeersTest, ReadLikeTargetsOfTheCommandLine) {
    for (const char* const target :
         {"user:bob", "user:5", "user:o'brien", "user: ", "room:5", "room:4294967295", "group:0",
          "group:9223372036854775807", "service:9"}) {
        EXPECT_EQ(peerText(parsePeer(target)), target);
    }
    EXPECT_EQ(parsePeer("room:005"), (Peer{1, "5"}));
    EXPECT_EQ(peerText({9, "x"}), "kind-9:x");
    EXPECT_EQ(peerText({-2, ""}), "kind--2:");
    EXPECT_EQ(peerText({pelkotool::betweenOthers, ""}), "between-others");
    for (const char* const text :
         {"", "bob", "user:", "room:x", "room:4294967296", "kind-9:x", "between-others"}) {
        EXPECT_THROW(parsePeer(text), pelkotool::UsageError) << text;
    }
}

TEST_F(PeersTest, AreOfFourKinds) {
    for (const long long kind : {0, 1, 2, 3}) {
        EXPECT_TRUE(isKnownKind(kind)) << kind;
    }
    for (const long long kind : {-1LL, 4LL, 9LL, 4294967296LL}) {
        EXPECT_FALSE(isKnownKind(kind)) << kind;
    }
}

TEST_F(PeersTest, CompareByKindAndId) {
    EXPECT_TRUE((Peer{0, "b"} < Peer{1, "a"}));
    EXPECT_TRUE((Peer{1, "a"} < Peer{1, "b"}));
    EXPECT_FALSE((Peer{1, "a"} < Peer{1, "a"}));
    EXPECT_FALSE((Peer{0, "5"} == Peer{1, "5"}));
}

TEST_F(PeersTest, TellNoOwnerWithoutAMessageOfHis) {
    runWell({"rooms", "add", "5"});
    EXPECT_EQ(owner(), "");
    runWell({"receive", "room:5", "1", "--from", "ann"});
    runWell({"receive", "group:7", "1", "--from", "ann"});
    EXPECT_EQ(owner(), "");
}

TEST_F(PeersTest, TellTheOwnerOfASingleConversation) {
    runWell({"receive", "user:ann", "1"});
    EXPECT_EQ(owner(), "me");
    runWell({"read", "user:ann"});
    EXPECT_EQ(owner(), "me");
    runWell({"--user", "zoe", "send", "user:ann", "1"});
    EXPECT_EQ(ownerOf(Database::openToRead(database("zoe"))), "zoe");
}

TEST_F(PeersTest, TellTheOwnerByServicesAndRooms) {
    runWell({"receive", "service:9", "1"});
    EXPECT_EQ(owner(), "me");
    runWell({"--user", "zoe", "receive", "room:5", "1", "--from", "ann"});
    runWell({"--user", "zoe", "receive", "room:5", "2", "--from", "ann"});
    runWell({"--user", "zoe", "send", "room:5", "3"});
    EXPECT_EQ(ownerOf(Database::openToRead(database("zoe"))), "zoe");
}

TEST_F(PeersTest, TellTheOwnerByTheNumberOfMessagesWhereNoStatusDoes) {
    runWell({"send", "user:bob", "1"});
    runWell({"receive", "user:ann", "2"});
    execute("UPDATE tbl_msg SET status = 0");
    EXPECT_EQ(owner(), "me");
}

TEST_F(PeersTest, TellTheOwnerWhoWritesToHimself) {
    runWell({"send", "user:me", "note"});
    EXPECT_EQ(owner(), "me");
}

}  // namespace
