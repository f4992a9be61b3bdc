#include <map>
#include <sstream>

#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class SessionsCommand : public ToolTest {};
class ShowCommand : public ToolTest {
protected:
    /// Messages 1 to `count` of room 5, all of the same minute, as a log with many lines in one minute gives.
    void fillOneMinute(int count) const {
        runWell({"receive", "room:5", "1", "--from", "ann", "--id", "1"});
        execute("UPDATE tbl_msg SET date = 600");
        for (int i = 2; i <= count; ++i) {
            const std::string number = std::to_string(i);
            execute(
                "INSERT INTO tbl_msg SELECT " + number + ", NULL, type, date, '" + number +
                "', media_type, media_path, ex_media_path, media_url, media_status, duration, receiver_type, "
                "receiver_id, sender_type, sender_id, status, extra_path FROM tbl_msg WHERE msg_id = 1");
        }
    }

    std::vector<std::string> texts(const Arguments& arguments) const {
        Arguments all = {"show"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        all.emplace_back("--json");
        std::vector<std::string> found;
        for (const json& message : runWell(all).json()) {
            found.push_back(message["text"]);
        }
        return found;
    }
};

TEST_F(SessionsCommand, ListsConversationsTheNewestFirst) {
    runWell({"receive", "room:5", "hello", "--from", "ann"});
    execute("UPDATE tbl_msg SET date = 0");
    runWell({"send", "user:bob", "it's me"});
    EXPECT_THAT(runWell({"sessions"}).out,
                testing::MatchesRegex("TARGET    NAME  PIN  UNREAD  LAST MESSAGE      FROM  TEXT\n"
                                      "user:bob                  0  20.*  me    it's me\n"
                                      "room:5                    1  1970-01-01 00:00  ann   hello\n"));
}

TEST_F(SessionsCommand, PutsPinnedConversationsFirstByPriority) {
    for (const char* const target : {"user:a", "user:b", "user:c", "user:d"}) {
        runWell({"send", target, "x"});
    }
    execute("UPDATE tbl_msg SET date = db_id");
    execute("UPDATE tbl_session SET is_top = 1, priority = 1 WHERE target_id = 'a'");
    execute("UPDATE tbl_session SET is_top = 1, priority = 2 WHERE target_id = 'b'");
    std::vector<std::string> targets;
    for (const json& session : runWell({"sessions", "--json"}).json()) {
        targets.push_back(session["target"]);
    }
    EXPECT_THAT(targets, ElementsAre("user:b", "user:a", "user:d", "user:c"));
    EXPECT_THAT(runWell({"sessions"}).out, HasSubstr("user:b        pinned"));
}

TEST_F(SessionsCommand, PrintsEveryFieldAsJson) {
    runWell({"receive", "group:77", "hello", "--from", "ann", "--id", "9"});
    execute("UPDATE tbl_msg SET date = 1527628800");
    EXPECT_EQ(runWell({"sessions", "--json"}).json(), json::parse(R"([{
        "target": "group:77", "name": null, "pinned": false, "priority": 0, "unread": 1,
        "last_message": {"db_id": 1, "msg_id": 9, "date": "2018-05-29T21:20:00Z", "type": "text",
                         "status": "unread", "sender": "user:ann", "receiver": "group:77", "text": "hello",
                         "extra_text": "", "media": null}}])"));
}

TEST_F(SessionsCommand, ShowsStoredNamesBesideTheTargets) {
    runWell({"send", "room:5", "x"});
    runWell({"send", "group:77", "x"});
    runWell({"send", "user:bob", "x"});
    runWell({"send", "user:o'brien", "x"});
    runWell({"send", "service:9", "x"});
    runWell({"rooms", "add", "5", "--name", "the garden's"});
    runWell({"groups", "add", "77", "--name", "climbers"});
    runWell({"users", "add", "bob", "--nickname", "Bobby"});
    std::map<std::string, json> names;
    for (const json& session : runWell({"sessions", "--json"}).json()) {
        names[session["target"]] = session["name"];
    }
    EXPECT_EQ(names, (std::map<std::string, json>{{"room:5", "the garden's"},
                                                  {"group:77", "climbers"},
                                                  {"user:bob", "Bobby"},
                                                  {"user:o'brien", nullptr},
                                                  {"service:9", nullptr}}));
    EXPECT_THAT(runWell({"sessions"}).out,
                AllOf(HasSubstr("room:5        the garden's  "), HasSubstr("group:77      climbers  ")));
}

TEST_F(SessionsCommand, TakesSessionsWithoutLastMessageAndOfUnknownKind) {
    runWell({"send", "user:bob", "hi"});
    execute("DELETE FROM tbl_msg");
    execute("INSERT INTO tbl_session VALUES (9, '5', 0, 0, 0)");
    const json sessions = runWell({"sessions", "--json"}).json();
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_EQ(sessions[0]["last_message"], nullptr);
    EXPECT_EQ(sessions[1]["target"], nullptr);
    EXPECT_THAT(runWell({"sessions"}).out, AllOf(HasSubstr("user:bob"), HasSubstr("(unknown)")));
}

TEST_F(SessionsCommand, TellsThatThereAreNone) {
    runWell({"send", "user:bob", "hi"});
    execute("DELETE FROM tbl_session");
    EXPECT_EQ(runWell({"sessions"}).out, "There are no sessions yet.\n");
    EXPECT_EQ(runWell({"sessions", "--json"}).json(), json::array());
}

