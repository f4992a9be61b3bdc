#ifndef PELKO_TOOL_CHAT_LOG_H
#define PELKO_TOOL_CHAT_LOG_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Chat-room logs: one file per channel and day, one line per message or notice.

namespace pelkotool {

/// A line of a log.
struct LogLine {
    enum class Kind {
        message,  ///< "[HH:MM] <nick> text", or "[HH:MM] * nick does a thing" with one or two blanks before
                  ///< "*"
        notice,   ///< "=== anything": a join, part, quit or rename
        unknown   ///< none of the forms
    };
    Kind kind = Kind::unknown;
    unsigned int minute = 0;  ///< of the day, UTC
    std::string nick;
    std::string text;  ///< as typed; an action as "/me does a thing", "/me" for one without words
};

LogLine parseLogLine(std::string_view line);

/// The lines of a file, without their ends ("\n" or "\r\n"). Views into `content`.
std::vector<std::string_view> splitLines(std::string_view content);

/// The day that a file name "YYYY-MM-DD.log" tells, in days since 1970; nothing for any other name.
std::optional<long long> dayOfLogName(std::string_view fileName);

/// The last day that a log may be of. The store keeps the order of messages up to 2^31 seconds after 1970,
/// which end during the day after it.
extern const long long lastDay;
/// The most lines that a log may have.
extern const std::size_t mostLines;

/// The room that stands for a channel: the same at every run, and never 0.
unsigned int roomIdOfChannel(std::string_view channel);

/// The service id of a message: the same at every run, different for every line of every log, and ascending
/// with the lines of a room, which is the order in which the store shows messages of one minute.
/// @param day   0 to lastDay
/// @param line  1 to mostLines
long long messageIdOfLine(unsigned int roomId, long long day, std::size_t line);

/// What a message's service id was made of.
struct LinePlace {
    unsigned int roomId = 0;
    long long day = 0;
    std::size_t line = 0;
};
LinePlace placeOfMessageId(long long messageId);

}  // namespace pelkotool

#endif  // PELKO_TOOL_CHAT_LOG_H
