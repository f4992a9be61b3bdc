#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class GroupsCommand : public ToolTest {
protected:
    Rows joined() const { return rows("SELECT group_id FROM tbl_group_list ORDER BY rowid"); }
    Rows details() const {
        return rows(
            "SELECT group_id, name, icon_url, icon_path, icon_path_ex, info, capacity, type, owner, "
            "info_version, need_auth FROM tbl_group ORDER BY group_id");
    }

    const Arguments addWhole = {"groups",
                                "add",
                                "9223372036854775807",
                                "--name",
                                "it's us",
                                "--owner",
                                "ann",
                                "--capacity",
                                "200",
                                "--private",
                                "--auth",
                                "--info",
                                "isn't it?",
                                "--icon-url",
                                "https://example.org/i",
                                "--icon-path",
                                "/a.png",
                                "--icon-path-ex",
                                "/b.png",
                                "--info-version",
                                "3"};
    const Rows whole = {{"9223372036854775807", "it's us", "https://example.org/i", "/a.png", "/b.png",
                         "isn't it?", "200", "1", "ann", "3", "1"}};
};

TEST_F(GroupsCommand, AddJoinsAndStoresEveryField) {
    EXPECT_EQ(runWell(addWhole).out, "Stored group:9223372036854775807, which is joined.\n");
    EXPECT_EQ(details(), whole);
    EXPECT_EQ(joined(), (Rows{{"9223372036854775807"}}));
    runWell(addWhole);
    EXPECT_EQ(details(), whole);
    EXPECT_EQ(joined(), (Rows{{"9223372036854775807"}}));
}

TEST_F(GroupsCommand, AddKeepsWhatIsNotGiven) {
    runWell(addWhole);
    runWell({"groups", "add", "group:9223372036854775807", "--public", "--owner", ""});
    EXPECT_EQ(rows("SELECT name, type, owner, need_auth, info_version FROM tbl_group"),
              (Rows{{"it's us", "0", "", "1", "3"}}));
    runWell({"groups", "add", "9223372036854775807", "--no-auth"});
    EXPECT_EQ(rows("SELECT type, need_auth FROM tbl_group"), (Rows{{"0", "0"}}));
}

TEST_F(GroupsCommand, ListsTheJoinedInTheirOrder) {
    runWell({"groups", "join", "77"});
    runWell({"groups", "add", "5", "--name", "climbers", "--private", "--auth", "--owner", "bob"});
    EXPECT_EQ(runWell({"groups"}).out,
              "GROUP     NAME      TYPE     OWNER  CAPACITY  AUTHENTICATION\n"
              "group:77            public                 0\n"
              "group:5   climbers  private  bob           0  needed\n");
}

TEST_F(GroupsCommand, ListsAsJson) {
    runWell(addWhole);
    const json list = runWell({"groups", "--json"}).json();
    EXPECT_EQ(list, json::parse(R"([{
        "target": "group:9223372036854775807", "joined": true, "name": "it's us", "info": "isn't it?",
        "type": "private", "owner": "ann", "needs_authentication": true, "capacity": 200,
        "icon": {"url": "https://example.org/i", "path": "/a.png", "path_ex": "/b.png"},
        "info_version": 3}])"));
    EXPECT_EQ(runWell({"groups", "show", "9223372036854775807", "--json"}).json(), list[0]);
}

TEST_F(GroupsCommand, JoinAndQuitLeaveTheDetailsAlone) {
    runWell(addWhole);
    EXPECT_EQ(runWell({"groups", "quit", "9223372036854775807"}).out,
              "Quit group:9223372036854775807. Its details and its messages stay.\n");
    EXPECT_EQ(joined(), Rows{});
    EXPECT_EQ(details(), whole);
    EXPECT_EQ(runWell({"groups"}).out, "No groups are joined yet.\n");
    EXPECT_EQ(runWell({"groups", "--json"}).json(), json::array());
    EXPECT_EQ(runWell({"groups", "join", "9223372036854775807"}).out, "Joined group:9223372036854775807.\n");
    EXPECT_EQ(runWell({"groups", "join", "9223372036854775807"}).out,
              "group:9223372036854775807 was joined before.\n");
    EXPECT_EQ(joined(), (Rows{{"9223372036854775807"}}));
    EXPECT_EQ(details(), whole);
    EXPECT_EQ(runWell({"groups", "join", "5", "--json"}).json(),
              (json{{"joined", "group:5"}, {"new", true}}));
    EXPECT_EQ(runWell({"groups", "quit", "5", "--json"}).json(), (json{{"quit", "group:5"}}));
}

TEST_F(GroupsCommand, ShowsAGroup) {
    runWell(addWhole);
    runWell({"groups", "quit", "9223372036854775807"});
    EXPECT_EQ(runWell({"groups", "show", "9223372036854775807"}).out,
              "group           group:9223372036854775807\n"
              "joined          no\n"
              "name            it's us\n"
              "type            private\n"
              "owner           ann\n"
              "authentication  needed\n"
              "capacity        200\n"
              "info            isn't it?\n"
              "icon url        https://example.org/i\n"
              "icon path       /a.png\n"
              "icon path ex    /b.png\n"
              "info version    3\n");
    runWell({"groups", "join", "5"});
    EXPECT_THAT(runWell({"groups", "show", "5"}).out,
                AllOf(HasSubstr("joined          yes\n"), HasSubstr("info version    0 (not complete)\n")));
}

TEST_F(GroupsCommand, RemoveTakesMembershipAndDetailsAndLeavesMessages) {
    runWell(addWhole);
    runWell({"receive", "group:5", "hi", "--from", "ann"});
    runWell({"groups", "join", "5"});
    EXPECT_EQ(runWell({"groups", "remove", "9223372036854775807"}).out,
              "Removed group:9223372036854775807 and its details. Its messages stay.\n");
    EXPECT_EQ(details(), Rows{});
    EXPECT_EQ(joined(), (Rows{{"5"}}));
    EXPECT_EQ(runWell({"groups", "remove", "5", "--json"}).json(), (json{{"removed", "group:5"}}));
    EXPECT_EQ(joined(), Rows{});
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg, tbl_session"), "1");
}

TEST_F(GroupsCommand, RefusesAGroupThatIsNotThere) {
    runWell({"groups", "join", "5"});
    for (const char* const command : {"show", "remove", "quit"}) {
        expectRefused(run({"groups", command, "6"}), 1,
                      AllOf(HasSubstr("group:6 is not joined"), HasSubstr("pelko groups")));
    }
}

TEST_F(GroupsCommand, RefusesWhatTheStoreCannotHold) {
    for (const char* const option : {"--owner", "--icon-url", "--icon-path", "--icon-path-ex"}) {
        expectRefused(run({"groups", "add", "5", option, "a', 'b"}), 2,
                      AllOf(HasSubstr(option), HasSubstr("single quote")));
    }
    expectRefused(run({"groups", "add", "5", "--capacity", "-1"}), 2, HasSubstr("--capacity"));
    for (const char* const command : {"show", "add", "remove", "join", "quit"}) {
        expectRefused(run({"groups", command, "9223372036854775808"}), 2, HasSubstr("9223372036854775808"));
    }
    EXPECT_FALSE(fs::exists(dataDir()));
}

}  // namespace
