#ifndef PELKO_TOOL_REPLAY_MARKS_H
#define PELKO_TOOL_REPLAY_MARKS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/pelko/Store.h"

// How far logs have been replayed, kept as sync marks in the store.
//
// There is a mark for each room and day, because a mark for the room alone would lose lines: the ids of
// messages ascend by day, and days can be replayed in any order, so that an older day may bring new lines
// below the newest id of its room. A log whose day has no mark is played whole.
//
//   replay:room:5001:2018-05-29           id of the last message of that day that was played
//   replay:room:5001:2018-05-29:content   fingerprint of the log's lines up to that message
//   replay:room:5001                      the greatest id of the room's marks, for people: nothing is passed
//                                         over by it
//
// The fingerprint tells a log that has grown from one that has changed: only in the former do the lines up to
// the mark stand for what is stored.

namespace pelkotool {

/// How far a log has been replayed.
struct LogMark {
    long long messageId = 0;    ///< of the last message that was played; 0: none was
    long long fingerprint = 0;  ///< of the lines up to it
};

LogMark readLogMark(Store& store, unsigned int roomId, long long day);

/// Stores the mark, and raises the room's to it.
void writeLogMark(Store& store, unsigned int roomId, long long day, const LogMark& mark);

/// The mark of the room: the greatest message id that was played; 0 when there is none.
long long roomMark(Store& store, unsigned int roomId);

/// The place that a room's mark stands for, "2018-05-29 line 14"; the id of one that is not of that room.
std::string roomMarkText(unsigned int roomId, long long mark);

/// Lines of a log as one number that a sync mark can hold. The ends of lines count as one character each, so
/// a last line that was written only in part has another fingerprint than the whole one.
class Fingerprint {
public:
    void add(std::string_view line);
    long long value() const;

private:
    std::uint64_t mHash = 14695981039346656037ULL;  // FNV-1a
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_REPLAY_MARKS_H
