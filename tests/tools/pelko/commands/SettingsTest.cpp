#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class SettingCommands : public ToolTest {
protected:
    void SetUp() override { runWell({"send", "user:bob", "hi"}); }
    Rows stored() const { return rows("SELECT * FROM tbl_msg_config ORDER BY rowid"); }
};

class MarkCommand : public SettingCommands {};

TEST_F(SettingCommands, StoreAndShowASetting) {
    EXPECT_EQ(runWell({"setting", "room:5"}).out, "room:5 has no setting.\n");
    EXPECT_EQ(runWell({"setting", "room:5", "2147483647"}).out, "room:5 has the setting 2147483647.\n");
    EXPECT_EQ(runWell({"setting", "room:5", "--json"}).json(),
              (json{{"target", "room:5"}, {"setting", 2147483647}, {"muted", false}}));
    EXPECT_EQ(runWell({"setting", "group:5", "--json"}).json(),
              (json{{"target", "group:5"}, {"setting", nullptr}, {"muted", false}}));
    EXPECT_EQ(stored(), (Rows{{"1", "5", "2147483647"}}));
}

TEST_F(SettingCommands, MuteAndUnmute) {
    EXPECT_EQ(runWell({"mute", "group:77"}).out, "group:77 has the setting 1 (muted).\n");
    EXPECT_EQ(stored(), (Rows{{"2", "77", "1"}}));
    EXPECT_EQ(runWell({"mute", "group:77", "--json"}).json()["muted"], true);
    EXPECT_EQ(runWell({"unmute", "group:77"}).out, "group:77 has the setting 0.\n");
    EXPECT_EQ(stored(), (Rows{{"2", "77", "0"}}));
    EXPECT_EQ(runWell({"unmute", "group:77", "--json"}).json()["setting"], 0);
}

TEST_F(SettingCommands, TakeUsersWhoseNameIsAPlainNumber) {
    for (const char* const name : {"5", "0", "-5", "9223372036854775807"}) {
        runWell({"mute", std::string("user:") + name});
        EXPECT_EQ(runWell({"setting", std::string("user:") + name, "--json"}).json()["setting"], 1) << name;
    }
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg_config"), "4");
}

TEST_F(SettingCommands, RefuseOtherUsersWithTheReason) {
    for (const char* const name : {"bob", "005", "+5", "-0", "1e3", "null", "(SELECT 1)", "0), (1, 5",
                                   "o'brien", "9223372036854775808", "-9223372036854775808", " 5", "5 "}) {
        const std::string target = std::string("user:") + name;
        for (const Arguments& command :
             {Arguments{"mute", target}, {"unmute", target}, {"setting", target, "3"}}) {
            expectRefused(run(command), 1, AllOf(HasSubstr(target + ":"), HasSubstr("plain number")));
        }
        EXPECT_THAT(runWell({"setting", target}).out, HasSubstr("has no setting"));
    }
    EXPECT_EQ(stored(), Rows{});
}

TEST_F(SettingCommands, ReplaceTheSettingOfAnyUser) {
    execute("INSERT INTO tbl_msg_config VALUES (0, 'o''brien', 4)");
    EXPECT_EQ(runWell({"mute", "user:o'brien"}).out, "user:o'brien has the setting 1 (muted).\n");
    EXPECT_EQ(stored(), (Rows{{"0", "o'brien", "1"}}));
}

TEST_F(SettingCommands, RefuseWhatIsNoSetting) {
    for (const char* const value : {"-1", "2147483648", "x", ""}) {
        expectRefused(run({"setting", "room:5", "--", value}), 2,
                      HasSubstr("the setting '" + std::string(value) + '\''));
    }
    for (const char* const command : {"setting", "mute", "unmute"}) {
        expectRefused(run({command, "bob"}), 2, HasSubstr("'bob' is no target"));
    }
    EXPECT_EQ(stored(), Rows{});
}

TEST_F(MarkCommand, StoresAndShowsAMark) {
    EXPECT_EQ(runWell({"mark", "inbox"}).out, "inbox has no mark.\n");
    EXPECT_EQ(runWell({"mark", "inbox", "9223372036854775807"}).out, "inbox is at 9223372036854775807.\n");
    EXPECT_EQ(runWell({"mark", "inbox", "7"}).out, "inbox is at 7.\n");
    EXPECT_EQ(runWell({"mark", "inbox", "--json"}).json(), (json{{"key", "inbox"}, {"msg_id", 7}}));
    EXPECT_EQ(runWell({"mark", "outbox", "--json"}).json(), (json{{"key", "outbox"}, {"msg_id", nullptr}}));
    EXPECT_EQ(rows("SELECT * FROM tbl_last_msg_id"), (Rows{{"inbox", "7"}}));
}

TEST_F(MarkCommand, RefusesWhatIsNoMark) {
    expectRefused(run({"mark", "it's"}), 2, AllOf(HasSubstr("'it's'"), HasSubstr("single quote")));
    expectRefused(run({"mark", "it's", "5"}), 2, HasSubstr("single quote"));
    for (const char* const value : {"0", "-1", "x", ""}) {
        expectRefused(run({"mark", "inbox", "--", value}), 2, HasSubstr("the mark '" + std::string(value)));
    }
    EXPECT_EQ(rows("SELECT * FROM tbl_last_msg_id"), Rows{});
}

}  // namespace
