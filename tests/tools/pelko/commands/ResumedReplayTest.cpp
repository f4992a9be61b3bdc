#include <signal.h>

#include <chrono>
#include <thread>

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ChatLog.h"

// Replays that go on where an earlier one ended, and what they store beside the messages.

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

const unsigned int gardenId = pelkotool::roomIdOfChannel("garden");
const std::string garden = "room:" + std::to_string(gardenId);
constexpr long long may29 = 17680;

class ResumedReplay : public ToolTest {
protected:
    using Lines = std::vector<std::string>;

    json replay(Arguments options = {}) const {
        options.insert(options.begin(), {"replay", (folder() / "logs").string(), "--json"});
        return runWell(options).json();
    }

    Lines texts() const {
        Lines all;
        for (const auto& row : rows("SELECT text FROM tbl_msg ORDER BY msg_id")) {
            all.push_back(row[0]);
        }
        return all;
    }

    static std::string id(long long day, std::size_t line) {
        return std::to_string(pelkotool::messageIdOfLine(gardenId, day, line));
    }

    std::string mark(const std::string& suffix) const {
        return value("SELECT last_msg_id FROM tbl_last_msg_id WHERE key = 'replay:" + garden + suffix + "'");
    }

    void expectCounts(const json& summary, int stored, int known, int passedOver) const {
        EXPECT_EQ(summary["stored"], stored);
        EXPECT_EQ(summary["known"], known);
        EXPECT_EQ(summary["lines_passed_over"], passedOver);
        EXPECT_EQ(summary["rooms"][0]["lines_passed_over"], passedOver);
    }

    /// Starts a long replay and ends it with the signal when some of it is stored.
    void stopLongReplay(const Lines& lines, int signal) const {
        makeLog("garden/2018-05-29", lines);
        const pid_t process = start({"replay", (folder() / "logs").string(), "--batch", "50"});
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        const auto grown = [&] { return fs::exists(database()) && fs::file_size(database()) > 100'000; };
        while (!grown() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ASSERT_EQ(kill(process, signal), 0);
        finish(process);
    }
};

TEST_F(ResumedReplay, StoresTheNewLinesOfALogThatHasGrown) {
    makeLog("garden/2018-05-29", {"=== ann has joined", "[21:20] <ann> one"});
    replay();
    makeLog("garden/2018-05-29",
            {"=== ann has joined", "[21:20] <ann> one", "=== bob has joined", "[21:20] <bob> two"});
    const json summary = replay();
    expectCounts(summary, 1, 0, 2);
    EXPECT_EQ(summary["skipped"]["notices"], 1);
    EXPECT_EQ(summary["logs_changed"], 0);
    EXPECT_EQ(texts(), (Lines{"one", "two"}));
    EXPECT_EQ(value("SELECT text FROM tbl_msg JOIN tbl_session ON last_msg_id = db_id"), "two");
}

TEST_F(ResumedReplay, TellsHowManyLinesItPassedOver) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two"});
    const std::string logs = (folder() / "logs").string();
    runWell({"replay", logs});
    EXPECT_THAT(runWell({"replay", logs}).out,
                AllOf(HasSubstr("messages stored              0\n"),
                      HasSubstr("already known                0   nothing new"),
                      HasSubstr("lines passed over            2   already replayed; --all "),
                      HasSubstr(garden + "  garden          0    0                  2\n")));
}

TEST_F(ResumedReplay, KeepsAMarkForEachDayAndTheGreatestForTheRoom) {
    makeLog("garden/2018-05-28", {"[21:20] <ann> zero"});
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two", "=== notice"});
    replay();
    EXPECT_EQ(mark(":2018-05-28"), id(may29 - 1, 1));
    EXPECT_EQ(mark(":2018-05-29"), id(may29, 2));
    EXPECT_EQ(mark(""), id(may29, 2));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_last_msg_id"), "5") << "with a fingerprint for each day";
    EXPECT_EQ(
        runWell({"rooms", "--json"}).json()[0]["replayed_to"],
        (json{{"msg_id", pelkotool::messageIdOfLine(gardenId, may29, 2)}, {"line", "2018-05-29 line 2"}}));
}

TEST_F(ResumedReplay, LosesNoLineOfAnOlderDayThatComesLater) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> newer"});
    replay();
    makeLog("garden/2018-05-27", {"[21:20] <ann> oldest"});
    expectCounts(replay(), 1, 0, 1);
    makeLog("garden/2018-05-28", {"[21:20] <ann> between"});
    expectCounts(replay(), 1, 0, 2);
    makeLog("garden/2018-05-27", {"[21:20] <ann> oldest", "[21:21] <ann> oldest, grown"});
    expectCounts(replay(), 1, 0, 3);
    EXPECT_EQ(texts(), (Lines{"oldest", "oldest, grown", "between", "newer"}));
    EXPECT_EQ(mark(""), id(may29, 1)) << "the room's mark never falls";
    EXPECT_EQ(value("SELECT text FROM tbl_msg JOIN tbl_session ON last_msg_id = db_id"), "newer");
}

