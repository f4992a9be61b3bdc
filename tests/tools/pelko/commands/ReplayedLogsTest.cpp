#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <sstream>

#include "tests/tools/pelko/support/ToolTest.h"

// Logs through the store, compared with a count of their lines that shares no code with the tool: the sample
// always, and a part of the real logs where they lie beside the repository.

using namespace pelkotest;
using testing::SizeIs;

namespace {

struct ExpectedMessage {
    std::string nick;
    std::string text;
    long long minute = 0;  // since 1970

    bool operator==(const ExpectedMessage& other) const {
        return nick == other.nick && text == other.text && minute == other.minute;
    }
};

void PrintTo(const ExpectedMessage& message, std::ostream* out) {
    *out << message.minute << " <" << message.nick << "> " << message.text;
}

struct ExpectedLogs {
    std::map<std::string, std::vector<ExpectedMessage>> rooms;  // by channel, in the order of the lines
    std::size_t messages = 0;
    std::size_t notices = 0;
    std::size_t others = 0;
};

/// Midnight of the day of a log's name, in minutes since 1970.
long long midnightOf(const fs::path& log) {
    std::tm day{};
    const std::string name = log.filename().string();
    day.tm_year = std::stoi(name.substr(0, 4)) - 1900;
    day.tm_mon = std::stoi(name.substr(5, 2)) - 1;
    day.tm_mday = std::stoi(name.substr(8, 2));
    return timegm(&day) / 60;
}

/// Whether the line is of the form, which holds "%n" where the nick begins; hour, minute and that place then
/// say what was found.
bool hasForm(const std::string& line, const char* form, int& hour, int& minute, int& nick) {
    nick = -1;
    return std::sscanf(line.c_str(), form, &hour, &minute, &nick) == 2 && nick > 0;
}

void expectLog(const fs::path& log, ExpectedLogs& expected) {
    std::istringstream lines(contentOf(log));
    for (std::string line; std::getline(lines, line);) {
        int hour = 0;
        int minute = 0;
        int nick = 0;
        const bool isAction = hasForm(line, "[%2d:%2d] * %n", hour, minute, nick);  // any number of blanks
        if (isAction || hasForm(line, "[%2d:%2d] <%n", hour, minute, nick)) {
            const std::string rest = line.substr(static_cast<std::size_t>(nick));
            const std::size_t nickEnd = rest.find(isAction ? ' ' : '>');
            const std::size_t textStart = isAction ? nickEnd : rest.find(' ', nickEnd);
            const std::string text = textStart == std::string::npos ? "" : rest.substr(textStart + 1);
            ExpectedMessage found;
            found.nick = rest.substr(0, nickEnd);
            found.text = isAction ? (text.empty() ? "/me" : "/me " + text) : text;
            found.minute = midnightOf(log) + hour * 60LL + minute;
            expected.rooms[log.parent_path().filename().string()].push_back(found);
            ++expected.messages;
        } else if (line.rfind("===", 0) == 0) {
            ++expected.notices;
        } else {
            ++expected.others;
        }
    }
}

std::vector<fs::path> logsIn(const fs::path& folder) {
    std::vector<fs::path> logs;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".log") {
            logs.push_back(entry.path());
        }
    }
    std::sort(logs.begin(), logs.end());
    return logs;
}

fs::path realLogs() {
    return fs::path(PELKO_SOURCE_DIR) / "../shared/data/irc";
}

/// Four logs of each channel, spread evenly over its days, and one with lines of unusual form. All of them
/// would take too long for a test: the store looks through all messages for each new one.
std::vector<fs::path> someRealLogs() {
    std::vector<fs::path> chosen;
    for (const auto& channel : fs::directory_iterator(realLogs())) {
        if (channel.is_directory()) {
            const std::vector<fs::path> days = logsIn(channel.path());
            for (std::size_t i = 0; i < 4; ++i) {
                chosen.push_back(days[i * (days.size() - 1) / 3]);
            }
        }
    }
    chosen.push_back(realLogs() / "ubuntu/2018-02-27.log");
    std::sort(chosen.begin(), chosen.end());
    chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    return chosen;
}

