#include "bench/HandTuned.h"

#include <filesystem>

namespace pelkobench {

using namespace pelkoapi;

const char handTunedSchema[] = R"(
CREATE TABLE conversation (
    id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, peer TEXT NOT NULL, listed INTEGER NOT NULL DEFAULT 0,
    last_message INTEGER, pinned INTEGER NOT NULL DEFAULT 0, priority INTEGER NOT NULL DEFAULT 0,
    UNIQUE (kind, peer));
CREATE TABLE message (
    id INTEGER PRIMARY KEY, service_id INTEGER NOT NULL, conversation INTEGER NOT NULL, kind INTEGER NOT NULL,
    date INTEGER NOT NULL, type INTEGER NOT NULL, status INTEGER NOT NULL, sender TEXT NOT NULL, text TEXT,
    extra TEXT, media_type INTEGER, media_status INTEGER, media_url TEXT, media_path TEXT,
    media_path_ex TEXT, duration INTEGER);
CREATE UNIQUE INDEX message_service_id ON message (service_id) WHERE service_id != 0;
CREATE INDEX message_page ON message (conversation, date, service_id);
CREATE INDEX message_unread ON message (kind, conversation) WHERE status = 1;
CREATE INDEX message_sending ON message (id) WHERE status = 3;
CREATE INDEX message_transfer ON message (id) WHERE media_status IN (1, 3) AND type IN (1, 2);
CREATE TABLE user (
    name TEXT PRIMARY KEY, nickname TEXT, icon_url TEXT, icon_path TEXT, icon_path_ex TEXT, info TEXT,
    gender INTEGER, version INTEGER) WITHOUT ROWID;
CREATE TABLE friend (position INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE blocked (name TEXT PRIMARY KEY) WITHOUT ROWID;
CREATE TABLE chat_group (
    id INTEGER PRIMARY KEY, name TEXT, icon_url TEXT, icon_path TEXT, icon_path_ex TEXT, info TEXT,
    capacity INTEGER, type INTEGER, owner TEXT, version INTEGER, need_auth INTEGER);
CREATE TABLE membership (position INTEGER PRIMARY KEY, group_id INTEGER NOT NULL UNIQUE);
PRAGMA user_version = 1;
)";

namespace {

constexpr char insertSql[] =
    "INSERT INTO message (service_id, conversation, kind, date, type, status, sender, text, extra, "
    "media_type, "
    "media_status, media_url, media_path, media_path_ex, duration) "
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) "
    "ON CONFLICT (service_id) WHERE service_id != 0 DO NOTHING";

constexpr char latestSql[] =
    "SELECT * FROM message WHERE conversation = (SELECT id FROM conversation WHERE kind = ? AND peer = ?) "
    "ORDER BY date DESC, service_id DESC, id DESC LIMIT ?";

constexpr char beforeSql[] =
    "SELECT * FROM message WHERE conversation = (SELECT id FROM conversation WHERE kind = ? AND peer = ?) "
    "AND (date, service_id, id) < (SELECT date, service_id, id FROM message WHERE id = ?) "
    "ORDER BY date DESC, service_id DESC, id DESC LIMIT ?";

constexpr char unreadOfSql[] =
    "SELECT count(*) FROM message WHERE status = 1 AND kind = ?1 "
    "AND conversation = (SELECT id FROM conversation WHERE kind = ?1 AND peer = ?2)";

constexpr char clearUnreadSql[] =
    "UPDATE message SET status = 2 WHERE status = 1 AND kind = ?1 "
    "AND conversation = (SELECT id FROM conversation WHERE kind = ?1 AND peer = ?2)";

constexpr char sessionsSql[] =
    "SELECT c.kind, c.peer, c.pinned, c.priority, m.* FROM conversation c "
    "LEFT JOIN message m ON m.id = c.last_message WHERE c.listed";

constexpr char groupsSql[] =
    "SELECT l.group_id, g.* FROM membership l LEFT JOIN chat_group g ON g.id = l.group_id ORDER BY "
    "l.position";

constexpr char friendsSql[] =
    "SELECT f.name, u.*, b.name IS NOT NULL FROM friend f LEFT JOIN user u ON u.name = f.name "
    "LEFT JOIN blocked b ON b.name = f.name ORDER BY f.position";

std::string key(const PelkoChatTarget& target) {
    return target.type == PelkoChatTargetTypeUser ? target.name : std::to_string(target.id);
}

}  // namespace