TEST_F(ResumedReplay, DoesNotBringDeletedMessagesBackUnlessAskedTo) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two"});
    replay();
    runWell({"delete", "1", "--yes"});
    expectCounts(replay(), 0, 0, 2);
    EXPECT_EQ(texts(), Lines{"two"});
    expectCounts(replay({"--all"}), 1, 1, 0);
    EXPECT_EQ(texts(), (Lines{"one", "two"}));
    expectCounts(replay(), 0, 0, 2);
}

TEST_F(ResumedReplay, GoesOnAfterAnInterrupt) {
    const Lines lines(20'000, "[21:20] <ann> one of many");
    stopLongReplay(lines, SIGINT);
    const int before = std::stoi(value("SELECT COUNT(*) FROM tbl_msg"));
    ASSERT_GT(before, 0);
    ASSERT_LT(before, 20'000);
    EXPECT_EQ(mark(""), value("SELECT MAX(msg_id) FROM tbl_msg"))
        << "an interrupt leaves the mark at the end";
    makeLog("garden/2018-05-29", Lines(lines.begin(), lines.begin() + before + 10));  // the rest takes long
    expectCounts(replay(), 10, 0, before);
    EXPECT_EQ(value("SELECT COUNT(DISTINCT msg_id) FROM tbl_msg"), std::to_string(before + 10));
}

TEST_F(ResumedReplay, GoesOnAfterItWasKilled) {
    const Lines lines(20'000, "[21:20] <ann> one of many");
    stopLongReplay(lines, SIGKILL);
    // The first command after it rolls back what was not committed.
    runWell({"sessions"});
    const int before = std::stoi(value("SELECT COUNT(*) FROM tbl_msg"));
    ASSERT_GT(before, 0);
    ASSERT_LT(before, 20'000);
    EXPECT_EQ(mark(""), value("SELECT MAX(msg_id) FROM tbl_msg")) << "of the same transaction";
    makeLog("garden/2018-05-29", Lines(lines.begin(), lines.begin() + before + 10));
    expectCounts(replay(), 10, 0, before);
    EXPECT_EQ(value("SELECT COUNT(DISTINCT msg_id) FROM tbl_msg"), std::to_string(before + 10));
}

TEST_F(ResumedReplay, LosesNothingThatAFailureHasUndone) {
    makeLog("garden/2018-05-28", {"[21:20] <ann> zero"});
    replay();
    const Lines all = {"zero", "one", "two", "three", "four"};
    makeLog("garden/2018-05-29",
            {"[21:20] <ann> one", "[21:20] <ann> two", "[21:20] <ann> three", "[21:20] <ann> four"});
    for (const char* const action : {"ROLLBACK", "ABORT"}) {
        for (const char* const batch : {"1", "2", "3", "1000"}) {
            SCOPED_TRACE(std::string(action) + ' ' + batch);
            execute("DELETE FROM tbl_msg WHERE text <> 'zero'; DELETE FROM tbl_last_msg_id");
            refuseText("four", action);
            EXPECT_EQ(run({"replay", (folder() / "logs").string(), "--batch", batch}).exitCode, 1);
            refuseNoText();
            const json summary = replay({"--batch", batch});
            EXPECT_EQ(summary["logs_changed"], 0);
            EXPECT_EQ(texts(), all);
        }
    }
}

TEST_F(ResumedReplay, WritesTheMarksWithoutTransactionsToo) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two"});
    replay({"--batch", "1"});
    EXPECT_EQ(mark(":2018-05-29"), id(may29, 2));
    expectCounts(replay({"--batch", "1"}), 0, 0, 2);
}

TEST_F(ResumedReplay, TellsOfALineThatHasChangedAndKeepsTheStoredOne) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two", "[21:20] <ann> three"});
    replay();
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> zwei", "[21:20] <ann> three"});
    const json summary = replay();
    expectCounts(summary, 0, 3, 0);
    const std::string log = (folder() / "logs/garden/2018-05-29.log").string();
    EXPECT_EQ(summary["logs_changed"], 1);
    EXPECT_EQ(summary["first_log_changed"], log);
    EXPECT_EQ(summary["lines_differing"], 1);
    EXPECT_EQ(summary["first_line_differing"], log + " line 2");
    EXPECT_EQ(texts(), (Lines{"one", "two", "three"}));
    EXPECT_EQ(replay()["logs_changed"], 0) << "told once";
}

TEST_F(ResumedReplay, TellsOfChangesToPeople) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    replay();
    const fs::path logs = makeLog("garden/2018-05-29", {"[21:21] <ann> one"});
    EXPECT_THAT(runWell({"replay", logs.string()}).out,
                AllOf(HasSubstr("logs changed                 1   since"), HasSubstr("2018-05-29.log\n"),
                      HasSubstr("lines differing              1   from what is stored"),
                      HasSubstr("2018-05-29.log line 1\n")));
}

TEST_F(ResumedReplay, StoresAMessageThatWasNoneBefore) {
    makeLog("garden/2018-05-29", {"[21:20] <ann", "[21:20] <ann> two"});
    replay();
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two"});
    const json summary = replay();
    expectCounts(summary, 1, 1, 0);
    EXPECT_EQ(summary["logs_changed"], 1);
    EXPECT_EQ(summary["lines_differing"], 0);
    EXPECT_EQ(texts(), (Lines{"one", "two"}));
}

TEST_F(ResumedReplay, TellsOfLinesThatHaveMoved) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two"});
    replay();
    makeLog("garden/2018-05-29", {"[21:19] <ann> zero", "[21:20] <ann> one", "[21:20] <ann> two"});
    const json summary = replay();
    expectCounts(summary, 1, 2, 0);
    EXPECT_EQ(summary["lines_differing"], 2);
    EXPECT_EQ(texts(), (Lines{"one", "two", "two"}));
}

