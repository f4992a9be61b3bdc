#include <sqlite3.h>

#include "tests/tools/pelko/support/ToolTest.h"

// Every kind of input that cannot work, for the commands that meet it: one line that names it, a failing exit
// code, and nothing lost or made.

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class WrongInput : public ToolTest {
protected:
    using Commands = std::vector<Arguments>;

    // Those that need an account, and those that make it.
    const Commands reading = {{"sessions"},
                              {"show", "room:5"},
                              {"unread"},
                              {"read", "room:5"},
                              {"delete", "1", "--yes"},
                              {"clear", "room:5", "--yes"},
                              {"pin", "room:5"},
                              {"unpin", "room:5"},
                              {"friends"},
                              {"friends", "show", "ann"},
                              {"friends", "remove", "ann"},
                              {"blocked"},
                              {"blocked", "show", "ann"},
                              {"blocked", "remove", "ann"},
                              {"users"},
                              {"users", "show", "ann"},
                              {"users", "remove", "ann"},
                              {"rooms"},
                              {"rooms", "show", "5"},
                              {"rooms", "remove", "5"},
                              {"groups"},
                              {"groups", "show", "7"},
                              {"groups", "remove", "7"},
                              {"groups", "quit", "7"},
                              {"notifications"},
                              {"notifications", "show", "1"},
                              {"notifications", "remove", "1"},
                              {"notifications", "read", "--all"},
                              {"notifications", "unread", "1"},
                              {"setting", "room:5"},
                              {"setting", "room:5", "1"},
                              {"mute", "room:5"},
                              {"unmute", "room:5"},
                              {"mark", "inbox"},
                              {"mark", "inbox", "5"}};
    const Commands writing = {{"send", "user:bob", "hi"},
                              {"receive", "user:bob", "hi"},
                              {"replay", sampleLog().string()},
                              {"friends", "add", "ann"},
                              {"blocked", "add", "ann"},
                              {"users", "add", "ann"},
                              {"rooms", "add", "5"},
                              {"groups", "add", "7"},
                              {"groups", "join", "7"},
                              {"notifications", "add", "invite", "--group", "7", "--from", "ann"}};

    void expectAllRefused(const Commands& commands, int exitCode,
                          const testing::Matcher<std::string>& line) const {
        for (const Arguments& command : commands) {
            SCOPED_TRACE(command.front() + ' ' + (command.size() > 1 ? command[1] : ""));
            expectRefused(run(command), exitCode, line);
        }
    }
};

TEST_F(WrongInput, ReadingAnAccountThatIsNotThere) {
    expectAllRefused(
        reading, 1,
        AllOf(HasSubstr("no account 'me'"), HasSubstr(dataDir().string()), HasSubstr("pelko replay")));
    EXPECT_FALSE(fs::exists(dataDir()));
    runWell({"send", "user:bob", "hi"});
    expectRefused(run({"--user", "ann", "sessions"}), 1, HasSubstr("no account 'ann'"));
    EXPECT_FALSE(fs::exists(database("ann").parent_path()));
}

