#include <signal.h>

#include <chrono>
#include <thread>

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ChatLog.h"

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

const std::string gardenRoom = "room:" + std::to_string(pelkotool::roomIdOfChannel("garden"));

class ReplayCommand : public ToolTest {
protected:
    std::string lastMessageText() const {
        return value("SELECT text FROM tbl_msg JOIN tbl_session ON last_msg_id = db_id");
    }
};

TEST_F(ReplayCommand, StoresEachLineAsAnIncomingRoomMessage) {
    const fs::path logs = makeLog("garden/2018-05-29", {"=== ann has joined #garden", "[21:20] <ann> it's me",
                                                        "[21:21]  * bob waves", "[21:21] <o'brien>"});
    runWell({"replay", logs.string()});
    const std::string id = std::to_string(pelkotool::roomIdOfChannel("garden"));
    const auto service = [](std::size_t line) {
        return std::to_string(pelkotool::messageIdOfLine(pelkotool::roomIdOfChannel("garden"), 17680, line));
    };
    EXPECT_EQ(
        rows("SELECT msg_id, db_id, type, date, text, receiver_type, receiver_id, sender_type, sender_id, "
             "status FROM tbl_msg ORDER BY db_id"),
        (Rows{{service(2), "1", "0", "1527628800", "it's me", "1", id, "0", "ann", "1"},
              {service(3), "2", "0", "1527628860", "/me waves", "1", id, "0", "bob", "1"},
              {service(4), "3", "0", "1527628860", "", "1", id, "0", "o'brien", "1"}}));
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), (Rows{{"1", id, "3", "0", "0"}}));
}

TEST_F(ReplayCommand, TellsWhatItDid) {
    const fs::path logs = makeLog("garden/2018-05-29", {"=== ann has joined", "[21:20] <ann> hi", "nonsense",
                                                        "[21:21] * ann waves", "", "=== ann has left"});
    writeFile(logs / "README.md", "not a log");
    const std::string out = runWell({"replay", logs.string()}).out;
    EXPECT_THAT(
        out,
        AllOf(HasSubstr("messages stored              2\n"), HasSubstr("already known                0\n"),
              HasSubstr("notices skipped              2 "), HasSubstr("other lines skipped          2 "),
              HasSubstr("garden/2018-05-29.log line 3\n"), HasSubstr("files passed over            1 "),
              HasSubstr("messages per second"), HasSubstr(database().string()),
              HasSubstr("lines passed over            0\n"), HasSubstr("profiles stored              1\n"),
              HasSubstr(gardenRoom + "  garden          2    2                  0\n")));
}

TEST_F(ReplayCommand, TellsWhatItDidAsJson) {
    const fs::path logs =
        makeLog("garden/2018-05-29", {"=== ann has joined", "[21:20] <ann> hi", "nonsense"});
    writeFile(logs / "README.md", "not a log");
    auto summary = runWell({"replay", logs.string(), "--json"}).json();
    EXPECT_GT(summary["seconds"], 0);
    EXPECT_GT(summary["messages_per_second"], 0);
    EXPECT_EQ(summary["file_size"], fs::file_size(database()));
    for (const char* const measured : {"seconds", "messages_per_second", "file_size"}) {
        summary.erase(measured);
    }
    nlohmann::json expected = {
        {"stored", 1},
        {"known", 0},
        {"lines_passed_over", 0},
        {"profiles", 1},
        {"authors_without_profile", 0},
        {"logs_changed", 0},
        {"first_log_changed", nullptr},
        {"lines_differing", 0},
        {"first_line_differing", nullptr},
        {"skipped",
         {{"notices", 1},
          {"unknown_form", 1},
          {"first_unknown_form", (logs / "garden/2018-05-29.log").string() + " line 3"}}},
        {"files", 1},
        {"files_passed_over", 1},
        {"database", database().string()},
        {"interrupted", false},
        {"rooms",
         {{{"target", gardenRoom},
           {"channel", "garden"},
           {"stored", 1},
           {"known", 0},
           {"lines_passed_over", 0}}}}};
    EXPECT_EQ(summary, expected);
}

