#include "tools/pelko/ReplayMarks.h"

#include <limits>

#include "tools/pelko/ChatLog.h"
#include "tools/pelko/Times.h"

namespace pelkotool {

using pelkoapi::PelkoDBManager;

namespace {

constexpr char contentSuffix[] = ":content";

std::string roomKey(unsigned int roomId) {
    return "replay:room:" + std::to_string(roomId);
}

std::string logKey(unsigned int roomId, long long day) {
    return roomKey(roomId) + ':' + dayText(day);
}

long long readMark(Store& store, const std::string& key) {
    return store.run("read the mark " + key, [&](PelkoDBManager& db) { return db.getLastMsgID(key); });
}

void writeMark(Store& store, const std::string& key, long long value) {
    store.run("store the mark " + key, [&](PelkoDBManager& db) { return db.updateLastMsgID(key, value); });
}

}  // namespace

LogMark readLogMark(Store& store, unsigned int roomId, long long day) {
    const std::string key = logKey(roomId, day);
    LogMark mark;
    mark.messageId = readMark(store, key);
    mark.fingerprint = mark.messageId == 0 ? 0 : readMark(store, key + contentSuffix);
    return mark;
}

void writeLogMark(Store& store, unsigned int roomId, long long day, const LogMark& mark) {
    const std::string key = logKey(roomId, day);
    writeMark(store, key + contentSuffix, mark.fingerprint);
    writeMark(store, key, mark.messageId);
    if (roomMark(store, roomId) < mark.messageId) {
        writeMark(store, roomKey(roomId), mark.messageId);
    }
}

long long roomMark(Store& store, unsigned int roomId) {
    return readMark(store, roomKey(roomId));
}

std::string roomMarkText(unsigned int roomId, long long mark) {
    const LinePlace place = placeOfMessageId(mark);
    return place.roomId == roomId ? dayText(place.day) + " line " + std::to_string(place.line)
                                  : "message " + std::to_string(mark);
}

void Fingerprint::add(std::string_view line) {
    const auto addByte = [this](unsigned char byte) { mHash = (mHash ^ byte) * 1099511628211ULL; };
    for (const char c : line) {
        addByte(static_cast<unsigned char>(c));
    }
    addByte('\n');
}

long long Fingerprint::value() const {
    // Sync marks begin at 1.
    const auto value = static_cast<long long>(mHash & std::numeric_limits<long long>::max());
    return value == 0 ? 1 : value;
}

}  // namespace pelkotool
