#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class NotificationsCommand : public ToolTest {
protected:
    void addSome() const {
        runWell({"notifications", "add", "invite", "--group", "77", "--group-name", "it's us", "--from",
                 "ann", "--text", "come!"});
        runWell({"notifications", "add", "request", "--group", "group:77", "--from", "o'brien"});
        runWell({"notifications", "add", "reply", "--group", "77", "--from", "zoe", "--agree", "--system",
                 "--read"});
        execute("UPDATE tbl_notify SET date = 1527628800");
    }

    std::string readStates() const {
        std::string states;
        for (const auto& row : rows("SELECT is_read FROM tbl_notify ORDER BY db_id")) {
            states += row[0];
        }
        return states;
    }
};

TEST_F(NotificationsCommand, AddStoresEveryField) {
    addSome();
    EXPECT_EQ(
        rows("SELECT * FROM tbl_notify ORDER BY db_id"),
        (Rows{{"1", "1527628800", "0", "0", "0", "ann", "0", "0", "me", "2", "77", "it's us", "0", "0", "0",
               "come!"},
              {"2", "1527628800", "0", "0", "0", "o'brien", "0", "0", "me", "2", "77", "", "0", "0", "1", ""},
              {"3", "1527628800", "1", "0", "0", "zoe", "0", "0", "me", "2", "77", "", "1", "1", "2", ""}}));
}

TEST_F(NotificationsCommand, AddTellsTheRow) {
    EXPECT_EQ(runWell({"notifications", "add", "invite", "--group", "77", "--from", "ann"}).out,
              "Stored notification 1.\n");
    const json stored =
        runWell({"notifications", "add", "reply", "--group", "7", "--from", "ann", "--refuse", "--json"})
            .json();
    EXPECT_EQ(stored["db_id"], 2);
    EXPECT_EQ(stored["agree"], false);
}

TEST_F(NotificationsCommand, ListsTheNewestFirstWithTheUnreadCount) {
    addSome();
    EXPECT_EQ(runWell({"notifications"}).out,
              "DBID  TIME              STATE   TYPE        FROM          GROUP               TEXT\n"
              "   3  2018-05-29 21:20  read    reply: yes  user:zoe      group:77\n"
              "   2  2018-05-29 21:20  unread  request     user:o'brien  group:77\n"
              "   1  2018-05-29 21:20  unread  invite      user:ann      group:77 (it's us)  come!\n"
              "2 unread\n");
}

TEST_F(NotificationsCommand, ListsAsJson) {
    addSome();
    const json list = runWell({"notifications", "--json"}).json();
    EXPECT_EQ(list["unread"], 2);
    ASSERT_EQ(list["notifications"].size(), 3U);
    EXPECT_EQ(list["notifications"][0]["system"], true);
    EXPECT_EQ(list["notifications"][0]["agree"], true);
    EXPECT_EQ(list["notifications"][2], json::parse(R"({
        "db_id": 1, "date": "2018-05-29T21:20:00Z", "read": false, "type": "invite",
        "sender": {"target": "user:ann", "name": "ann"}, "receiver": {"target": "user:me", "name": "me"},
        "group": {"target": "group:77", "name": "it's us"}, "agree": false, "system": false,
        "text": "come!"})"));
    EXPECT_EQ(runWell({"notifications", "show", "1", "--json"}).json(), list["notifications"][2]);
}

TEST_F(NotificationsCommand, ShowsANotification) {
    addSome();
    EXPECT_EQ(runWell({"notifications", "show", "1"}).out,
              "row             1\n"
              "time            2018-05-29 21:20\n"
              "state           unread\n"
              "type            invite\n"
              "from            user:ann\n"
              "to              user:me\n"
              "group           group:77 (it's us)\n"
              "system          no\n"
              "text            come!\n");
}

