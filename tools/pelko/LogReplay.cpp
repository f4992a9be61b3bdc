#include "tools/pelko/LogReplay.h"

#include <map>

#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Details.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

using pelkoapi::interrupted;
using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoMessage;
using pelkoapi::PelkoRoom;
using pelkoapi::PelkoSession;
using pelkoapi::PelkoUser;
using pelkoapi::utf8Of;

namespace {

PelkoChatTarget roomOf(const std::string& channel) {
    return {roomIdOfChannel(channel), pelkoapi::PelkoChatTargetTypeRoom};
}

std::string placeOf(const LogFile& file, std::size_t lineNumber) {
    return utf8Of(file.path) + " line " + std::to_string(lineNumber);
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

LogReplay::LogReplay(Store& store, const ReplayOptions& options) : mStore(store), mOptions(options) {
}

ReplaySummary LogReplay::play(const std::vector<LogFile>& files, ProgressBar& progress) {
    mSummary = {};
    mStoredAtCommit = 0;
    requireChannelsRooms(files);
    try {
        playAll(files, progress);
        commit();
    } catch (const ToolError& error) {
        throw ToolError(std::string(error.what()) + "; " + committedText());
    }
    return mSummary;
}

/// A room's number follows from its channel's name, so two channels of different runs can meet in one room,
/// too.
void LogReplay::requireChannelsRooms(const std::vector<LogFile>& files) {
    std::set<std::string> channels;
    for (const LogFile& file : files) {
        if (!channels.insert(file.channel).second) {
            continue;
        }
        const PelkoChatTarget room = roomOf(file.channel);
        const std::string name = storedName(mStore, room);
        if (!name.empty() && name != file.channel) {
            const std::string target = targetText(room);
            throw ToolError("the channel '" + file.channel + "' would be " + target +
                            ", which is stored as '" + name +
                            "'; rename the channel's folder, or, if they are the same, 'pelko rooms add " +
                            target + " --name " + file.channel + "'");
        }
    }
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
    storeRoom(file.channel);
}

/// Keeps what else is stored of the room, its version included.
void LogReplay::storeRoom(const std::string& channel) {
    const std::string doing = "store " + targetText(mRoom.target);
    const unsigned int version = storedVersion(mStore, mRoom.target);
    PelkoRoom room = mStore.run(doing, [&](PelkoDBManager& db) { return db.getRoomInfo(mRoom.target.id); });
    if (version != 0 && room.name == channel) {
        return;
    }
    room.name = channel;
    begin();
    if (!mStore.run(doing, [&](PelkoDBManager& db) {
            return db.insertOrUpdateRoom(&room, version == 0 ? 1 : version);
        })) {
        throw ToolError("cannot " + doing + ": the store changed no row");
    }
}

LogReplay::CurrentLog::CurrentLog(const LogFile& logFile)
    : file(logFile), content(readFile(logFile.path)), lines(splitLines(content)) {
    if (lines.size() > mostLines) {
        throw ToolError(utf8Of(file.path) + " has " + std::to_string(lines.size()) +
                        " lines; a log may have at most " + std::to_string(mostLines));
    }
}

long long LogReplay::CurrentLog::fingerprintThrough(std::size_t lineNumber) {
    if (lineNumber < mFingerprinted) {
        mFingerprint = {};
        mFingerprinted = 0;
    }
    while (mFingerprinted < lineNumber) {
        mFingerprint.add(lines[mFingerprinted++]);
    }
    return mFingerprint.value();
}

void LogReplay::playFile(const LogFile& file, std::uintmax_t bytesBefore, ProgressBar& progress) {
    CurrentLog log(file);
    const std::string label = file.channel + '/' + utf8Of(file.path.filename());
    progress.show(bytesBefore, label);
    for (std::size_t i = passOver(log); i < log.lines.size(); ++i) {
        if (interrupted()) {
            mSummary.interrupted = true;
            break;
        }
        progress.show(bytesBefore + static_cast<std::uintmax_t>(log.lines[i].data() - log.content.data()),
                      label);
        playLine(log, i + 1);
    }
    saveMark(log);
}

/// @return how many lines need not be played, because they were before and the log has only grown since
std::size_t LogReplay::passOver(CurrentLog& log) {
    const LogMark mark = readLogMark(mStore, roomId(), log.file.day);
    if (mark.messageId == 0) {
        return 0;
    }
    const std::size_t line = placeOfMessageId(mark.messageId).line;
    log.changed = line > log.lines.size() || log.fingerprintThrough(line) != mark.fingerprint;
    if (log.changed && mSummary.changedLogs++ == 0) {
        mSummary.firstChangedLog = utf8Of(log.file.path);
    }
    if (log.changed || mOptions.all) {
        return 0;
    }
    mSummary.passedOver += line;
    mSummary.rooms.back().passedOver += line;
    if (mRoom.newest.dbID != 0) {
        updateSession();
    }
    return line;
}

void LogReplay::playLine(CurrentLog& log, std::size_t lineNumber) {
    const LogLine line = parseLogLine(log.lines[lineNumber - 1]);
    switch (line.kind) {
        case LogLine::Kind::message:
            playMessage(log, line, lineNumber);
            break;
        case LogLine::Kind::notice:
            ++mSummary.notices;
            break;
        case LogLine::Kind::unknown:
            if (mSummary.unknownLines++ == 0) {
                mSummary.firstUnknownLine = placeOf(log.file, lineNumber);
            }
            break;
    }
}

void LogReplay::playMessage(CurrentLog& log, const LogLine& line, std::size_t lineNumber) {
    begin();
    PelkoMessage message =
        PelkoMessage::createTextMessage(PelkoChatTarget(line.nick), mRoom.target, line.text);
    message.id = messageIdOfLine(roomId(), log.file.day, lineNumber);
    message.date = static_cast<unsigned int>(log.file.day * secondsPerDay) + line.minute * 60;
    message.status = pelkoapi::PelkoMessageStatusUnread;

    const std::string doing = "store " + placeOf(log.file, lineNumber);
    const bool taken = mStore.run(doing, [&](PelkoDBManager& db) { return db.insertMessage(&message); });
    if (!taken) {
        throw ToolError("cannot " + doing + ": the store changed no row");
    }
    storeAuthor(line.nick);
    // A known message is taken too, but gets no row id.
    const bool isNew = message.dbID != 0;
    ++(isNew ? mSummary.stored : mSummary.known);
    ++(isNew ? mSummary.rooms.back().stored : mSummary.rooms.back().known);
    if (!isNew && log.changed) {
        compareWithStored(log, message, lineNumber);
    }
    if (isNew && (mRoom.newest.dbID == 0 || mRoom.newest < message)) {
        mRoom.newest = std::move(message);
    }
    updateSession();
    log.unmarkedLine = lineNumber;

    if (++mEventsInTransaction >= mOptions.batch) {
        // Without transactions the mark is written when the log ends: one that lags behind loses nothing.
        if (mInTransaction) {
            saveMark(log);
        }
        commit();
    }
}

/// The store never changes the words of a known message: tells when the log has others.
void LogReplay::compareWithStored(const CurrentLog& log, const PelkoMessage& message,
                                  std::size_t lineNumber) {
    const PelkoMessage stored =
        mStore.run("read what is stored of " + placeOf(log.file, lineNumber),
                   [&](PelkoDBManager& db) { return db.getReceivedMessage(message.id); });
    const bool same = stored.dbID == 0 || (stored.text == message.text && stored.date == message.date &&
                                           stored.sender == message.sender);
    if (!same && mSummary.differingLines++ == 0) {
        mSummary.firstDifferingLine = placeOf(log.file, lineNumber);
    }
}

/// Stores the author's profile, unless there is one: it may say more than a log does.
void LogReplay::storeAuthor(const std::string& nick) {
    if (!mAuthors.insert(nick).second) {
        return;
    }
    if (hasQuote(nick)) {
        ++mSummary.withoutProfile;
        return;
    }
    const std::string doing = "store the profile of '" + nick + "'";
    PelkoUser author(nick);
    if (mStore.run(doing, [&](PelkoDBManager& db) { return db.userExist(author.name); })) {
        return;
    }
    author.nickname = nick;
    author.gender = pelkoapi::PelkoUserGenderNotSet;
    // Version 0: a log does not tell the full profile.
    if (!mStore.run(doing, [&](PelkoDBManager& db) { return db.insertOrUpdateUser(author, 0); })) {
        throw ToolError("cannot " + doing + ": the store changed no row");
    }
    ++mSummary.profiles;
}

/// Part of the transaction that holds the lines for which the mark stands.
void LogReplay::saveMark(CurrentLog& log) {
    if (log.unmarkedLine == 0) {
        return;
    }
    LogMark mark;
    mark.messageId = messageIdOfLine(roomId(), log.file.day, log.unmarkedLine);
    mark.fingerprint = log.fingerprintThrough(log.unmarkedLine);
    writeLogMark(mStore, roomId(), log.file.day, mark);
    log.unmarkedLine = 0;
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
    if (mOptions.batch <= 1 || mInTransaction) {
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

/// Commits what can be committed after a failure, without a mark for it: the failure may have undone it.
/// @return what has been stored of this replay
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
