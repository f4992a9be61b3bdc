#ifndef PELKO_TESTS_FUZZ_STORE_MODEL_H
#define PELKO_TESTS_FUZZ_STORE_MODEL_H

#include <deque>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "PelkoChatTarget.h"
#include "PelkoMessage.h"
#include "PelkoNotify.h"
#include "classes/storage/PelkoSession.h"
#include "classes/storage/PelkoTypes.h"
#include "tests/fuzz/StoreTables.h"

namespace pelkotest {

/// What the store promises, in plain containers and without any of its code: each operation of PelkoDBManager
/// under its name, with the result, the lists, the log lines and the removed files that the store must give.
/// It lives in the same test platform as the store.
///
/// Only the operations' contracts stand here, so it must never be mended to follow the store's code: where
/// the two differ, the contract tells which one is wrong.
class StoreModel {
public:
    using s64 = pelkoapi::s64;
    using uint = pelkoapi::uint;
    using Target = pelkoapi::PelkoChatTarget;
    using Names = std::vector<std::string>;

    /// The failures that the operations since the last clear() of it log: "NAME failed", "NAME not ready".
    std::vector<std::string> log;
    /// The paths of the files that they remove.
    std::vector<std::string> removed;

    /// A closed store over a file with these rows.
    explicit StoreModel(StoreTables tables) : mTables(std::move(tables)) {}
    const StoreTables& tables() const { return mTables; }
    bool isOpen() const { return mIsOpen; }

    bool setUp();
    void tearDown();
    bool beginTransaction();    ///< @throws std::logic_error within a transaction
    bool commiteTransaction();  ///< @throws std::logic_error outside of one
    std::string transStringQuote(const std::string& text) const;
    bool checkIfRecordExist(const char* table, const char* condition);
    int queryCount(const char* table, const char* condition);

    bool insertMessage(pelkoapi::PelkoMessage* message);
    bool updateMessage(const pelkoapi::PelkoMessage& message);
    uint saveMessageList(std::vector<pelkoapi::PelkoMessage>& messages);
    pelkoapi::PelkoMessage getMessage(s64 dbID);
    pelkoapi::PelkoMessage getReceivedMessage(s64 msgID);
    bool ifMsgIDExist(s64 msgID);
    bool updateMessageStatus(s64 dbID, pelkoapi::PelkoMessageStatus status);
    bool updateMessageMediaStatus(s64 dbID, pelkoapi::PelkoMediaStatus status);

    bool getLatestMessages(const Target& target, uint count, std::deque<pelkoapi::PelkoMessage>& messages);
    bool getHistoryMessages(const Target& target, s64 dbID, uint count,
                            std::deque<pelkoapi::PelkoMessage>& messages);
    bool clearUnreadStatus(const Target& target);
    uint getUnreadCountOfTarget(const Target& target);
    uint getUnreadCountOfTypes(std::vector<pelkoapi::PelkoChatTargetType>& types);
    uint getTotalUnreadCount();
    bool deleteMessages(std::vector<s64>& dbIDs);
    bool clearMessages(const Target& target);

    bool loadSessionList(std::list<pelkoapi::PelkoSession>& sessions);
    bool insertNewSession(const pelkoapi::PelkoSession& session);
    bool deleteSession(const Target& target);
    bool markSessionIsTop(const Target& target, bool isTop, int priority);
    bool updateSessionLastMsg(const Target& target, s64 msgID);

    bool addFriend(std::string& name) { return addRelationship(name, Friend); }
    bool deleteFriend(std::string& name) { return removeRelationship(name, Friend); }
    bool isFriend(std::string& name) { return hasRelationship(name, Friend); }
    bool clearFriendList() { return removeRelationships(Friend); }
    Names getFriendUsernames() { return relationUsernames(Friend); }
    uint saveFriendList(Names& names) { return saveRelationships("saveFriendList", names, Friend); }
    bool replaceFriendList(Names& names);
    bool blockUser(std::string& name) { return addRelationship(name, Blocked); }
    bool unblockUser(std::string& name) { return removeRelationship(name, Blocked); }
    bool isBlocked(std::string& name) { return hasRelationship(name, Blocked); }
    bool clearBlockList() { return removeRelationships(Blocked); }
    Names getBlockUsernames() { return relationUsernames(Blocked); }
    uint saveBlockList(Names& names) { return saveRelationships("saveBlockList", names, Blocked); }
    bool replaceBlockList(Names& names);