TEST_F(ReplayCommand, StoresNothingTheSecondTimeAndSaysSo) {
    const std::string stored = "SELECT * FROM tbl_msg ORDER BY db_id";
    runWell({"replay", sampleLog().string()});
    const Rows before = rows(stored);
    const Rows sessions = rows("SELECT * FROM tbl_session");
    const ToolRun again = runWell({"replay", sampleLog().string()});
    EXPECT_THAT(again.out, AllOf(HasSubstr("messages stored              0\n"), HasSubstr("nothing new")));
    EXPECT_EQ(rows(stored), before);
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), sessions);
}

TEST_F(ReplayCommand, KeepsMessagesThatWereReadRead) {
    const fs::path logs = makeLog("garden/2018-05-29", {"[21:20] <ann> hi"});
    runWell({"replay", logs.string()});
    runWell({"read", gardenRoom});
    runWell({"replay", logs.string()});
    EXPECT_EQ(value("SELECT status FROM tbl_msg"), "2");
}

TEST_F(ReplayCommand, StoresTheSameRowsWhateverTheBatch) {
    const std::string stored = "SELECT * FROM tbl_msg ORDER BY db_id";
    for (const char* const batch : {"1", "2", "7", "1000", "1000000000"}) {
        runWell({"--user", batch, "replay", sampleLog().string(), "--batch", batch});
    }
    const Rows first = rowsOf(database("1"), stored);
    const Rows sessions = rowsOf(database("1"), "SELECT * FROM tbl_session");
    EXPECT_GT(first.size(), 40U);
    for (const char* const batch : {"2", "7", "1000", "1000000000"}) {
        EXPECT_EQ(rowsOf(database(batch), stored), first) << batch;
        EXPECT_EQ(rowsOf(database(batch), "SELECT * FROM tbl_session"), sessions) << batch;
    }
}

TEST_F(ReplayCommand, KeepsTheNewestMessageLastWhenAnOlderDayFollows) {
    const fs::path logs =
        makeLog("garden/2018-05-29", {"[21:20] <ann> newest", "[21:19] <ann> late but older"});
    makeLog("garden/2018-05-28", {"[23:59] <ann> the day before"});
    runWell({"replay", (logs / "garden/2018-05-29.log").string()});
    EXPECT_EQ(lastMessageText(), "newest");
    runWell({"replay", (logs / "garden/2018-05-28.log").string()});
    EXPECT_EQ(lastMessageText(), "newest");
}

TEST_F(ReplayCommand, MendsASessionThatWasLeftBehind) {
    const fs::path logs = makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two"});
    runWell({"replay", logs.string()});
    execute("UPDATE tbl_session SET last_msg_id = 1");
    runWell({"replay", logs.string()});
    EXPECT_EQ(lastMessageText(), "two");
    execute("DELETE FROM tbl_session");
    runWell({"replay", logs.string()});
    EXPECT_EQ(lastMessageText(), "two");
    execute("UPDATE tbl_session SET last_msg_id = 1");
    runWell({"replay", logs.string(), "--all"});
    EXPECT_EQ(lastMessageText(), "two");
}

TEST_F(ReplayCommand, LeavesThePinOfASessionAlone) {
    const fs::path logs = makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    runWell({"replay", logs.string()});
    execute("UPDATE tbl_session SET is_top = 1, priority = 4");
    makeLog("garden/2018-05-30", {"[21:20] <ann> two"});
    runWell({"replay", logs.string()});
    EXPECT_EQ(rows("SELECT last_msg_id, is_top, priority FROM tbl_session"), (Rows{{"2", "1", "4"}}));
}

TEST_F(ReplayCommand, MakesNoSessionForAChannelWithoutMessages) {
    const fs::path logs = makeLog("garden/2018-05-29", {"=== ann has joined"});
    EXPECT_THAT(runWell({"replay", logs.string()}).out, HasSubstr("messages stored              0\n"));
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), Rows{});
}

TEST_F(ReplayCommand, DrawsAProgressBarOnATerminalAlone) {
    EXPECT_EQ(runWell({"replay", sampleLog().string()}).err, "");
    const ToolRun onTerminal = runOnTerminal({"replay", sampleLog().string()});
    EXPECT_EQ(onTerminal.exitCode, 0);
    EXPECT_THAT(onTerminal.err, AllOf(HasSubstr("[....."), HasSubstr("%  garden/2024-03-01.l"),
                                      testing::EndsWith("\r\x1b[K")));
    EXPECT_THAT(onTerminal.out, HasSubstr("lines passed over           59"));
}

