#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

struct Expectations {
    const char* command;
    const char* state;
    const char* number;
    const char* nobody;
};

class ContactsCommand : public ToolTest, public testing::WithParamInterface<Expectations> {
protected:
    const std::string command = GetParam().command;
    const std::string state = GetParam().state;

    Rows stored() const {
        return rows("SELECT username FROM tbl_relationship WHERE block_state = " +
                    std::string(GetParam().number) + " ORDER BY rowid");
    }
};

TEST_P(ContactsCommand, AddPutsAUserOnTheListOnce) {
    EXPECT_EQ(runWell({command, "add", "zoe"}).out, "zoe is now " + state + ".\n");
    EXPECT_EQ(runWell({command, "add", "ann", "--json"}).json(), (json{{"added", "ann"}, {"new", true}}));
    EXPECT_EQ(runWell({command, "add", "zoe"}).out, "zoe is already " + state + ".\n");
    EXPECT_EQ(stored(), (Rows{{"zoe"}, {"ann"}}));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_relationship"), "2");
}

TEST_P(ContactsCommand, ListsInTheOrderOfAddingWithProfiles) {
    runWell({command, "add", "zoe"});
    runWell({command, "add", "ann"});
    runWell({"users", "add", "ann", "--nickname", "Anna", "--info", "it's me"});
    const bool isFriends = command == "friends";
    EXPECT_EQ(runWell({command}).out, isFriends ? "NAME  NICKNAME  FRIEND  BLOCKED  INFO\n"
                                                  "zoe             friend\n"
                                                  "ann   Anna      friend           it's me\n"
                                                : "NAME  NICKNAME  FRIEND  BLOCKED  INFO\n"
                                                  "zoe                     blocked\n"
                                                  "ann   Anna              blocked  it's me\n");
    const json list = runWell({command, "--json"}).json();
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1], (json{{"name", "ann"},
                             {"nickname", "Anna"},
                             {"gender", "unset"},
                             {"info", "it's me"},
                             {"friend", isFriends},
                             {"blocked", !isFriends},
                             {"icon", {{"url", ""}, {"path", ""}, {"path_ex", ""}}},
                             {"info_version", 1}}));
}

TEST_P(ContactsCommand, ShowsAUser) {
    runWell({command, "add", "ann"});
    EXPECT_THAT(runWell({command, "show", "ann"}).out, HasSubstr("user            ann\n"));
    EXPECT_EQ(runWell({command, "show", "ann", "--json"}).json(), runWell({command, "--json"}).json()[0]);
}

TEST_P(ContactsCommand, RemoveLeavesTheOtherListAndTheProfile) {
    runWell({"friends", "add", "ann"});
    runWell({"blocked", "add", "ann"});
    runWell({"users", "add", "ann"});
    EXPECT_EQ(runWell({command, "remove", "ann"}).out, "ann is no longer " + state + ".\n");
    EXPECT_EQ(stored(), Rows{});
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_relationship"), "1");
    EXPECT_EQ(rows("SELECT username FROM tbl_user"), (Rows{{"ann"}}));
    EXPECT_EQ(runWell({command}).out, std::string(GetParam().nobody) + '\n');
    EXPECT_EQ(runWell({command, "--json"}).json(), json::array());
}

TEST_P(ContactsCommand, RefusesAUserWhoIsNotOnTheList) {
    runWell({"users", "add", "ann"});
    for (const char* const below : {"show", "remove"}) {
        expectRefused(run({command, below, "ann"}), 1,
                      AllOf(HasSubstr("'ann' is not " + state), HasSubstr("pelko " + command)));
    }
    expectRefused(run({command, "show", "x' OR '1'='1"}), 1, HasSubstr("is not " + state));
}

TEST_P(ContactsCommand, RefusesToAddANameThatIsNeverFound) {
    expectRefused(run({command, "add", "o'brien"}), 2,
                  AllOf(HasSubstr("'o'brien'"), HasSubstr("single quote")));
    expectRefused(run({command, "add", ""}), 2, HasSubstr("'' is no user"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_P(ContactsCommand, ListsAndRemovesANameWithAQuoteThatAnotherProgramAdded) {
    runWell({command, "add", "ann"});
    execute("INSERT INTO tbl_relationship VALUES ('o''brien', " + std::string(GetParam().number) + ")");
    const json list = runWell({command, "--json"}).json();
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1]["name"], "o'brien");
    EXPECT_EQ(list[1][command == "friends" ? "friend" : "blocked"], true);
    EXPECT_EQ(runWell({command, "show", "o'brien", "--json"}).json(), list[1]);
    EXPECT_THAT(runWell({command, "show", "o'brien"}).out, HasSubstr("user            o'brien\n"));
    EXPECT_EQ(runWell({command, "remove", "o'brien", "--json"}).json(), (json{{"removed", "o'brien"}}));
    EXPECT_EQ(stored(), (Rows{{"ann"}}));
}

INSTANTIATE_TEST_SUITE_P(BothLists, ContactsCommand,
                         testing::Values(Expectations{"friends", "a friend", "0", "Nobody is a friend yet."},
                                         Expectations{"blocked", "blocked", "1", "Nobody is blocked yet."}),
                         [](const auto& both) { return std::string(both.param.command); });

}  // namespace