    pelkoapi::PelkoUser getBaseUserInfo(std::string& name);
    pelkoapi::PelkoUser getUserInfo(std::string name);
    bool getFriendList(std::vector<pelkoapi::PelkoUser>& users);
    bool getBlockList(std::vector<pelkoapi::PelkoUser>& users);
    bool insertOrUpdateUser(pelkoapi::PelkoUser& user, uint version);
    bool userExist(std::string& name);
    bool deleteUser(std::string& name);

    bool insertOrUpdateRoom(pelkoapi::PelkoRoom* room, uint version);
    bool roomExist(s64 roomID);
    pelkoapi::PelkoRoom getRoomInfo(s64 roomID);
    bool deleteRoom(s64 roomID);
    bool getRoomList(std::vector<pelkoapi::PelkoRoom>& list);
    bool clearRoomList();

    bool insertOrUpdateGroup(pelkoapi::PelkoGroup* group, uint version);
    bool groupExist(s64 groupID);
    pelkoapi::PelkoGroup getGroupInfo(s64 groupID);
    uint getTargetInfoVersion(const Target& target);
    bool deleteGroup(s64 groupID);
    bool getGroupList(std::vector<pelkoapi::PelkoGroup>& list);
    bool joinGroup(s64 groupID);
    uint saveGroupList(std::vector<long long>& groupIDs);
    bool replaceGroupList(std::vector<long long>& groupIDs);
    bool clearGroupList();
    bool isInGroup(s64 groupID);
    bool quitGroup(s64 groupID);

    bool insertNotify(pelkoapi::PelkoNotify* notify);
    bool loadNotifyList(std::vector<pelkoapi::PelkoNotify>& notifyList);
    bool deleteNotifys(const std::vector<long>& dbIDs);
    uint getUnreadNotifyCount();
    bool markNotifyIsRead(long dbID, bool isRead);
    bool clearNotifyUnreadStatus();
    pelkoapi::PelkoNotify getNottify(long dbID);

    s64 getLastMsgID(const std::string& key);
    bool updateLastMsgID(const std::string& key, s64 msgId);
    int getMsgConfig(const Target& target);
    bool setMsgConfig(const Target& target, int config);

private:
    enum Relation : int { Friend = 0, Blocked = 1 };

    bool ready(const char* operation);
    /// Logs the failure. @return false
    bool failed(const char* operation);
    /// Notes how many rows a writing statement changed. @return whether it was any
    bool changed(std::size_t rows);
    /// Notes that a key of the table refused a row. @return as failed()
    bool refused(const char* operation);
    void repairInterrupted();

    bool conversationFails(const Target& target) const;
    bool inConversation(const MessageRow& row, const Target& target) const;
    bool readPage(const char* operation, const Target& target, const MessageRow* anchor, uint count,
                  std::deque<pelkoapi::PelkoMessage>& messages);
    void removeFiles(const MessageRow& row);
    SessionRow* sessionOf(const Target& target);

    bool addRelationship(const std::string& name, Relation relation);
    bool removeRelationship(const std::string& name, Relation relation);
    bool removeRelationships(Relation relation);
    bool hasRelationship(const std::string& name, Relation relation);
    Names relationUsernames(Relation relation);
    uint saveRelationships(const char* operation, const Names& names, Relation relation);
    void listUsers(Relation relation, std::vector<pelkoapi::PelkoUser>& users);

    StoreTables mTables;
    std::optional<StoreTables> mBeforeTransaction;
    bool mIsOpen = false;
    std::size_t mLastChanges =
        0;  // of the connection's last writing statement, which a transaction's begin tells
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_STORE_MODEL_H