TEST_F(ReplayCommand, StopsAtAMessageThatCannotBeStoredAndKeepsWhatWas) {
    const fs::path first = makeLog("garden/2018-05-28", {"[21:20] <ann> zero"});
    runWell({"replay", first.string()});
    refuseText("three", "ABORT");
    const fs::path logs =
        makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two", "=== notice",
                                      "[21:20] <ann> three", "[21:20] <ann> four"});
    expectRefused(run({"replay", logs.string()}), 1,
                  AllOf(HasSubstr("garden/2018-05-29.log line 4: UNIQUE constraint failed: tbl_msg.text"),
                        HasSubstr("; 2 messages before it are stored\n")));
    refuseNoText();
    EXPECT_EQ(rows("SELECT text FROM tbl_msg ORDER BY db_id"), (Rows{{"zero"}, {"one"}, {"two"}}));
    EXPECT_EQ(lastMessageText(), "two");
}

TEST_F(ReplayCommand, StopsWhenTheStoreTakesAMessageWithoutStoringIt) {
    const fs::path logs = makeLog("garden/2018-05-28", {"[21:20] <ann> zero"});
    runWell({"replay", logs.string()});
    refuseText("one", "IGNORE");
    makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    expectRefused(run({"replay", logs.string()}), 1,
                  AllOf(HasSubstr("2018-05-29.log line 1: the store changed no row"),
                        HasSubstr("; 0 messages before it are stored")));
}

TEST_F(ReplayCommand, DoesNotCountWhatAFailureHasUndone) {
    const fs::path first = makeLog("garden/2018-05-28", {"[21:20] <ann> zero"});
    runWell({"replay", first.string()});
    refuseText("four", "ROLLBACK");
    const std::string stored = "SELECT text FROM tbl_msg WHERE text <> 'four' ORDER BY db_id";
    const fs::path logs = makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two",
                                                        "[21:20] <ann> three", "[21:20] <ann> four"});
    expectRefused(
        run({"replay", logs.string(), "--batch", "1000"}), 1,
        HasSubstr("line 4: UNIQUE constraint failed: tbl_msg.text; 0 messages before it are stored\n"));
    EXPECT_EQ(rows(stored), (Rows{{"zero"}}));
    EXPECT_EQ(lastMessageText(), "zero");
    // The first transaction holds one and two, zero being passed over; the second one is undone.
    expectRefused(
        run({"replay", logs.string(), "--batch", "2"}), 1,
        HasSubstr("line 4: UNIQUE constraint failed: tbl_msg.text; 2 messages before it are stored\n"));
    EXPECT_EQ(rows(stored), (Rows{{"zero"}, {"one"}, {"two"}}));
    EXPECT_EQ(lastMessageText(), "two");
}

TEST_F(ReplayCommand, StopsAtAnInterruptAndKeepsWhatWasRead) {
    std::vector<std::string> lines(60'000, "[21:20] <ann> one of very many");
    const fs::path logs = makeLog("garden/2018-05-29", lines);
    for (const int signal : {SIGINT, SIGTERM}) {
        fs::remove_all(dataDir());
        const pid_t process = start({"replay", logs.string(), "--batch", "50", "--json"});
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        const auto grown = [&] { return fs::exists(database()) && fs::file_size(database()) > 100'000; };
        while (!grown() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ASSERT_EQ(kill(process, signal), 0);
        const ToolRun stopped = finish(process);
        EXPECT_EQ(stopped.exitCode, 130);
        EXPECT_THAT(stopped.err, MatchesRegex("pelko: stopped as asked; .*\n"));
        const auto summary = stopped.json();
        EXPECT_EQ(summary["interrupted"], true);
        EXPECT_GT(summary["stored"], 0);
        EXPECT_LT(summary["stored"], 60'000);
        EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg"), std::to_string(summary["stored"].get<int>()));
        EXPECT_EQ(value("SELECT last_msg_id FROM tbl_session"), value("SELECT MAX(db_id) FROM tbl_msg"));
    }
}

}  // namespace
