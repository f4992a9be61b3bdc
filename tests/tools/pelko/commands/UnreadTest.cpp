#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::HasSubstr;

namespace {

class UnreadCommand : public ToolTest {
protected:
    void receiveSome() const {
        runWell({"receive", "user:bob", "1"});
        runWell({"receive", "user:bob", "2"});
        runWell({"receive", "room:5", "3", "--from", "ann"});
        runWell({"receive", "group:77", "4", "--from", "ann"});
        runWell({"receive", "service:9", "5"});
        runWell({"send", "user:bob", "6"});
    }
};

TEST_F(UnreadCommand, CountsInAllByKindAndByConversation) {
    receiveSome();
    EXPECT_EQ(runWell({"unread"}).out,
              "UNREAD  WHERE\n"
              "     5  in all\n"
              "     3  received by users (from users and services)\n"
              "     1  received by rooms\n"
              "     1  received by groups\n"
              "\n"
              "UNREAD  CONVERSATION\n"
              "     2  user:bob\n"
              "     1  room:5\n"
              "     1  group:77\n"
              "     1  service:9\n");
}

TEST_F(UnreadCommand, PrintsJson) {
    receiveSome();
    EXPECT_EQ(runWell({"unread", "--json"}).json(), json::parse(R"({
        "total": 5, "by_receiver": {"user": 3, "room": 1, "group": 1, "service": 0},
        "sessions": [{"target": "user:bob", "unread": 2}, {"target": "room:5", "unread": 1},
                     {"target": "group:77", "unread": 1}, {"target": "service:9", "unread": 1}],
        "without_session": 0})"));
}

TEST_F(UnreadCommand, TellsWhatNoSessionShows) {
    receiveSome();
    execute("DELETE FROM tbl_session WHERE target_id = 'bob'");
    EXPECT_THAT(runWell({"unread"}).out, HasSubstr("     2  (without a session)\n"));
    EXPECT_EQ(runWell({"unread", "--json"}).json()["without_session"], 2);
}

TEST_F(UnreadCommand, CountsNothingAfterReading) {
    runWell({"receive", "user:bob", "1"});
    EXPECT_EQ(runWell({"read", "user:bob"}).out, "user:bob: 1 message marked read.\n");
    EXPECT_EQ(runWell({"unread"}).out, "UNREAD  WHERE\n     0  in all\n");
    EXPECT_EQ(runWell({"read", "user:bob"}).out, "user:bob had no unread messages.\n");
}

TEST_F(UnreadCommand, ReadMarksOneConversationAlone) {
    receiveSome();
    EXPECT_EQ(runWell({"read", "user:bob", "--json"}).json(),
              json::parse(R"({"target": "user:bob", "marked_read": 2})"));
    EXPECT_EQ(rows("SELECT text, status FROM tbl_msg ORDER BY text"),
              (Rows{{"1", "2"}, {"2", "2"}, {"3", "1"}, {"4", "1"}, {"5", "1"}, {"6", "4"}}));
}

}  // namespace
