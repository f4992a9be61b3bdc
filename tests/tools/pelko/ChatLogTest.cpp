#include "tools/pelko/ChatLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

using namespace pelkotool;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

void expectMessage(std::string_view line, unsigned int minute, const std::string& nick,
                   const std::string& text) {
    const LogLine parsed = parseLogLine(line);
    EXPECT_EQ(parsed.kind, LogLine::Kind::message) << line;
    EXPECT_EQ(parsed.minute, minute) << line;
    EXPECT_EQ(parsed.nick, nick) << line;
    EXPECT_EQ(parsed.text, text) << line;
}

TEST(ParseLogLine, ReadsMessages) {
    expectMessage("[07:58] <wren> good morning", 7 * 60 + 58, "wren", "good morning");
    expectMessage("[00:00] <a> <b> c > d", 0, "a", "<b> c > d");
    expectMessage("[23:59] <[x]`_^{}|> [23:59] <y> z", 23 * 60 + 59, "[x]`_^{}|", "[23:59] <y> z");
}

TEST(ParseLogLine, KeepsTheTextAsTyped) {
    expectMessage("[07:58] <wren>   two blanks more  ", 478, "wren", "  two blanks more  ");
    expectMessage("[07:58] <wren> it's 100% \"\\n\" \x1b[31m caf\xe9 \t", 478, "wren",
                  "it's 100% \"\\n\" \x1b[31m caf\xe9 \t");
    expectMessage("[07:58] <wren> /me waves", 478, "wren", "/me waves");
}

TEST(ParseLogLine, TakesAMessageWithoutText) {
    expectMessage("[07:58] <wren>", 478, "wren", "");
    expectMessage("[07:58] <wren> ", 478, "wren", "");
}

TEST(ParseLogLine, TakesNicksWithBlanks) {
    expectMessage("[07:58] <bur[n] er> hi", 478, "bur[n] er", "hi");
    expectMessage("[07:58] <[optik] > hola", 478, "[optik] ", "hola");
}

TEST(ParseLogLine, ReadsActionsWithOneBlankOrTwo) {
    expectMessage("[07:58] * wren writes that down", 478, "wren", "/me writes that down");
    expectMessage("[07:58]  * wren writes that down", 478, "wren", "/me writes that down");
    expectMessage("[07:58] * wren  bows * deeply ", 478, "wren", "/me  bows * deeply ");
}

TEST(ParseLogLine, TakesAnActionWithoutWords) {
    expectMessage("[07:58] * wren", 478, "wren", "/me");
    expectMessage("[07:58]  * wren ", 478, "wren", "/me");
}

TEST(ParseLogLine, KnowsNotices) {
    for (const char* const line : {"=== wren has joined #garden", "===", "====", "=== [07:58] <wren> hi"}) {
        EXPECT_EQ(parseLogLine(line).kind, LogLine::Kind::notice) << line;
    }
}

TEST(ParseLogLine, KnowsNothingElse) {
    for (const char* const line : {"",
                                   " ",
                                   "==",
                                   "[07:58]",
                                   "[07:58] ",
                                   "[07:58] text",
                                   "[07:58] -nick- notice",
                                   "[07:58]<wren> hi",
                                   "[07:58]  <wren> two blanks",
                                   "[07:58]   * wren three blanks",
                                   "[07:58] <> nobody",
                                   "[07:58] <wren hi",
                                   "[07:58] <wren>glued",
                                   "[07:58] *",
                                   "[07:58] * ",
                                   "[07:58] *wren glued",
                                   "[24:00] <wren> hi",
                                   "[07:60] <wren> hi",
                                   "[7:58] <wren> hi",
                                   "[0a:58] <wren> hi",
                                   "(07:58) <wren> hi",
                                   "[07.58] <wren> hi",
                                   "[07:58) <wren> hi",
                                   "[-7:58] <wren> hi",
                                   " [07:58] <wren> hi",
                                   "<wren> hi"}) {
        EXPECT_EQ(parseLogLine(line).kind, LogLine::Kind::unknown) << line;
    }
}

TEST(ParseLogLine, DoesNotTakeALineThatTheStoreWouldCut) {
    using namespace std::string_view_literals;
    EXPECT_EQ(parseLogLine("[07:58] <wren> a\0b"sv).kind, LogLine::Kind::unknown);
}

