#ifndef PELKO_BENCH_DATASET_H
#define PELKO_BENCH_DATASET_H

#include <string>
#include <unordered_set>
#include <vector>

#include "PelkoMessage.h"

// What the benchmark's files hold. Everything follows from the number of messages and fixed seeds: two runs
// have the same rows.

namespace pelkobench {

constexpr char loggedInUser[] = "me";
constexpr int peerCount = 2000;
constexpr int roomCount = 200;  ///< rooms and groups with messages, half of each
constexpr int sessionCount = 2000;
constexpr int groupCount = 500;
constexpr int friendCount = 5000;
constexpr int blockedCount = 20;
constexpr int quietMessages = 100;  ///< messages of the quiet conversation, at every size
constexpr int pageSize = 20;

// Unread messages are the newest incoming ones. Their number depends on the reader, not on the file, and is
// the same at every size, so that growth shows the file's part alone.
constexpr int unreadCount = 500;
constexpr int unreadOfBusiest = 25;
constexpr int unreadOfRoom = 35;
constexpr int unreadOfQuiet = 3;

/// The account name of a user; the first ones are the peers, the busiest first.
std::string userName(int index);
long long groupId(int index);

/// The messages of one size, numbered from 1 as their row ids are, and the places in them that the
/// operations work on.
class Dataset {
public:
    explicit Dataset(int rows);

    int rows() const { return mRows; }

    /// The message of that row: 60 % one-to-one over the peers and 40 % in rooms and groups, both skewed by a
    /// cube law.
    pelkoapi::PelkoMessage messageOf(int row) const;
    /// The peer of that row's conversation.
    pelkoapi::PelkoChatTarget conversationOf(int row) const;
    /// An incoming message after the last row, numbered from 0, to a conversation that has a session.
    pelkoapi::PelkoMessage event(int index) const;

    /// The conversations that have a session: all rooms and groups, then the busiest peers.
    static std::vector<pelkoapi::PelkoChatTarget> sessions();

    static pelkoapi::PelkoChatTarget busiestRoom();
    static pelkoapi::PelkoChatTarget busiestGroup();
    static pelkoapi::PelkoChatTarget busiestPeer();
    static pelkoapi::PelkoChatTarget quietPeer();

    /// The row ids of a conversation's messages, ascending.
    std::vector<long long> rowsOf(const pelkoapi::PelkoChatTarget& wanted) const;
    /// The row ids of the newest messages that the logged-in user sent, the newest first.
    std::vector<long long> newestOutgoing(int count) const;
    std::vector<long long> unreadRowsOf(const pelkoapi::PelkoChatTarget& wanted) const;
    /// Unread messages in rooms and groups.
    int unreadInRooms() const;

private:
    int conversationIndex(int row) const;
    bool isOutgoing(int row) const;
    void chooseUnread();

    int mRows;
    std::unordered_set<int> mUnread;
};

}  // namespace pelkobench

#endif  // PELKO_BENCH_DATASET_H