TEST_F(WrongInput, ATargetOfUnknownForm) {
    for (const char* const command : {"show", "read"}) {
        expectRefused(run({command, "channel:5"}), 2,
                      AllOf(HasSubstr("'channel:5'"), HasSubstr("room:5001")));
    }
    for (const char* const command : {"send", "receive"}) {
        expectRefused(run({command, "channel:5", "hi"}), 2,
                      AllOf(HasSubstr("'channel:5'"), HasSubstr("room:5001")));
    }
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, NumbersOutOfRange) {
    expectRefused(run({"show", "room:5", "-n", "0"}), 2, HasSubstr("-n '0'"));
    expectRefused(run({"show", "room:5", "-n", "-3"}), 2, HasSubstr("-n '-3'"));
    expectRefused(run({"show", "room:5", "-n", "1000001"}), 2, HasSubstr("-n '1000001'"));
    expectRefused(run({"show", "room:5", "--before", "0"}), 2, HasSubstr("--before '0'"));
    expectRefused(run({"show", "room:5", "--before", "x"}), 2, HasSubstr("--before 'x'"));
    expectRefused(run({"show", "room:4294967296"}), 2, HasSubstr("room:4294967296"));
    expectRefused(run({"replay", sampleLog().string(), "--batch", "0"}), 2, HasSubstr("--batch '0'"));
    expectRefused(run({"replay", sampleLog().string(), "--batch", "1000000001"}), 2, HasSubstr("--batch"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, ANameThatNoAccountCanHave) {
    expectRefused(run({"--user", "", "sessions"}), 2, HasSubstr("--user ''"));
    expectRefused(run({"--user", "o'brien", "send", "user:bob", "hi"}), 2, HasSubstr("--user 'o'brien'"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, AFileInThePlaceOfTheDataFolder) {
    writeFile(dataDir(), "precious");
    for (const Commands& commands : {reading, writing}) {
        expectAllRefused(
            commands, 1,
            AllOf(HasSubstr(dataDir().string()), HasSubstr("not a folder"), HasSubstr("--data-dir")));
    }
    EXPECT_EQ(contentOf(dataDir()), "precious");
}

TEST_F(WrongInput, AFileInThePlaceOfTheAccountsFolder) {
    writeFile(dataDir() / "users", "precious");
    expectAllRefused(
        writing, 1,
        AllOf(HasSubstr(dataDir().string()), HasSubstr("Not a directory"), HasSubstr("--data-dir")));
    EXPECT_EQ(contentOf(dataDir() / "users"), "precious");
}

TEST_F(WrongInput, ADataFolderThatCannotBeWritten) {
    // Nobody, not even root, makes folders there.
    const ToolRun run = runExactly({"--data-dir", "/proc/pelko", "send", "user:bob", "hi"});
    expectRefused(run, 1, AllOf(HasSubstr("/proc/pelko"), HasSubstr("--data-dir")));
}

TEST_F(WrongInput, AnEmptyDataFolderName) {
    expectRefused(runExactly({"--data-dir", "", "sessions"}), 2, HasSubstr("--data-dir ''"));
}

TEST_F(WrongInput, ADatabaseThatIsNone) {
    const std::string content = "Dear diary, this is not a database. " + std::string(4096, 'x');
    writeFile(database(), content);
    for (const Commands& commands : {reading, writing}) {
        expectAllRefused(commands, 1,
                         AllOf(HasSubstr("cannot open " + database().string() + ": file is not a database; "),
                               HasSubstr("--user")));
    }
    EXPECT_EQ(contentOf(database()), content);
}

TEST_F(WrongInput, AFolderInThePlaceOfTheDatabase) {
    fs::create_directories(database());
    for (const Commands& commands : {reading, writing}) {
        expectAllRefused(commands, 1, AllOf(HasSubstr(database().string()), HasSubstr("it is not a file")));
    }
}

TEST_F(WrongInput, ADatabaseThatLacksAColumn) {
    runWell({"receive", "room:5", "hi", "--from", "ann"});
    execute("ALTER TABLE tbl_msg RENAME COLUMN receiver_type TO kind");
    expectRefused(run({"unread"}), 1,
                  HasSubstr("cannot count the unread messages: no such column: receiver_type"));
    expectRefused(run({"sessions"}), 1, HasSubstr("no such column in the result: receiver_type"));
    expectRefused(run({"delete", "1", "--yes"}), 1, HasSubstr("no such column in the result: receiver_type"));
    expectRefused(run({"clear", "room:5", "--yes"}), 1, HasSubstr("no such column: receiver_type"));
    expectRefused(run({"show", "room:5"}), 1, HasSubstr("cannot read room:5: no such column: receiver_type"));
    expectRefused(run({"read", "room:5"}), 1, HasSubstr("no such column: receiver_type"));
    expectRefused(run({"send", "user:bob", "hi"}), 1, HasSubstr("cannot store the message: "));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg"), "1");
}

TEST_F(WrongInput, TablesThatLackAColumn) {
    runWell({"send", "user:bob", "hi"});
    runWell({"rooms", "add", "5"});
    runWell({"groups", "add", "7"});
    runWell({"users", "add", "ann"});
    runWell({"friends", "add", "ann"});
    runWell({"notifications", "add", "invite", "--group", "7", "--from", "ann"});
    runWell({"mute", "room:5"});
    runWell({"mark", "inbox", "5"});
    const std::pair<const char*, const char*> renamed[] = {{"tbl_room", "info"},
                                                           {"tbl_group", "info"},
                                                           {"tbl_user", "info"},
                                                           {"tbl_notify", "is_read"},
                                                           {"tbl_msg_config", "msg_config"},
                                                           {"tbl_last_msg_id", "key"}};
    for (const auto& [table, column] : renamed) {
        execute(std::string("ALTER TABLE ") + table + " RENAME COLUMN " + column + " TO moved");
    }
    expectAllRefused({{"rooms"},
                      {"rooms", "show", "5"},
                      {"rooms", "add", "5", "--name", "x"},
                      {"groups"},
                      {"groups", "show", "7"},
                      {"groups", "add", "7", "--name", "x"},
                      {"users", "show", "ann"},
                      {"users", "add", "ann", "--nickname", "x"},
                      {"friends"},
                      {"friends", "show", "ann"}},
                     1, AllOf(testing::StartsWith("pelko: cannot "), HasSubstr("info")));
    expectAllRefused({{"notifications"},
                      {"notifications", "show", "1"},
                      {"notifications", "read", "1"},
                      {"notifications", "read", "--all"},
                      {"notifications", "add", "invite", "--group", "7", "--from", "ann"}},
                     1, AllOf(testing::StartsWith("pelko: cannot "), HasSubstr("is_read")));
    expectAllRefused({{"mute", "room:5"}, {"setting", "room:5"}}, 1, HasSubstr("msg_config"));
    expectAllRefused({{"mark", "inbox"}, {"mark", "inbox", "5"}}, 1, HasSubstr("key"));
    expectRefused(run({"replay", sampleLog().string()}), 1,
                  AllOf(HasSubstr("cannot store room:"), HasSubstr("info")));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg"), "1");
}

TEST_F(WrongInput, ADatabaseThatAnotherProgramWritesTo) {
    runWell({"send", "user:bob", "one"});
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_THAT(runWell({"show", "user:bob"}).out, HasSubstr("one"));
    expectRefused(run({"send", "user:bob", "two"}), 1,
                  AllOf(HasSubstr("database is locked"), HasSubstr("another program")));
    // One more alone: each waits some seconds for the other program.
    expectRefused(
        run({"delete", "1", "--yes"}), 1,
        AllOf(HasSubstr("cannot delete the messages: database is locked"), HasSubstr("another program")));
    sqlite3_close(other);
    EXPECT_EQ(rows("SELECT text FROM tbl_msg"), (Rows{{"one"}}));
}

TEST_F(WrongInput, LogsThatAreNotThere) {
    expectRefused(run({"replay", (folder() / "nowhere").string()}), 1,
                  AllOf(HasSubstr("nowhere"), HasSubstr("no such file or folder")));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, AFileThatIsNotNamedAsALog) {
    writeFile(folder() / "garden/yesterday.log", "[21:20] <ann> hi\n");
    expectRefused(run({"replay", (folder() / "garden/yesterday.log").string()}), 1,
                  AllOf(HasSubstr("garden/yesterday.log"), HasSubstr("CHANNEL/YYYY-MM-DD.log")));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, AFolderWithoutLogs) {
    writeFile(folder() / "garden/notes.txt", "");
    expectRefused(run({"replay", sampleLog().string(), (folder() / "garden").string()}), 1,
                  AllOf(HasSubstr("no logs in"), HasSubstr("garden")));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, ADayOutOfRange) {
    const fs::path logs = makeLog("garden/2038-01-19", {"[21:20] <ann> hi"});
    expectRefused(run({"replay", logs.string()}), 1,
                  AllOf(HasSubstr("2038-01-19.log"), HasSubstr("out of range"), HasSubstr("2038-01-18")));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, TwoLogsOfOneChannelAndDay) {
    makeLog("one/garden/2018-05-29", {"[21:20] <ann> hi"});
    const fs::path logs = makeLog("two/garden/2018-05-29", {"[21:20] <ann> ho"});
    expectRefused(run({"replay", logs.string()}), 1, HasSubstr("both the log of one channel and day"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, ALinkToAMissingLog) {
    const fs::path logs = makeLog("garden/2018-05-28", {"[21:20] <ann> hi"});
    fs::create_symlink("missing", logs / "garden/2018-05-29.log");
    expectRefused(run({"replay", logs.string()}), 1,
                  AllOf(HasSubstr("cannot read"), HasSubstr("2018-05-29.log")));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(WrongInput, ALogThatCannotBeRead) {
    // It opens like a file, but its first byte cannot be read, whoever asks.
    const fs::path logs = makeLog("garden/2018-05-28", {"[21:20] <ann> hi"});
    fs::create_symlink("/proc/self/mem", logs / "garden/2018-05-29.log");
    expectRefused(run({"replay", logs.string()}), 1,
                  AllOf(HasSubstr("cannot read " + (logs / "garden/2018-05-29.log").string()),
                        HasSubstr("1 message before it is stored")));
    EXPECT_EQ(rows("SELECT text FROM tbl_msg"), (Rows{{"hi"}}));
}

TEST_F(WrongInput, ALogOfTooManyLines) {
    const fs::path log = folder() / "logs/garden/2018-05-29.log";
    writeFile(log, "[21:20] <ann> hi\n" + std::string((1U << 24U) - 1, '\n'));
    expectRefused(run({"replay", log.string()}), 1,
                  AllOf(HasSubstr("2018-05-29.log has 16777216 lines"), HasSubstr("16777215")));
    EXPECT_EQ(rows("SELECT text FROM tbl_msg"), Rows{});
}

}  // namespace