TEST_F(NotificationsCommand, MarksReadAndUnread) {
    addSome();
    EXPECT_EQ(runWell({"notifications", "read", "1"}).out, "1 notification marked read.\n");
    EXPECT_EQ(readStates(), "101");
    EXPECT_EQ(runWell({"notifications", "unread", "3", "1", "1"}).out, "2 notifications marked unread.\n");
    EXPECT_EQ(readStates(), "000");
    EXPECT_EQ(runWell({"notifications", "read", "2", "--json"}).json(), (json{{"marked_read", 1}}));
    EXPECT_EQ(runWell({"notifications", "unread", "2", "--json"}).json(), (json{{"marked_unread", 1}}));
}

TEST_F(NotificationsCommand, MarksAllRead) {
    addSome();
    EXPECT_EQ(runWell({"notifications", "read", "--all"}).out, "2 notifications marked read.\n");
    EXPECT_EQ(readStates(), "111");
    EXPECT_EQ(runWell({"notifications", "--json"}).json()["unread"], 0);
    EXPECT_EQ(runWell({"notifications", "read", "--all", "--json"}).json(), (json{{"marked_read", 0}}));
}

TEST_F(NotificationsCommand, RemovesRows) {
    addSome();
    EXPECT_EQ(runWell({"notifications", "remove", "3", "1"}).out, "2 notifications removed.\n");
    EXPECT_EQ(rows("SELECT db_id FROM tbl_notify"), (Rows{{"2"}}));
    EXPECT_EQ(runWell({"notifications", "remove", "2", "--json"}).json(), (json{{"removed", {2}}}));
    EXPECT_EQ(runWell({"notifications"}).out, "There are no notifications yet.\n");
    EXPECT_EQ(runWell({"notifications", "--json"}).json(),
              (json{{"unread", 0}, {"notifications", json::array()}}));
}

TEST_F(NotificationsCommand, ChangesNothingWhenARowIsNotThere) {
    addSome();
    expectRefused(run({"notifications", "show", "9"}), 1,
                  AllOf(HasSubstr("row 9"), HasSubstr("pelko notifications")));
    for (const char* const command : {"remove", "read", "unread"}) {
        expectRefused(run({"notifications", command, "1", "3", "9"}), 1, HasSubstr("row 9"));
    }
    EXPECT_EQ(readStates(), "001");
}

TEST_F(NotificationsCommand, RefusesRowsOfMoreThan32Bits) {
    for (const char* const command : {"show", "remove", "read", "unread"}) {
        for (const char* const row : {"2147483648", "4294967297", "0", "x"}) {
            expectRefused(run({"notifications", command, row}), 2,
                          AllOf(HasSubstr('\'' + std::string(row) + '\''), HasSubstr("2147483647")));
        }
    }
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(NotificationsCommand, RefusesANotificationThatCannotBeMeant) {
    const auto add = [&](const Arguments& arguments) {
        Arguments all = {"notifications", "add"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run(all);
    };
    expectRefused(add({"letter", "--group", "7", "--from", "ann"}), 2, HasSubstr("'letter'"));
    expectRefused(add({"reply", "--group", "7", "--from", "ann"}), 2, HasSubstr("--agree or --refuse"));
    expectRefused(add({"invite", "--group", "7", "--from", "ann", "--agree"}), 2, HasSubstr("--agree"));
    expectRefused(add({"invite", "--group", "room:7", "--from", "ann"}), 2, HasSubstr("room:7"));
    expectRefused(add({"invite", "--group", "7", "--from", ""}), 2, HasSubstr("--from ''"));
    expectRefused(add({"invite", "--from", "ann"}), 2, HasSubstr("--group"));
    expectRefused(add({"invite", "--group", "7", "--from", "ann", "--text", "it's"}), 2,
                  AllOf(HasSubstr("--text 'it's'"), HasSubstr("single quote")));
    expectRefused(run({"notifications", "read"}), 2, HasSubstr("--all"));
    expectRefused(run({"notifications", "read", "1", "--all"}), 2, HasSubstr("--all"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

}  // namespace