TEST_F(ShowCommand, ShowsAConversationInColumns) {
    runWell({"receive", "room:5", "hello", "--from", "ann"});
    runWell({"receive", "room:5", "/me waves", "--from", "Günther"});
    runWell({"send", "room:5", "it's 100%"});
    execute("UPDATE tbl_msg SET date = 1527628800 + db_id * 60");
    EXPECT_EQ(runWell({"show", "room:5"}).out,
              "DBID  TIME              STATUS  FROM     TEXT\n"
              "   1  2018-05-29 21:21  unread  ann      hello\n"
              "   2  2018-05-29 21:22  unread  Günther  * Günther waves\n"
              "   3  2018-05-29 21:23  sent    me       it's 100%\n");
}

TEST_F(ShowCommand, PrintsEveryFieldAsJson) {
    runWell({"receive", "user:bob", "hello", "--id", "9223372036854775807"});
    execute("UPDATE tbl_msg SET date = 1527628800");
    EXPECT_EQ(runWell({"show", "user:bob", "--json"}).json(), json::parse(R"([{
        "db_id": 1, "msg_id": 9223372036854775807, "date": "2018-05-29T21:20:00Z", "type": "text",
        "status": "unread", "sender": "user:bob", "receiver": "user:me", "text": "hello", "extra_text": "",
        "media": null}])"));
}

TEST_F(ShowCommand, LetsNoByteOfAMessageSteerTheTerminal) {
    std::string everything;
    for (unsigned int byte = 1; byte < 256; ++byte) {
        everything += static_cast<char>(byte);
    }
    everything += "\u0085\u009b31m\u202e\u2066";
    runWell({"receive", "room:5", everything, "--from", everything});
    EXPECT_EQ(value("SELECT text FROM tbl_msg"), everything);
    for (const Arguments& arguments :
         {Arguments{"show", "room:5"}, {"sessions"}, {"show", "room:5", "--json"}, {"sessions", "--json"}}) {
        const std::string out = runWell(arguments).out;
        for (const char c : out) {
            const auto byte = static_cast<unsigned char>(c);
            EXPECT_TRUE(c == '\n' || (byte >= 0x20 && byte < 0x7F)) << +byte << " in " << arguments[0];
        }
    }
    EXPECT_THAT(runWell({"show", "room:5"}).out,
                AllOf(HasSubstr("\\x1B"), HasSubstr("\\x0A"), HasSubstr("\\x7F"), HasSubstr("\\xE9"),
                      HasSubstr("\\u009B31m"), HasSubstr("\\u202E\\u2066")));
}

TEST_F(ShowCommand, ShowsTheNewestAndTellsHowToGoOn) {
    fillOneMinute(25);
    EXPECT_THAT(texts({"room:5"}), testing::SizeIs(20));
    EXPECT_THAT(texts({"room:5", "-n", "2"}), ElementsAre("24", "25"));
    EXPECT_THAT(runWell({"show", "room:5", "-n", "2"}).out, HasSubstr("--before 24\n"));
    EXPECT_THAT(runWell({"show", "room:5", "-n", "26"}).out, Not(HasSubstr("--before")));
}

TEST_F(ShowCommand, PagesBackThroughAMinuteWithManyMessages) {
    fillOneMinute(25);
    EXPECT_THAT(texts({"room:5", "-n", "3", "--before", "24"}), ElementsAre("21", "22", "23"));
    EXPECT_THAT(texts({"room:5", "-n", "3", "--before", "4"}), ElementsAre("1", "2", "3"));
    EXPECT_THAT(texts({"room:5", "-n", "3", "--before", "2"}), ElementsAre("1"));
    EXPECT_THAT(texts({"room:5", "-n", "3", "--before", "1"}), IsEmpty());
    EXPECT_EQ(runWell({"show", "room:5", "--before", "1"}).out, "room:5 has no older messages.\n");
}

TEST_F(ShowCommand, TellsThatThereIsNothing) {
    runWell({"send", "user:bob", "hi"});
    EXPECT_EQ(runWell({"show", "room:5"}).out, "room:5 has no messages.\n");
    EXPECT_EQ(runWell({"show", "room:5", "--json"}).json(), json::array());
}

TEST_F(ShowCommand, RefusesAnAnchorThatIsNotOfTheConversation) {
    runWell({"send", "user:bob", "hi"});
    runWell({"receive", "user:ann", "hi"});
    runWell({"receive", "service:9", "hi"});
    expectRefused(run({"show", "room:5", "--before", "77"}), 1, HasSubstr("--before 77"));
    expectRefused(run({"show", "room:5", "--before", "1"}), 1,
                  AllOf(HasSubstr("--before 1"), HasSubstr("user:bob")));
    expectRefused(run({"show", "user:bob", "--before", "2"}), 1, HasSubstr("user:ann"));
    EXPECT_EQ(run({"show", "user:bob", "--before", "1"}).exitCode, 0);
    EXPECT_EQ(run({"show", "user:ann", "--before", "2"}).exitCode, 0);
    EXPECT_EQ(run({"show", "service:9", "--before", "3"}).exitCode, 0);
}

}  // namespace
