#include "tools/pelko/ChatLog.h"

#include <cstdint>

#include "tools/pelko/Times.h"

namespace pelkotool {

namespace {

// A message's service id: the room's bits, the day's, the line's.
constexpr unsigned int roomBits = 22;
constexpr unsigned int dayBits = 17;
constexpr unsigned int lineBits = 24;
static_assert(roomBits + dayBits + lineBits == 63, "the id is positive and uses every bit that there is");

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The number that the text consists of; nothing when there is anything but digits.
std::optional<unsigned int> digits(std::string_view text) {
    unsigned int number = 0;
    for (const char c : text) {
        if (!isDigit(c)) {
            return std::nullopt;
        }
        number = number * 10 + static_cast<unsigned int>(c - '0');
    }
    return number;
}

/// The minute of "[HH:MM]", which the line begins with.
std::optional<unsigned int> minuteOf(std::string_view line) {
    if (line.size() < 7 || line[0] != '[' || line[3] != ':' || line[6] != ']') {
        return std::nullopt;
    }
    const auto hour = digits(line.substr(1, 2));
    const auto minute = digits(line.substr(4, 2));
    if (!hour || !minute || *hour > 23 || *minute > 59) {
        return std::nullopt;
    }
    return *hour * 60 + *minute;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

/// "<nick> text" or "<nick>".
bool readMessage(std::string_view rest, LogLine& line) {
    const std::size_t end = rest.find('>');
    if (!startsWith(rest, "<") || end == std::string_view::npos || end == 1) {
        return false;
    }
    const std::string_view behind = rest.substr(end + 1);
    if (!behind.empty() && behind.front() != ' ') {
        return false;
    }
    line.nick = rest.substr(1, end - 1);
    line.text = behind.empty() ? behind : behind.substr(1);
    return true;
}

/// "* nick does a thing" or "* nick".
bool readAction(std::string_view rest, LogLine& line) {
    if (!startsWith(rest, "* ")) {
        return false;
    }
    rest.remove_prefix(2);
    const std::size_t end = rest.find(' ');
    line.nick = rest.substr(0, end);
    if (line.nick.empty()) {
        return false;
    }
    const std::string_view does = end == std::string_view::npos ? "" : rest.substr(end + 1);
    line.text = "/me";
    if (!does.empty()) {
        line.text += ' ';
        line.text += does;
    }
    return true;
}

}  // namespace

const long long lastDay = (1LL << 31U) / secondsPerDay - 1;
const std::size_t mostLines = (1U << lineBits) - 1;

LogLine parseLogLine(std::string_view line) {
    LogLine parsed;
    if (startsWith(line, "===")) {
        parsed.kind = LogLine::Kind::notice;
        return parsed;
    }
    const auto minute = minuteOf(line);
    // The store ends a string at a NUL byte: a line with one would lose what stands behind it.
    if (!minute || line.find('\0') != std::string_view::npos) {
        return parsed;
    }
    std::string_view rest = line.substr(7);
    if (!startsWith(rest, " ")) {
        return parsed;
    }
    rest.remove_prefix(1);
    const std::string_view action = startsWith(rest, " ") ? rest.substr(1) : rest;
    if (readMessage(rest, parsed) || readAction(action, parsed)) {
        parsed.kind = LogLine::Kind::message;
        parsed.minute = *minute;
    }
    return parsed;
}

std::vector<std::string_view> splitLines(std::string_view content) {
    std::vector<std::string_view> lines;
    while (!content.empty()) {
        const std::size_t end = content.find('\n');
        std::string_view line = content.substr(0, end);
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        lines.push_back(line);
    }
    return lines;
}

std::optional<long long> dayOfLogName(std::string_view fileName) {
    if (fileName.size() != 14 || fileName[4] != '-' || fileName[7] != '-' || fileName.substr(10) != ".log") {
        return std::nullopt;
    }
    const auto year = digits(fileName.substr(0, 4));
    const auto month = digits(fileName.substr(5, 2));
    const auto dayOfMonth = digits(fileName.substr(8, 2));
    if (!year || !month || !dayOfMonth || *month < 1 || *month > 12 || *dayOfMonth < 1) {
        return std::nullopt;
    }
    const bool leap = (*year % 4 == 0 && *year % 100 != 0) || *year % 400 == 0;
    const unsigned int lengths[] = {31, leap ? 29U : 28U, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (*dayOfMonth > lengths[*month - 1]) {
        return std::nullopt;
    }

    // The leap days of all years from 1 to the one given. Every year is taken 400 later, a whole cycle of
    // leap years, so that the year 0 needs no care.
    const auto leapDaysThrough = [](long long y) { return y / 4 - y / 100 + y / 400; };
    const long long cycleLater = *year + 400LL;
    long long day = (cycleLater - 2370) * 365 + leapDaysThrough(cycleLater - 1) - leapDaysThrough(2369);
    for (unsigned int m = 0; m + 1 < *month; ++m) {
        day += lengths[m];
    }
    return day + *dayOfMonth - 1;
}

unsigned int roomIdOfChannel(std::string_view channel) {
    std::uint32_t hash = 2166136261U;  // FNV-1a
    for (const char c : channel) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    }
    const std::uint32_t folded = (hash >> roomBits) ^ (hash & ((1U << roomBits) - 1));
    return folded == 0 ? 1 : folded;
}

long long messageIdOfLine(unsigned int roomId, long long day, std::size_t line) {
    return static_cast<long long>(roomId) << (dayBits + lineBits) | day << lineBits |
           static_cast<long long>(line);
}

LinePlace placeOfMessageId(long long messageId) {
    LinePlace place;
    place.roomId = static_cast<unsigned int>(messageId >> (dayBits + lineBits));
    place.day = messageId >> lineBits & ((1LL << dayBits) - 1);
    place.line = static_cast<std::size_t>(messageId & ((1LL << lineBits) - 1));
    return place;
}

}  // namespace pelkotool