class ReplayedLogs : public ToolTest {
protected:
    /// Plays the logs and compares everything that the tool and the store say about them.
    void expectAllStored(const std::vector<fs::path>& logs) const {
        ExpectedLogs expected;
        Arguments replay = {"replay", "--json"};
        // What is stored does not depend on the order in which days arrive.
        std::vector<fs::path> inOrder = logs;
        std::sort(inOrder.begin(), inOrder.end());
        for (const fs::path& log : inOrder) {
            expectLog(log, expected);
        }
        for (const fs::path& log : logs) {
            replay.push_back(log.string());
        }
        ASSERT_GT(expected.messages, 0U);

        const auto summary = runWell(replay).json();
        EXPECT_EQ(summary["stored"], expected.messages);
        EXPECT_EQ(summary["known"], 0);
        EXPECT_EQ(summary["skipped"]["notices"], expected.notices);
        EXPECT_EQ(summary["skipped"]["unknown_form"], expected.others);
        EXPECT_EQ(summary["files"], logs.size());
        EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg"), std::to_string(expected.messages));
        EXPECT_EQ(value("SELECT COUNT(DISTINCT msg_id) FROM tbl_msg"), std::to_string(expected.messages));
        ASSERT_EQ(summary["rooms"].size(), expected.rooms.size());
        for (const auto& room : summary["rooms"]) {
            SCOPED_TRACE(room["channel"]);
            expectRoom(room["target"], expected.rooms.at(room["channel"]));
        }
        EXPECT_EQ(runWell({"unread", "--json"}).json()["total"], expected.messages);

        const auto again = runWell(replay).json();
        EXPECT_EQ(again["stored"], 0);
        EXPECT_EQ(again["known"], 0);
        EXPECT_EQ(again["logs_changed"], 0);
        const auto everything = runWell(with(replay, "--all")).json();
        EXPECT_EQ(everything["stored"], 0);
        EXPECT_EQ(everything["known"], expected.messages);
        EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg"), std::to_string(expected.messages));
    }

private:
    static Arguments with(Arguments arguments, const std::string& option) {
        arguments.push_back(option);
        return arguments;
    }

    void expectRoom(const std::string& target, const std::vector<ExpectedMessage>& messages) const {
        const std::string id = target.substr(target.find(':') + 1);
        std::vector<ExpectedMessage> stored;
        for (const auto& row : rows("SELECT sender_id, text, date FROM tbl_msg WHERE receiver_type = 1 AND "
                                    "sender_type = 0 AND type = 0 AND status = 1 AND receiver_id = '" +
                                    id + "' ORDER BY msg_id")) {
            ExpectedMessage message;
            message.nick = row[0];
            message.text = row[1];
            message.minute = std::stoll(row[2]) / 60;
            stored.push_back(message);
        }
        EXPECT_TRUE(stored == messages) << "the lines in their order";

        // As a client shows them: by time, and the lines of one minute in their order. The newest is the last
        // message of the session.
        std::vector<std::pair<long long, long long>> byTime;
        for (const auto& row : rows("SELECT date, msg_id FROM tbl_msg WHERE receiver_id = '" + id + "'")) {
            byTime.emplace_back(std::stoll(row[0]), std::stoll(row[1]));
        }
        std::sort(byTime.begin(), byTime.end());
        const auto shown = runWell({"show", target, "-n", "1000000", "--json"}).json();
        ASSERT_THAT(shown, SizeIs(messages.size()));
        for (std::size_t i = 0; i < byTime.size(); ++i) {
            ASSERT_EQ(shown[i]["msg_id"], byTime[i].second) << i;
        }
        EXPECT_EQ(
            value("SELECT msg_id FROM tbl_msg JOIN tbl_session ON db_id = last_msg_id WHERE target_type = 1 "
                  "AND target_id = '" +
                  id + "'"),
            std::to_string(byTime.back().second));
    }
};

TEST_F(ReplayedLogs, TheSampleIsStoredWhole) {
    expectAllStored(logsIn(sampleLog()));
}

TEST_F(ReplayedLogs, TheSampleIsAsItIsMeantToBe) {
    ExpectedLogs expected;
    for (const fs::path& log : logsIn(sampleLog())) {
        expectLog(log, expected);
    }
    EXPECT_THAT(expected.rooms, SizeIs(2));
    EXPECT_EQ(expected.others, 1U);
    EXPECT_GT(expected.notices, 0U);
}

TEST_F(ReplayedLogs, APartOfTheRealLogsIsStoredWhole) {
    if (fs::exists(realLogs())) {
        expectAllStored(someRealLogs());
        return;
    }
    // Without them, the sample in reversed order of its days takes their place.
    std::vector<fs::path> logs = logsIn(sampleLog());
    std::reverse(logs.begin(), logs.end());
    expectAllStored(logs);
}

TEST_F(ReplayedLogs, EverythingIsStillThereAfterARestart) {
    // Every command is a process of its own, which opens the file anew.
    runWell({"replay", sampleLog().string()});
    const auto sessions = runWell({"sessions", "--json"}).json();
    ASSERT_THAT(sessions, SizeIs(2));
    const std::string target = sessions[0]["target"];
    const auto page = runWell({"show", target, "--json"}).json();
    EXPECT_THAT(page, SizeIs(20));
    EXPECT_EQ(page.back(), sessions[0]["last_message"]);

    runWell({"read", target});
    auto expected = sessions;
    expected[0]["unread"] = 0;
    expected[0]["last_message"]["status"] = "read";
    EXPECT_EQ(runWell({"sessions", "--json"}).json(), expected);
    EXPECT_EQ(runWell({"unread", "--json"}).json()["total"], sessions[1]["unread"]);
}

}  // namespace