TEST_F(ResumedReplay, KeepsTheMessagesOfALogThatHasShrunk) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two"});
    replay();
    makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    const json summary = replay();
    expectCounts(summary, 0, 1, 0);
    EXPECT_EQ(summary["logs_changed"], 1);
    EXPECT_EQ(summary["lines_differing"], 0);
    EXPECT_EQ(texts(), (Lines{"one", "two"}));
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two", "[21:20] <ann> three"});
    expectCounts(replay(), 1, 1, 1);
    EXPECT_EQ(texts(), (Lines{"one", "two", "three"}));
}

TEST_F(ResumedReplay, NoticesALastLineThatWasWrittenInPart) {
    const fs::path log = folder() / "logs/garden/2018-05-29.log";
    writeFile(log, "[21:20] <ann> one\n[21:20] <ann> tw");
    replay();
    writeFile(log, "[21:20] <ann> one\n[21:20] <ann> two\n[21:20] <ann> three\n");
    const json summary = replay();
    EXPECT_EQ(summary["stored"], 1);
    EXPECT_EQ(summary["lines_differing"], 1);
    EXPECT_EQ(texts(), (Lines{"one", "tw", "three"}));
}

TEST_F(ResumedReplay, TakesOtherEndsOfLinesForTheSameLog) {
    const fs::path log = folder() / "logs/garden/2018-05-29.log";
    writeFile(log, "[21:20] <ann> one\n[21:20] <ann> two");
    replay();
    writeFile(log, "[21:20] <ann> one\r\n[21:20] <ann> two\r\n");
    const json summary = replay();
    expectCounts(summary, 0, 0, 2);
    EXPECT_EQ(summary["logs_changed"], 0);
}

TEST_F(ResumedReplay, TrustsNoMarkThatAnotherHandHasMoved) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    replay();
    makeLog("garden/2018-05-29", {"[21:20] <ann> one", "[21:20] <ann> two", "[21:20] <ann> three"});
    for (const std::string& moved : {id(may29, 3), id(may29, 99), std::string("5")}) {
        runWell({"mark", "replay:" + garden + ":2018-05-29", moved});
        replay();
        EXPECT_EQ(texts(), (Lines{"one", "two", "three"})) << moved;
        execute("DELETE FROM tbl_msg WHERE text <> 'one'");
    }
}

