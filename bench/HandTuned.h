#ifndef PELKO_BENCH_HAND_TUNED_H
#define PELKO_BENCH_HAND_TUNED_H

#include <string>
#include <vector>

#include "PelkoChatTarget.h"
#include "PelkoMessage.h"
#include "bench/Sqlite.h"

namespace pelkobench {

/// The tables of HandTuned.
extern const char handTunedSchema[];

/// What one would write for the benchmark's operations alone, from scratch: conversations with an integer
/// key, an index for each question, statements that are prepared once and get their values bound. Values are
/// fetched, records are not built.
class HandTuned {
public:
    explicit HandTuned(const std::string& path);

    sqlite3* handle() const { return mDb; }

    bool begin() { return mBegin.change() >= 0; }
    bool commit() { return mCommit.change() >= 0; }

    /// The conversation's key.
    long long conversation(const pelkoapi::PelkoChatTarget& target);

    /// @return whether the message is new
    bool insert(const pelkoapi::PelkoMessage& message, const pelkoapi::PelkoChatTarget& target);
    bool setLastMessage(const pelkoapi::PelkoChatTarget& target, long long message);
    long long lastInsertedRow() const { return sqlite3_last_insert_rowid(mDb); }
    bool setStatus(long long message, int status);
    bool isKnown(long long serviceId);

    long long latest(const pelkoapi::PelkoChatTarget& target, int count);
    long long before(const pelkoapi::PelkoChatTarget& target, long long anchor, int count);

    long long unreadOf(const pelkoapi::PelkoChatTarget& target);
    long long unreadOfKinds(int kind, int otherKind);
    long long unreadTotal();
    long long clearUnread(const pelkoapi::PelkoChatTarget& target);

    long long sessions();
    long long groups();
    long long friends();

    /// Removes the rows in one transaction, and the files that they name under the root.
    long long remove(const std::vector<long long>& messages, const std::string& root);

private:
    Connection mDb;
    KeptStatement mBegin;
    KeptStatement mCommit;
    KeptStatement mConversation;
    KeptStatement mInsert;
    KeptStatement mSetLastMessage;
    KeptStatement mSetStatus;
    KeptStatement mIsKnown;
    KeptStatement mLatest;
    KeptStatement mBefore;
    KeptStatement mUnreadOf;
    KeptStatement mUnreadOfKinds;
    KeptStatement mUnreadTotal;
    KeptStatement mClearUnread;
    KeptStatement mSessions;
    KeptStatement mGroups;
    KeptStatement mFriends;
    KeptStatement mRemove;
};

/// Opens the file as a start of the client does: settings, schema version, and the states that an interrupted
/// run left behind.
Connection openHandTuned(const std::string& path);

}  // namespace pelkobench

#endif  // PELKO_BENCH_HAND_TUNED_H