TEST(SplitLines, DropsTheLineEndsAlone) {
    EXPECT_THAT(splitLines(""), IsEmpty());
    EXPECT_THAT(splitLines("\n"), ElementsAre(""));
    EXPECT_THAT(splitLines("a\n\nb \n"), ElementsAre("a", "", "b "));
    EXPECT_THAT(splitLines("a\nno end"), ElementsAre("a", "no end"));
    EXPECT_THAT(splitLines("a\r\n\r\nb\r\r\n"), ElementsAre("a", "", "b\r"));
}

TEST(DayOfLogName, CountsFrom1970) {
    EXPECT_EQ(dayOfLogName("1970-01-01.log"), 0);
    EXPECT_EQ(dayOfLogName("1970-12-31.log"), 364);
    EXPECT_EQ(dayOfLogName("1969-12-31.log"), -1);
    EXPECT_EQ(dayOfLogName("2000-02-29.log"), 11016);
    EXPECT_EQ(dayOfLogName("2000-03-01.log"), 11017);
    EXPECT_EQ(dayOfLogName("2018-05-29.log"), 17680);
    EXPECT_EQ(dayOfLogName("2038-01-18.log"), lastDay);
    EXPECT_EQ(dayOfLogName("0000-01-01.log"), -719528);
    EXPECT_EQ(dayOfLogName("9999-12-31.log"), 2932896);
}

TEST(DayOfLogName, RefusesWhatIsNoDay) {
    for (const char* const name :
         {"", "2018-05-29", "2018-05-29.txt", "2018-05-29.log ", " 2018-05-29.log", "2018-5-29.log",
          "2018-00-29.log", "2018-13-29.log", "2018-05-00.log", "2018-05-32.log", "2018-02-29.log",
          "1900-02-29.log", "2018-04-31.log", "2018_05_29.log", "20180529.log", "201a-05-29.log",
          "-018-05-29.log", "2018-05-29.log.gz"}) {
        EXPECT_EQ(dayOfLogName(name), std::nullopt) << name;
    }
}

TEST(RoomIdOfChannel, IsTheSameAtEveryRun) {
    // The published FNV-1a hashes of these texts, folded from 32 bits to 22.
    constexpr unsigned int hashOfNothing = 0x811C9DC5U;
    constexpr unsigned int hashOfFoobar = 0xBF9CF968U;
    EXPECT_EQ(roomIdOfChannel(""), (hashOfNothing >> 22U) ^ (hashOfNothing & 0x3FFFFFU));
    EXPECT_EQ(roomIdOfChannel("foobar"), (hashOfFoobar >> 22U) ^ (hashOfFoobar & 0x3FFFFFU));
}

TEST(RoomIdOfChannel, StaysWithin22BitsAndIsNever0) {
    for (int i = 0; i < 100000; ++i) {
        const unsigned int room = roomIdOfChannel("channel" + std::to_string(i));
        ASSERT_GT(room, 0U);
        ASSERT_LT(room, 1U << 22U);
    }
}

TEST(MessageIdOfLine, IsUniqueAndAscendsWithTheLinesOfARoom) {
    constexpr unsigned int lastRoom = (1U << 22U) - 1;
    std::set<long long> ids;
    std::size_t count = 0;
    for (const unsigned int room : {1U, 2U, lastRoom}) {
        long long previous = 0;
        for (const long long day : {0LL, 1LL, lastDay}) {
            for (const std::size_t line : {std::size_t{1}, std::size_t{2}, mostLines}) {
                const long long id = messageIdOfLine(room, day, line);
                EXPECT_GT(id, previous);
                previous = id;
                ids.insert(id);
                ++count;
            }
        }
    }
    EXPECT_EQ(ids.size(), count);
    EXPECT_EQ(messageIdOfLine(1, 2, 3), (1LL << 41U) + (2LL << 24U) + 3);
}

TEST(PlaceOfMessageId, IsWhatTheIdWasMadeOf) {
    for (const unsigned int room : {1U, 4194303U}) {
        for (const long long day : {0LL, 17680LL, lastDay}) {
            for (const std::size_t line : {std::size_t{1}, mostLines}) {
                const LinePlace place = placeOfMessageId(messageIdOfLine(room, day, line));
                EXPECT_EQ(place.roomId, room);
                EXPECT_EQ(place.day, day);
                EXPECT_EQ(place.line, line);
            }
        }
    }
}

}  // namespace
