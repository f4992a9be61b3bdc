#include "tools/pelko/LogReplay.h"

#include <map>

#include "tools/pelko/Interrupt.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoMessage;
using pelkoapi::PelkoSession;

namespace {

constexpr long long secondsPerDay = 24 * 60 * 60;

PelkoChatTarget roomOf(const std::string& channel) {
    return {roomIdOfChannel(channel), pelkoapi::PelkoChatTargetTypeRoom};
}

std::string placeOf(const LogFile& file, std::size_t lineNumber) {
    return file.path.string() + " line " + std::to_string(lineNumber);
}

}  // namespace

void requireDistinctRooms(const std::vector<LogFile>& files) {
    std::map<unsigned int, std::string> channels;
    for (const LogFile& file : files) {
        const auto [known, isNew] = channels.emplace(roomIdOfChannel(file.channel), file.channel);
        if (!isNew && known->second != file.channel) {
            throw ToolError("the channels '" + known->second + "' and '" + file.channel +
                            "' would both be room:" + std::to_string(known->first) +
                            "; rename the folder of one of them");
        }
    }
}

LogReplay::LogReplay(Store& store, std::uint64_t batch) : mStore(store), mBatch(batch) {
}

ReplaySummary LogReplay::play(const std::vector<LogFile>& files, ProgressBar& progress) {
    mSummary = {};
    mStoredAtCommit = 0;
    try {
        playAll(files, progress);
        commit();
    } catch (const ToolError& error) {
        throw ToolError(std::string(error.what()) + "; " + committedText());
    }
    return mSummary;
}

void LogReplay::playAll(const std::vector<LogFile>& files, ProgressBar& progress) {
    std::uintmax_t bytesBefore = 0;
    for (const LogFile& file : files) {
        if (mSummary.rooms.empty() || mSummary.rooms.back().channel != file.channel) {
            enterRoom(file);
        }
        playFile(file, bytesBefore, progress);
        if (mSummary.interrupted) {
            return;
        }
        bytesBefore += file.size;
        ++mSummary.files;
    }
}

void LogReplay::enterRoom(const LogFile& file) {
    mRoom = {};
    mRoom.target = roomOf(file.channel);
    for (const PelkoSession& session : mStore.sessions()) {
        if (session.target == mRoom.target) {
            mRoom.hasSession = true;
            mRoom.sessionsLastMsg = session.lastMsg.dbID;
        }
    }
    mRoom.newest = mStore.newestMessage(mRoom.target);

    ReplaySummary::Room room;
    room.target = mRoom.target;
    room.channel = file.channel;
    mSummary.rooms.push_back(std::move(room));
}

void LogReplay::playFile(const LogFile& file, std::uintmax_t bytesBefore, ProgressBar& progress) {
    const std::string content = readFile(file.path);
    const std::vector<std::string_view> lines = splitLines(content);
    if (lines.size() > mostLines) {
        throw ToolError(file.path.string() + " has " + std::to_string(lines.size()) +
                        " lines; a log may have at most " + std::to_string(mostLines));
    }
    const std::string label = file.channel + '/' + file.path.filename().string();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (interrupted()) {
            mSummary.interrupted = true;
            return;
        }
        progress.show(bytesBefore + static_cast<std::uintmax_t>(lines[i].data() - content.data()), label);
        const LogLine line = parseLogLine(lines[i]);
        switch (line.kind) {
            case LogLine::Kind::message:
                playMessage(file, line, i + 1);
                break;
            case LogLine::Kind::notice:
                ++mSummary.notices;
                break;
            case LogLine::Kind::unknown:
                if (mSummary.unknownLines++ == 0) {
                    mSummary.firstUnknownLine = placeOf(file, i + 1);
                }
                break;
        }
    }
}

void LogReplay::playMessage(const LogFile& file, const LogLine& line, std::size_t lineNumber) {
    begin();
    PelkoMessage message =
        PelkoMessage::createTextMessage(PelkoChatTarget(line.nick), mRoom.target, line.text);
    message.id = messageIdOfLine(static_cast<unsigned int>(mRoom.target.id), file.day, lineNumber);
    message.date = static_cast<unsigned int>(file.day * secondsPerDay) + line.minute * 60;
    message.status = pelkoapi::PelkoMessageStatusUnread;

    const std::string doing = "store " + placeOf(file, lineNumber);
    const bool taken = mStore.run(doing, [&](PelkoDBManager& db) { return db.insertMessage(&message); });
    if (!taken) {
        throw ToolError("cannot " + doing + ": the store changed no row");
    }
    // A known message is taken too, but gets no row id.
    const bool isNew = message.dbID != 0;
    ++(isNew ? mSummary.stored : mSummary.known);
    ++(isNew ? mSummary.rooms.back().stored : mSummary.rooms.back().known);
    if (isNew && (mRoom.newest.dbID == 0 || mRoom.newest < message)) {
        mRoom.newest = std::move(message);
    }
    updateSession();

    if (++mEventsInTransaction >= mBatch) {
        commit();
    }
}

void LogReplay::updateSession() {
    if (!mRoom.hasSession) {
        mStore.addSession(mRoom.target);
        mRoom.hasSession = true;
    }
    // Also when nothing is new: a run that was killed may have left the session behind.
    if (mRoom.sessionsLastMsg != mRoom.newest.dbID) {
        mStore.run("update the session of the room", [&](PelkoDBManager& db) {
            return db.updateSessionLastMsg(mRoom.target, mRoom.newest.dbID);
        });
        mRoom.sessionsLastMsg = mRoom.newest.dbID;
    }
}

void LogReplay::begin() {
    if (mBatch <= 1 || mInTransaction) {
        return;
    }
    // What it returns says nothing about the BEGIN; a failure comes as an exception.
    mStore.run("begin a transaction", [](PelkoDBManager& db) { db.beginTransaction(); });
    mInTransaction = true;
}

void LogReplay::commit() {
    mEventsInTransaction = 0;
    if (mInTransaction) {
        const auto pending = static_cast<long long>(mSummary.stored - mStoredAtCommit);
        mStore.run("store the last " + counted(pending, "message"),
                   [](PelkoDBManager& db) { db.commiteTransaction(); });
        mInTransaction = false;
    }
    mStoredAtCommit = mSummary.stored;
}

/// Commits what can be committed after a failure. @return what has been stored of this replay
std::string LogReplay::committedText() {
    try {
        commit();
    } catch (const ToolError&) {
        // The failure that led here has undone the transaction already, or made its end impossible.
    }
    return counted(static_cast<long long>(mStoredAtCommit), "message before it is stored",
                   "messages before it are stored");
}

}  // namespace pelkotool
