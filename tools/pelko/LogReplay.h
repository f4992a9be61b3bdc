#ifndef PELKO_TOOL_LOG_REPLAY_H
#define PELKO_TOOL_LOG_REPLAY_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/pelko/ChatLog.h"
#include "tools/pelko/LogFiles.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/Store.h"

namespace pelkotool {

/// What a replay has done.
struct ReplaySummary {
    struct Room {
        pelkoapi::PelkoChatTarget target;
        std::string channel;
        std::uint64_t stored = 0;
        std::uint64_t known = 0;
    };
    std::vector<Room> rooms;
    std::uint64_t files = 0;
    std::uint64_t stored = 0;        ///< messages that are new
    std::uint64_t known = 0;         ///< messages that were stored before
    std::uint64_t notices = 0;       ///< lines skipped: joins, parts, quits, renames
    std::uint64_t unknownLines = 0;  ///< lines skipped: none of the forms of a log
    std::string firstUnknownLine;    ///< where the first of them stands
    bool interrupted = false;
};

/// Plays logs through the store as the network layer plays a room's events: every message line is an incoming
/// message, which is stored unless it is known and then becomes the last message of the room's session.
class LogReplay {
public:
    /// @param batch  events per transaction; 1 means no transaction
    LogReplay(Store& store, std::uint64_t batch);

    /// Plays the logs, which are ordered by channel. Stops early, with what has been played committed, when
    /// an interrupt comes.
    /// @throws ToolError when a log cannot be read or a message cannot be stored; what was stored before it
    /// is
    ///         committed
    ReplaySummary play(const std::vector<LogFile>& files, ProgressBar& progress);

private:
    /// The room that is being played.
    struct CurrentRoom {
        pelkoapi::PelkoChatTarget target;
        bool hasSession = false;
        long long sessionsLastMsg = 0;  // its row id, as the session says
        pelkoapi::PelkoMessage newest;  // of what is stored
    };

    void playAll(const std::vector<LogFile>& files, ProgressBar& progress);
    void enterRoom(const LogFile& file);
    void playFile(const LogFile& file, std::uintmax_t bytesBefore, ProgressBar& progress);
    void playMessage(const LogFile& file, const LogLine& line, std::size_t lineNumber);
    void updateSession();
    void begin();
    void commit();
    std::string committedText();

    Store& mStore;
    const std::uint64_t mBatch;
    ReplaySummary mSummary;
    CurrentRoom mRoom;
    bool mInTransaction = false;
    std::uint64_t mEventsInTransaction = 0;
    std::uint64_t mStoredAtCommit = 0;
};

/// @throws ToolError when two of the channels stand for the same room
void requireDistinctRooms(const std::vector<LogFile>& files);

}  // namespace pelkotool

#endif  // PELKO_TOOL_LOG_REPLAY_H