HandTuned::HandTuned(const std::string& path)
    : mDb(path, Journal::writeAhead),
      mBegin(mDb, "BEGIN"),
      mCommit(mDb, "COMMIT"),
      mConversation(mDb, "SELECT id FROM conversation WHERE kind = ? AND peer = ?"),
      mInsert(mDb, insertSql),
      mSetLastMessage(mDb, "UPDATE conversation SET last_message = ? WHERE kind = ? AND peer = ?"),
      mSetStatus(mDb, "UPDATE message SET status = ? WHERE id = ?"),
      mIsKnown(mDb, "SELECT 1 FROM message WHERE service_id = ? AND service_id != 0"),
      mLatest(mDb, latestSql),
      mBefore(mDb, beforeSql),
      mUnreadOf(mDb, unreadOfSql),
      mUnreadOfKinds(mDb, "SELECT count(*) FROM message WHERE status = 1 AND kind IN (?, ?)"),
      mUnreadTotal(mDb, "SELECT count(*) FROM message WHERE status = 1"),
      mClearUnread(mDb, clearUnreadSql),
      mSessions(mDb, sessionsSql),
      mGroups(mDb, groupsSql),
      mFriends(mDb, friendsSql),
      mRemove(mDb, "DELETE FROM message WHERE id = ? RETURNING media_path, media_path_ex") {
}

long long HandTuned::conversation(const PelkoChatTarget& target) {
    return mConversation.with(target.type, key(target)).readNumber();
}

bool HandTuned::insert(const PelkoMessage& message, const PelkoChatTarget& target) {
    const PelkoMedia& media = message.media;
    return mInsert
               .with(message.id, conversation(target), target.type, static_cast<long long>(message.date),
                     message.type, message.status, message.sender.name, message.text, message.extraText,
                     media.type, media.status, media.url, media.path, media.pathEx,
                     static_cast<long long>(media.duration))
               .change() > 0;
}

bool HandTuned::setLastMessage(const PelkoChatTarget& target, long long message) {
    return mSetLastMessage.with(message, target.type, key(target)).change() > 0;
}

bool HandTuned::setStatus(long long message, int status) {
    return mSetStatus.with(status, message).change() > 0;
}

bool HandTuned::isKnown(long long serviceId) {
    return mIsKnown.with(serviceId).readNumber() != 0;
}

long long HandTuned::latest(const PelkoChatTarget& target, int count) {
    return mLatest.with(target.type, key(target), count).readAll();
}

long long HandTuned::before(const PelkoChatTarget& target, long long anchor, int count) {
    return mBefore.with(target.type, key(target), anchor, count).readAll();
}

long long HandTuned::unreadOf(const PelkoChatTarget& target) {
    return mUnreadOf.with(target.type, key(target)).readNumber();
}

long long HandTuned::unreadOfKinds(int kind, int otherKind) {
    return mUnreadOfKinds.with(kind, otherKind).readNumber();
}

long long HandTuned::unreadTotal() {
    return mUnreadTotal.readNumber();
}

long long HandTuned::clearUnread(const PelkoChatTarget& target) {
    return mClearUnread.with(target.type, key(target)).change();
}

long long HandTuned::sessions() {
    return mSessions.readAll();
}

long long HandTuned::groups() {
    return mGroups.readAll();
}

long long HandTuned::friends() {
    return mFriends.readAll();
}

long long HandTuned::remove(const std::vector<long long>& messages, const std::string& root) {
    long long removed = 0;
    begin();
    for (const long long message : messages) {
        mRemove.with(message);
        while (mRemove.step()) {
            ++removed;
            for (int column = 0; column < 2; ++column) {
                const auto* const path =
                    reinterpret_cast<const char*>(sqlite3_column_text(mRemove.handle(), column));
                if (path != nullptr && *path != '\0') {
                    std::error_code ignored;
                    std::filesystem::remove(root + '/' + path, ignored);
                }
            }
        }
        mRemove.reset();
    }
    commit();
    return removed;
}

Connection openHandTuned(const std::string& path) {
    Connection db(path, Journal::writeAhead);
    if (number(db, "PRAGMA user_version") != 1) {
        execute(db, handTunedSchema);
    }
    KeptStatement(db,
                  "SELECT id, type, media_path, media_path_ex FROM message "
                  "WHERE media_status IN (1, 3) AND type IN (1, 2)")
        .readAll();
    KeptStatement(db, "UPDATE message SET status = 5 WHERE status = 3").change();
    return db;
}

}  // namespace pelkobench