TEST_F(ResumedReplay, GoesOnBehindAStoreThatHasNoMarksYet) {
    makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    replay();
    execute("DELETE FROM tbl_last_msg_id");
    expectCounts(replay(), 0, 1, 0);
    expectCounts(replay(), 0, 0, 1);
}

TEST_F(ResumedReplay, StoresTheRoom) {
    makeLog("garden/2018-05-29", {"=== nobody says a word"});
    replay();
    EXPECT_EQ(rows("SELECT room_id, name, icon_url, icon_path, icon_path_ex, is_top, info, capacity, "
                   "online_number, info_version FROM tbl_room"),
              (Rows{{std::to_string(gardenId), "garden", "", "", "", "0", "", "0", "0", "1"}}));
}

TEST_F(ResumedReplay, KeepsWhatElseIsStoredOfTheRoom) {
    runWell({"rooms", "add", garden, "--info", "it's green", "--capacity", "30", "--online", "4", "--top",
             "--icon-url", "https://example.org/i", "--icon-path", "/i/a.png", "--icon-path-ex", "/i/b.png",
             "--info-version", "7"});
    makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    replay();
    replay();
    EXPECT_EQ(rows("SELECT name, icon_url, icon_path, icon_path_ex, is_top, info, capacity, online_number, "
                   "info_version FROM tbl_room"),
              (Rows{{"garden", "https://example.org/i", "/i/a.png", "/i/b.png", "1", "it's green", "30", "4",
                     "7"}}));
}

TEST_F(ResumedReplay, RefusesARoomThatIsStoredUnderAnotherName) {
    runWell({"rooms", "add", garden, "--name", "cellar"});
    makeLog("attic/2018-05-29", {"[21:20] <ann> in the attic"});
    const fs::path logs = makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    expectRefused(run({"replay", logs.string()}), 1,
                  AllOf(HasSubstr("'garden'"), HasSubstr(garden), HasSubstr("'cellar'"),
                        HasSubstr("pelko rooms add " + garden + " --name garden")));
    EXPECT_EQ(rows("SELECT text FROM tbl_msg"), Rows{});
    EXPECT_EQ(rows("SELECT name FROM tbl_room"), (Rows{{"cellar"}}));
    runWell({"rooms", "add", garden, "--name", "garden"});
    EXPECT_EQ(replay()["stored"], 2);
}

TEST_F(ResumedReplay, StoresEachAuthorsProfile) {
    makeLog("garden/2018-05-29",
            {"[21:20] <ann> one", "[21:20] <bob> two", "[21:20] <ann> three", "[21:20] * Günther waves"});
    EXPECT_EQ(replay()["profiles"], 3);
    EXPECT_EQ(rows("SELECT * FROM tbl_user ORDER BY rowid"),
              (Rows{{"ann", "ann", "", "", "", "", "2", "0"},
                    {"bob", "bob", "", "", "", "", "2", "0"},
                    {"Günther", "Günther", "", "", "", "", "2", "0"}}));
    EXPECT_EQ(replay()["profiles"], 0);
}

TEST_F(ResumedReplay, KeepsAProfileThatIsStored) {
    runWell({"users", "add", "ann", "--nickname", "Anna", "--info", "x", "--info-version", "9"});
    makeLog("garden/2018-05-29", {"[21:20] <ann> one"});
    EXPECT_EQ(replay()["profiles"], 0);
    EXPECT_EQ(rows("SELECT nickname, info, info_version FROM tbl_user"), (Rows{{"Anna", "x", "9"}}));
}

TEST_F(ResumedReplay, StoresNoProfileUnderANameThatIsNeverFound) {
    const fs::path logs =
        makeLog("garden/2018-05-29", {"[21:20] <o'brien> one", "[21:20] <o'brien> two", "[21:20] <ann> x"});
    EXPECT_THAT(runWell({"replay", logs.string()}).out,
                HasSubstr("profiles stored              1   1 author has none, for a single quote"));
    EXPECT_EQ(rows("SELECT username FROM tbl_user"), (Rows{{"ann"}}));
    EXPECT_EQ(replay({"--all"})["authors_without_profile"], 1);
}

}  // namespace
