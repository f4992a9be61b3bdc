#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class UsersCommand : public ToolTest {
protected:
    std::vector<std::string> listed() const {
        std::vector<std::string> names;
        for (const json& user : runWell({"users", "--json"}).json()) {
            names.push_back(user["name"]);
        }
        return names;
    }

    const Arguments addWhole = {"users",
                                "add",
                                "ann",
                                "--nickname",
                                "it's Ann",
                                "--gender",
                                "female",
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
};

TEST_F(UsersCommand, AddStoresEveryField) {
    EXPECT_EQ(runWell(addWhole).out, "Stored the profile of ann.\n");
    EXPECT_EQ(
        rows("SELECT * FROM tbl_user"),
        (Rows{{"ann", "it's Ann", "https://example.org/i", "/a.png", "/b.png", "isn't it?", "1", "3"}}));
}

TEST_F(UsersCommand, AddKeepsWhatIsNotGiven) {
    runWell(addWhole);
    runWell({"users", "add", "ann", "--info", "", "--gender", "male"});
    EXPECT_EQ(rows("SELECT * FROM tbl_user"),
              (Rows{{"ann", "it's Ann", "https://example.org/i", "/a.png", "/b.png", "", "0", "3"}}));
    runWell({"users", "add", "ann", "--nickname", "A"});
    EXPECT_EQ(rows("SELECT nickname, gender FROM tbl_user"), (Rows{{"A", "0"}}));
    runWell({"users", "add", "bob"});
    EXPECT_EQ(rows("SELECT gender, info_version FROM tbl_user WHERE username = 'bob'"), (Rows{{"2", "1"}}));
}

TEST_F(UsersCommand, ShowsAProfile) {
    runWell(addWhole);
    runWell({"friends", "add", "ann"});
    EXPECT_EQ(runWell({"users", "show", "ann"}).out,
              "user            ann\n"
              "nickname        it's Ann\n"
              "gender          female\n"
              "friend          yes\n"
              "blocked         no\n"
              "info            isn't it?\n"
              "icon url        https://example.org/i\n"
              "icon path       /a.png\n"
              "icon path ex    /b.png\n"
              "info version    3\n");
    EXPECT_EQ(runWell({"users", "show", "ann", "--json"}).json(), json::parse(R"({
        "name": "ann", "nickname": "it's Ann", "gender": "female", "info": "isn't it?", "friend": true,
        "blocked": false, "icon": {"url": "https://example.org/i", "path": "/a.png", "path_ex": "/b.png"},
        "info_version": 3})"));
}

TEST_F(UsersCommand, ListsTheProfilesOfEverybodyWhoIsKnown) {
    for (const char* const name :
         {"me", "a-friend", "a-blocked", "a-peer", "an-earlier-sender", "a-sender", "a-stranger"}) {
        runWell({"users", "add", name});
    }
    runWell({"friends", "add", "a-friend"});
    runWell({"friends", "add", "without-profile"});
    runWell({"blocked", "add", "a-blocked"});
    runWell({"receive", "room:5", "x", "--from", "an-earlier-sender"});
    runWell({"receive", "room:5", "x", "--from", "a-sender"});
    runWell({"receive", "room:5", "x", "--from", "o'brien"});
    runWell({"receive", "service:9", "x"});
    runWell({"send", "user:a-peer", "x"});
    EXPECT_THAT(listed(),
                ElementsAre("a-blocked", "a-friend", "a-peer", "a-sender", "an-earlier-sender", "me"));
    EXPECT_THAT(runWell({"users", "--help"}).out,
                AllOf(HasSubstr("cannot list its profiles"), HasSubstr("friends"), HasSubstr("senders")));
    EXPECT_THAT(runWell({"users"}).out, HasSubstr("\na-friend                     friend\n"));
    EXPECT_EQ(runWell({"users", "show", "a-stranger", "--json"}).json()["name"], "a-stranger");
}

TEST_F(UsersCommand, ListsNobodyWhenNoProfileIsStored) {
    runWell({"friends", "add", "ann"});
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_EQ(runWell({"users"}).out, "No profiles of known users are stored.\n");
}

TEST_F(UsersCommand, ListsTheAuthorsOfAReplay) {
    const fs::path logs = makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:21] * bob waves"});
    runWell({"replay", logs.string()});
    EXPECT_THAT(listed(), ElementsAre("ann", "bob"));
}

TEST_F(UsersCommand, RemoveLeavesRelationsAndMessages) {
    runWell(addWhole);
    runWell({"friends", "add", "ann"});
    runWell({"receive", "user:ann", "hi"});
    EXPECT_EQ(runWell({"users", "remove", "ann"}).out,
              "Removed the profile of ann. Relations and messages stay.\n");
    EXPECT_EQ(rows("SELECT username FROM tbl_user"), Rows{});
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg, tbl_relationship"), "1");
    execute("INSERT INTO tbl_user (username) VALUES ('o''brien')");
    EXPECT_EQ(runWell({"users", "remove", "o'brien", "--json"}).json(), (json{{"removed", "o'brien"}}));
    EXPECT_EQ(rows("SELECT username FROM tbl_user"), Rows{});
}

TEST_F(UsersCommand, RefusesAProfileThatIsNotStored) {
    runWell({"friends", "add", "ann"});
    for (const char* const command : {"show", "remove"}) {
        expectRefused(run({"users", command, "ann"}), 1, HasSubstr("no profile of 'ann' is stored"));
    }
}

TEST_F(UsersCommand, RefusesWhatTheStoreCannotHold) {
    for (const char* const command : {"show", "add"}) {
        expectRefused(run({"users", command, "o'brien"}), 2,
                      AllOf(HasSubstr("'o'brien'"), HasSubstr("single quote")));
    }
    expectRefused(run({"users", "add", ""}), 2, HasSubstr("'' is no user"));
    expectRefused(run({"users", "add", "ann", "--icon-url", "a'b"}), 2,
                  AllOf(HasSubstr("--icon-url"), HasSubstr("single quote")));
    expectRefused(run({"users", "add", "ann", "--gender", "x"}), 2, HasSubstr("--gender 'x'"));
    expectRefused(run({"users", "add", "ann", "--info-version", "x"}), 2, HasSubstr("--info-version 'x'"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

}  // namespace
