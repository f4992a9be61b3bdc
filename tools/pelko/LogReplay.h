#ifndef PELKO_TOOL_LOG_REPLAY_H
#define PELKO_TOOL_LOG_REPLAY_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/pelko/ChatLog.h"
#include "tools/pelko/LogFiles.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/ReplayMarks.h"
#include "tools/pelko/Store.h"

namespace pelkotool {

struct ReplayOptions {
    std::uint64_t batch = 1000;  ///< events per transaction; 1 means no transaction
    bool all = false;            ///< ask the store also about lines that were replayed before
};

/// What a replay has done.
struct ReplaySummary {
    struct Room {
        pelkoapi::PelkoChatTarget target;
        std::string channel;
        std::uint64_t stored = 0;
        std::uint64_t known = 0;
        std::uint64_t passedOver = 0;
    };
    std::vector<Room> rooms;
    std::uint64_t files = 0;
    std::uint64_t stored = 0;        ///< messages that are new
    std::uint64_t known = 0;         ///< messages that were stored before
    std::uint64_t passedOver = 0;    ///< lines that were replayed before, about which nobody asked the store
    std::uint64_t notices = 0;       ///< lines skipped: joins, parts, quits, renames
    std::uint64_t unknownLines = 0;  ///< lines skipped: none of the forms of a log
    std::string firstUnknownLine;    ///< where the first of them stands
    std::uint64_t profiles = 0;      ///< authors' profiles that are new
    std::uint64_t withoutProfile = 0;  ///< authors with a name under which the store would find no profile
    std::uint64_t changedLogs = 0;     ///< logs that are not what they were when they were replayed
    std::string firstChangedLog;
    std::uint64_t differingLines = 0;  ///< known messages of those logs that are stored with other words
    std::string firstDifferingLine;
    bool interrupted = false;
};

/// Plays logs through the store as the network layer plays a room's events: every message line is an incoming
/// message, which is stored unless it is known and then becomes the last message of the room's session. The
/// room and the authors are stored with it, and how far each log has been played: lines that were replayed
/// before are passed over.
class LogReplay {
public:
    LogReplay(Store& store, const ReplayOptions& options);

    /// Plays the logs, which are ordered by channel. Stops early, with what has been played committed, when
    /// an interrupt comes.
    /// @throws ToolError when a room is stored under another name than its channel's, before anything is
    ///         stored; when a log cannot be read or a message cannot be stored, with what was stored before
    ///         it committed
    ReplaySummary play(const std::vector<LogFile>& files, ProgressBar& progress);

private:
    /// The room that is being played.
    struct CurrentRoom {
        pelkoapi::PelkoChatTarget target;
        bool hasSession = false;
        long long sessionsLastMsg = 0;  // its row id, as the session says
        pelkoapi::PelkoMessage newest;  // of what is stored
    };

    /// The log that is being played.
    struct CurrentLog {
        explicit CurrentLog(const LogFile& logFile);
        CurrentLog(const CurrentLog&) = delete;  // the lines look into the content
        CurrentLog& operator=(const CurrentLog&) = delete;

        long long fingerprintThrough(std::size_t lineNumber);

        const LogFile& file;
        const std::string content;
        const std::vector<std::string_view> lines;
        bool changed = false;          // since it was replayed before
        std::size_t unmarkedLine = 0;  // the last message played, unless a mark stands for it; 0: none

    private:
        Fingerprint mFingerprint;
        std::size_t mFingerprinted = 0;
    };

    void requireChannelsRooms(const std::vector<LogFile>& files);
    void playAll(const std::vector<LogFile>& files, ProgressBar& progress);
    void enterRoom(const LogFile& file);
    void playFile(const LogFile& file, std::uintmax_t bytesBefore, ProgressBar& progress);
    std::size_t passOver(CurrentLog& log);
    void playLine(CurrentLog& log, std::size_t lineNumber);
    void playMessage(CurrentLog& log, const LogLine& line, std::size_t lineNumber);
    void compareWithStored(const CurrentLog& log, const pelkoapi::PelkoMessage& message,
                           std::size_t lineNumber);
    void storeRoom(const std::string& channel);
    void storeAuthor(const std::string& nick);
    void updateSession();
    void saveMark(CurrentLog& log);
    unsigned int roomId() const { return static_cast<unsigned int>(mRoom.target.id); }
    void begin();
    void commit();
    std::string committedText();

    Store& mStore;
    const ReplayOptions mOptions;
    ReplaySummary mSummary;
    CurrentRoom mRoom;
    std::set<std::string> mAuthors;  // of this run
    bool mInTransaction = false;
    std::uint64_t mEventsInTransaction = 0;
    std::uint64_t mStoredAtCommit = 0;
};

/// @throws ToolError when two of the channels stand for the same room
void requireDistinctRooms(const std::vector<LogFile>& files);

}  // namespace pelkotool

#endif  // PELKO_TOOL_LOG_REPLAY_H
