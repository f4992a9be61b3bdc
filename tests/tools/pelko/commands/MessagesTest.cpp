#include <ctime>

#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class SendCommand : public ToolTest {};
class ReceiveCommand : public ToolTest {};

constexpr char columns[] =
    "SELECT msg_id, type, text, receiver_type, receiver_id, sender_type, sender_id, status FROM tbl_msg";

TEST_F(SendCommand, StoresASentMessageAndItsSession) {
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(runWell({"send", "user:bob", "it's 100% \"fine\""}).out, "Sent message 1 of user:bob.\n");
    EXPECT_EQ(rows(columns), (Rows{{"0", "0", "it's 100% \"fine\"", "0", "bob", "0", "me", "4"}}));
    const long long date = std::stoll(value("SELECT date FROM tbl_msg"));
    EXPECT_GE(date, before);
    EXPECT_LE(date, std::time(nullptr));
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), (Rows{{"0", "bob", "1", "0", "0"}}));
}

TEST_F(SendCommand, ReachesEveryKindOfTarget) {
    for (const char* const target : {"user:o'brien", "room:5", "group:9223372036854775807", "service:9"}) {
        runWell({"send", target, "hi"});
        EXPECT_THAT(runWell({"show", target}).out, HasSubstr("sent    me    hi")) << target;
    }
    EXPECT_EQ(rows("SELECT target_type, target_id FROM tbl_session ORDER BY target_type"),
              (Rows{{"0", "o'brien"}, {"1", "5"}, {"2", "9223372036854775807"}, {"3", "9"}}));
}

TEST_F(SendCommand, KeepsTheSessionsLastMessageAndItsPin) {
    runWell({"send", "user:bob", "one"});
    execute("UPDATE tbl_session SET is_top = 1, priority = 3");
    runWell({"send", "user:bob", "two"});
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), (Rows{{"0", "bob", "2", "1", "3"}}));
}

TEST_F(SendCommand, DoesNotMakeAnOlderMessageTheLast) {
    runWell({"send", "user:bob", "from the future"});
    execute("UPDATE tbl_msg SET date = 2147483647");
    runWell({"send", "user:bob", "now"});
    EXPECT_EQ(value("SELECT last_msg_id FROM tbl_session"), "1");
}

TEST_F(SendCommand, TakesAnyText) {
    for (const char* const text : {"", "read", "sessions", "[a,b]", "a\nb", "caf\xe9"}) {
        runWell({"send", "user:bob", text});
        EXPECT_EQ(value("SELECT text FROM tbl_msg ORDER BY db_id DESC"), text);
    }
    for (const char* const text : {"-n", "--json", "--", "--help", "-"}) {
        runWell({"send", "user:bob", "--", text});
        EXPECT_EQ(value("SELECT text FROM tbl_msg ORDER BY db_id DESC"), text);
    }
}

TEST_F(SendCommand, PrintsTheStoredMessageAsJson) {
    const auto message = runWell({"send", "room:5", "hi", "--json"}).json();
    EXPECT_EQ(message["db_id"], 1);
    EXPECT_EQ(message["status"], "sent");
    EXPECT_EQ(message["sender"], "user:me");
    EXPECT_EQ(message["receiver"], "room:5");
    EXPECT_EQ(message["text"], "hi");
}

TEST_F(ReceiveCommand, StoresAnUnreadMessageOfAUser) {
    EXPECT_EQ(runWell({"receive", "user:bob", "hello"}).out, "Received message 1 of user:bob.\n");
    EXPECT_EQ(rows(columns), (Rows{{"0", "0", "hello", "0", "me", "0", "bob", "1"}}));
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), (Rows{{"0", "bob", "1", "0", "0"}}));
}

TEST_F(ReceiveCommand, StoresAnUnreadMessageOfAService) {
    runWell({"receive", "service:9", "hello"});
    EXPECT_EQ(rows(columns), (Rows{{"0", "0", "hello", "0", "me", "3", "9", "1"}}));
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), (Rows{{"3", "9", "1", "0", "0"}}));
}

TEST_F(ReceiveCommand, StoresAnUnreadMessageInARoomAndAGroup) {
    runWell({"receive", "room:5", "hello", "--from", "o'brien"});
    runWell({"receive", "group:77", "hello", "--from", "ann", "--id", "12"});
    EXPECT_EQ(rows(columns), (Rows{{"0", "0", "hello", "1", "5", "0", "o'brien", "1"},
                                   {"12", "0", "hello", "2", "77", "0", "ann", "1"}}));
}

TEST_F(ReceiveCommand, NeedsASenderInARoomAndAGroupOnly) {
    for (const char* const target : {"room:5", "group:77"}) {
        expectRefused(run({"receive", target, "hello"}), 2,
                      AllOf(HasSubstr(target), HasSubstr("--from NAME")));
        expectRefused(run({"receive", target, "hello", "--from", ""}), 2, HasSubstr("--from NAME"));
    }
    for (const char* const target : {"user:bob", "service:9"}) {
        expectRefused(run({"receive", target, "hello", "--from", "ann"}), 2,
                      AllOf(HasSubstr(target), HasSubstr("--from 'ann'")));
    }
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(ReceiveCommand, DoesNotStoreAKnownMessageAgain) {
    runWell({"receive", "user:bob", "hello", "--id", "12"});
    expectRefused(run({"receive", "user:bob", "again", "--id", "12"}), 1, HasSubstr("--id 12"));
    EXPECT_EQ(rows("SELECT text FROM tbl_msg"), (Rows{{"hello"}}));
}

TEST_F(ReceiveCommand, TellsWhenNothingWasStored) {
    runWell({"receive", "user:bob", "hello"});
    refuseText("hello", "IGNORE");
    expectRefused(run({"receive", "user:ann", "hello"}), 1, HasSubstr("the store changed no row"));
    expectRefused(run({"send", "user:ann", "hello"}), 1, HasSubstr("the store changed no row"));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_session"), "1");
}

TEST_F(ReceiveCommand, RefusesIdsOutOfRange) {
    for (const char* const id : {"0", "-1", "x", "9223372036854775808", ""}) {
        expectRefused(run({"receive", "user:bob", "hello", "--id", id}), 2,
                      AllOf(HasSubstr("--id"), HasSubstr("'" + std::string(id) + "'")));
    }
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(ReceiveCommand, PrintsTheStoredMessageAsJson) {
    const auto message = runWell({"receive", "room:5", "hi", "--from", "ann", "--id", "7", "--json"}).json();
    EXPECT_EQ(message["msg_id"], 7);
    EXPECT_EQ(message["status"], "unread");
    EXPECT_EQ(message["sender"], "user:ann");
}

}  // namespace
