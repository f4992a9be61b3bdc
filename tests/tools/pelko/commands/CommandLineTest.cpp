#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

class CommandLine : public ToolTest {};

const std::vector<std::string> commands = {
    "replay",        "send",    "receive", "delete",  "sessions", "show",   "unread", "read",
    "pin",           "unpin",   "clear",   "friends", "blocked",  "users",  "rooms",  "groups",
    "notifications", "setting", "mute",    "unmute",  "mark",     "search", "export", "import",
    "inspect",       "check",   "backup",  "salvage", "compact"};
const std::vector<std::string> commandsOnTheTool = {"manual", "completion"};

TEST_F(CommandLine, HelpNamesEveryCommandAndThePlaceOfTheData) {
    const ToolRun help = runWell({"--help"});
    for (const std::string& command : commands) {
        EXPECT_THAT(help.out, HasSubstr("\n  " + command + ' '));
    }
    for (const std::string& command : commandsOnTheTool) {
        EXPECT_THAT(help.out, HasSubstr("\n  " + command + ' '));
    }
    EXPECT_THAT(help.out, AllOf(HasSubstr("--data-dir"), HasSubstr("--user"), HasSubstr("db.dat"),
                                HasSubstr("user:alice, room:5001, group:77, service:9")));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(CommandLine, EveryCommandHasItsOwnHelp) {
    for (const std::string& command : commands) {
        const ToolRun help = runWell({command, "--help"});
        EXPECT_THAT(help.out, HasSubstr("Usage: pelko " + command));
        EXPECT_THAT(help.out, HasSubstr("--json"));
        EXPECT_THAT(help.out, Not(HasSubstr("What is where"))) << "the footer of the whole";
    }
}

TEST_F(CommandLine, HelpIsAMapOfTheStore) {
    const std::string help = runWell({"--help"}).out;
    std::size_t place = 0;
    for (const char* const heading :
         {"\nMessages:\n", "\nConversations:\n", "\nContacts:\n", "\nRooms and groups:\n",
          "\nNotifications:\n", "\nSync marks and settings:\n", "\nIn and out:\n", "\nThe file itself:\n",
          "\nThe tool:\n", "\nWhat is where:\n"}) {
        const std::size_t found = help.find(heading, place);
        ASSERT_NE(found, std::string::npos) << heading << "behind the one before";
        place = found;
    }
}

TEST_F(CommandLine, EveryCommandBelowAnotherHasItsOwnHelp) {
    const std::vector<Arguments> below = {
        {"rooms", "show", "add", "remove"},   {"groups", "show", "add", "remove", "join", "quit"},
        {"friends", "show", "add", "remove"}, {"blocked", "show", "add", "remove"},
        {"users", "show", "add", "remove"},   {"notifications", "show", "add", "remove", "read", "unread"}};
    for (const Arguments& family : below) {
        const std::string familyHelp = runWell({family[0], "--help"}).out;
        for (std::size_t i = 1; i < family.size(); ++i) {
            EXPECT_THAT(familyHelp, HasSubstr("\n  " + family[i] + ' '));
            const std::string help = runWell({family[0], family[i], "--help"}).out;
            EXPECT_THAT(help, AllOf(HasSubstr("Usage: pelko " + family[0] + ' ' + family[i] + ' '),
                                    HasSubstr("--json")));
        }
    }
}

TEST_F(CommandLine, TellsItsVersion) {
    EXPECT_THAT(runWell({"--version"}).out, MatchesRegex("pelko [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(CommandLine, TakesTheGlobalOptionsBeforeAndBehindTheCommand) {
    const std::string data = dataDir().string();
    EXPECT_EQ(runExactly({"--user", "ann", "send", "user:bob", "one", "--data-dir", data}).exitCode, 0);
    EXPECT_EQ(runExactly({"--data-dir", data, "send", "user:bob", "two", "--user", "ann"}).exitCode, 0);
    EXPECT_EQ(rowsOf(database("ann"), "SELECT text FROM tbl_msg"), (Rows{{"one"}, {"two"}}));
}

TEST_F(CommandLine, KeepsAccountsApart) {
    runWell({"send", "user:bob", "from me"});
    runWell({"--user", "../../x", "send", "user:bob", "from x"});
    EXPECT_EQ(rows("SELECT text, sender_id FROM tbl_msg"), (Rows{{"from me", "me"}}));
    EXPECT_EQ(rowsOf(database("%2E.%2F..%2Fx"), "SELECT text, sender_id FROM tbl_msg"),
              (Rows{{"from x", "../../x"}}));
}

TEST_F(CommandLine, KeepsItsDataInTheXdgDataDirectoryByDefault) {
    setenv("XDG_DATA_HOME", folder().c_str(), 1);
    const ToolRun run = runExactly({"send", "user:bob", "hi"});
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(rowsOf(folder() / "pelko/users/me/db.dat", "SELECT text FROM tbl_msg"), (Rows{{"hi"}}));
}

TEST_F(CommandLine, MakesTheDatabaseReadableByItsOwnerAlone) {
    runWell({"send", "user:bob", "hi"});
    EXPECT_EQ(fs::status(database()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(CommandLine, RefusesWhatItDoesNotKnow) {
    expectRefused(run({}), 2, HasSubstr("no command"));
    expectRefused(run({""}), 2, HasSubstr("'' is no command"));
    expectRefused(run({"frob"}), 2, HasSubstr("'frob' is no command"));
    expectRefused(run({"sessions", "--frob"}), 2, HasSubstr("'--frob'"));
    expectRefused(run({"sessions", "more"}), 2, HasSubstr("'more'"));
    expectRefused(run({"show"}), 2, HasSubstr("TARGET"));
    expectRefused(run({"send", "user:bob"}), 2, HasSubstr("TEXT"));
    expectRefused(run({"replay"}), 2, HasSubstr("PATH"));
    expectRefused(run({"show", "room:5", "-n"}), 2, HasSubstr("-n"));
    for (const char* const family : {"rooms", "groups", "friends", "blocked", "users", "notifications"}) {
        expectRefused(run({family, "frob"}), 2, HasSubstr("'frob'"));
        expectRefused(run({family, "show"}), 2, HasSubstr(" is required"));
        expectRefused(run({family, "add"}), 2, HasSubstr(" is required"));
        expectRefused(run({family, "remove"}), 2, HasSubstr(" is required"));
    }
}

TEST_F(CommandLine, ShowsNoControlByteOfTheInputRaw) {
    expectRefused(run({"\x1b[2J"}), 2, HasSubstr("'\\x1B[2J'"));
    expectRefused(run({"show", "\xff\n"}), 2, HasSubstr("'\\xFF\\x0A'"));
}

TEST_F(CommandLine, TellsWhenTheOutputCannotBeWritten) {
    runWell({"send", "user:bob", "hi"});
    const ToolRun run = runExactly({"--data-dir", dataDir().string(), "show", "user:bob"}, "/dev/full");
    expectRefused(run, 1, HasSubstr("cannot write all of the output"));
}

}  // namespace
