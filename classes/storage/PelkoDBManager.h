#ifndef PELKO_STORAGE_PELKO_DB_MANAGER_H
#define PELKO_STORAGE_PELKO_DB_MANAGER_H

#include <deque>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "PelkoChatTarget.h"
#include "PelkoMessage.h"
#include "PelkoNotify.h"
#include "classes/sqlite/CppSQLite3.h"
#include "classes/storage/PelkoSession.h"
#include "classes/storage/PelkoTypes.h"

namespace pelkoapi {

/// The store of one account: the single owner of its db.dat.
///
/// Call getInstance(), then setUp() once the logged-in user's data root is known, then any operation, and
/// tearDown() when the file is to be closed. Everything runs on the caller's thread; callers serialise.
///
/// What holds for every operation that says nothing else:
/// - While no database is open it logs "db is not ready(…)" and returns its neutral result.
/// - On a database error it logs "… failed, exception in (…)" with its own name, returns its neutral result.
///   Other exceptions (std::bad_alloc, std::length_error for a statement beyond 2 GB) pass on.
/// - Operations that are made of others log under the names of those: the lists of friends and blocked users
///   under addRelationship, removeRelationship, hasRelationship and getRelationUsernames; userExist,
///   roomExist and groupExist under checkIfRecordExist. That one and queryCount make no readiness check:
///   while no database is open they fail as on a database error.
/// - The neutral result is false, 0, a default record, or the caller's list as it stands.
/// - A write reports whether at least one row changed.
/// - List readers add to the caller's list and do not clear it.
/// - No operation opens a transaction; bulk saves are as many single writes.
/// - A string is stored up to its first NUL byte.
class PelkoDBManager {
public:
    // ---- lifecycle: PelkoDBManager.cpp

    /// The one manager, made at the first call and never destroyed by the library.
    static PelkoDBManager* getInstance();

    PelkoDBManager(const PelkoDBManager&) = delete;
    PelkoDBManager& operator=(const PelkoDBManager&) = delete;
    virtual ~PelkoDBManager();

    /// Opens "db.dat" in the logged-in user's data root, makes missing tables and indexes and repairs states
    /// that a previous run left behind. An open database is closed first, with a log line. The logged-in
    /// user's name is to be set before. The first opening of a large file without indexes takes seconds.
    /// @return false, logged, when the file cannot be opened or is no database; the manager is then closed
    bool setUp();

    /// Closes the database; nothing happens when none is open.
    void tearDown();

    /// Runs "BEGIN TRANSACTION;".
    /// @return whether SQLite's change count, which a BEGIN does not touch, is non-zero: false says only that
    ///         no row has been changed by the statement before
    /// @throws CppSQLite3Exception when the statement fails, as within a transaction
    bool beginTransaction();

    /// Runs "COMMIT TRANSACTION;". Result and exceptions as beginTransaction(); there is no rollback.
    bool commiteTransaction();

    /// The text with every single quote doubled, for a place between single quotes of a statement.
    std::string transStringQuote(const std::string& text) const;

    /// Whether any row of the table meets the WHERE condition. Both enter the statement as they are.
    bool checkIfRecordExist(const char* table, const char* condition);

    /// How many rows of the table meet the WHERE condition. Both enter the statement as they are.
    int queryCount(const char* table, const char* condition);

    // ---- messages: Messages.cpp

    /// Stores the message and writes its new row id to `dbID`. When its service id (not 0) is stored already,
    /// it is passed to updateMessage() instead and `dbID` is left alone.
    /// @return true when stored or known; whether the update of a known one changed anything is not told
    bool insertMessage(PelkoMessage* message);

    /// Writes the service id, date, paths, url, states and extra text of the row that `dbID` names. Kind,
    /// text, media kind, duration and parties are fixed at insertion.
    bool updateMessage(const PelkoMessage& message);

    /// insertMessage() for each. @return how many of them reported true
    uint saveMessageList(std::vector<PelkoMessage>& messages);

    /// The message of that row id; a default message when there is none.
    PelkoMessage getMessage(s64 dbID);

    /// The message of that service id if it is unread, read or sent; otherwise a default message.
    PelkoMessage getReceivedMessage(s64 msgID);

    /// Whether a message of that service id is stored; false for ids below 1.
    bool ifMsgIDExist(s64 msgID);

    bool updateMessageStatus(s64 dbID, PelkoMessageStatus status);
    bool updateMessageMediaStatus(s64 dbID, PelkoMediaStatus mediaStatus);

    // ---- conversations: Conversations.cpp

    /// Puts the newest messages of the conversation, oldest first, in front of what `messages` holds.
    /// @param count  at most so many; 0 returns false
    /// @return true also when there are none
    bool getLatestMessages(const PelkoChatTarget& target, uint count, std::deque<PelkoMessage>& messages);

    /// The same for the messages that are not later, by date alone, than the one with row id `dbID`; that one
    /// itself is left out.
    /// @param dbID  row id of the anchor; below 1 returns false, an unknown one finds no messages
    bool getHistoryMessages(const PelkoChatTarget& target, s64 dbID, uint count,
                            std::deque<PelkoMessage>& messages);

    /// Marks the unread messages of the conversation read. @return true when the statement ran
    bool clearUnreadStatus(const PelkoChatTarget& target);

    uint getUnreadCountOfTarget(const PelkoChatTarget& target);

    /// The unread messages whose receiver is of one of these kinds; 0 for an empty list.
    uint getUnreadCountOfTypes(std::vector<PelkoChatTargetType>& types);

    uint getTotalUnreadCount();

    // ---- message deletion: MessageDeletion.cpp

    /// Removes the files of these messages' rows, then the rows. Both files of the attachment and the extra
    /// text are taken for files; FileUtil::remove ignores what is none.
    /// @param dbIDs  row ids; an empty list returns false
    bool deleteMessages(std::vector<s64>& dbIDs);

    /// The same for a whole conversation. @return true when the rows' statement ran, whatever it deleted
    bool clearMessages(const PelkoChatTarget& target);

    // ---- sessions: Sessions.cpp

    /// Adds the stored sessions, in the database's own order, to the end of the list: `isTop`, `priority`,
    /// `target` and, looked up by the low 32 bits of its stored row id, `lastMsg`.
    bool loadSessionList(std::list<PelkoSession>& sessions);

    /// Inserts the session's row; false when the target has one. The pin flag and the last message's row id
    /// change places in the new row, a lasting property of the format: insert a session without either, then
    /// call markSessionIsTop() and updateSessionLastMsg(), which write the right columns.
    bool insertNewSession(const PelkoSession& session);

    /// Deletes the session's row; its messages stay.
    bool deleteSession(const PelkoChatTarget& target);

    /// Sets pinning and priority of an existing session.
    bool markSessionIsTop(const PelkoChatTarget& target, bool isTop, int priority);

    /// Sets the last message of an existing session. @param msgID  the message's row id (`dbID`)
    bool updateSessionLastMsg(const PelkoChatTarget& target, s64 msgID);

    // ---- friends and blocked users: Relationships.cpp

    // A user can be both. Adding a name that is on the list reports false. Lists come in the order in which
    // names were added. A name with a single quote can be added and removed, but is never found: isFriend()
    // and isBlocked() log a failure and report false, and adding it twice stores it twice.

    bool addFriend(std::string& name);
    bool deleteFriend(std::string& name);
    bool isFriend(std::string& name);
    bool clearFriendList();
    std::vector<std::string> getFriendUsernames();
    /// addFriend() for each. @return how many names are new
    uint saveFriendList(std::vector<std::string>& names);
    /// Clears the list, then saves these. @return whether any name was stored; false for an empty list
    bool replaceFriendList(std::vector<std::string>& names);

    bool blockUser(std::string& name);
    bool unblockUser(std::string& name);
    bool isBlocked(std::string& name);
    bool clearBlockList();
    std::vector<std::string> getBlockUsernames();
    /// blockUser() for each. @return how many names are new
    uint saveBlockList(std::vector<std::string>& names);
    /// Clears the list, then saves these. @return whether any name was stored; false for an empty list
    bool replaceBlockList(std::vector<std::string>& names);

    // ---- user profiles: Users.cpp

    /// The cached profile, without the relation flags; a record with only the name when there is none.
    PelkoUser getBaseUserInfo(std::string& name);

    /// The cached profile with both relation flags.
    PelkoUser getUserInfo(std::string name);

    /// Replaces the caller's list (it is cleared) by the friends, in the order in which they were added, with
    /// both relation flags. @return false only when the database is not ready
    bool getFriendList(std::vector<PelkoUser>& users);
    /// The same for the blocked users.
    bool getBlockList(std::vector<PelkoUser>& users);

    /// Stores the profile under the user's name. @param version  the profile's version, written as it is: an
    /// older one replaces a newer one, and 0 means that the profile is not complete
    bool insertOrUpdateUser(PelkoUser& user, uint version);

    bool userExist(std::string& name);

    /// Deletes the profile; the name stays on the friend and block lists.
    bool deleteUser(std::string& name);

    // ---- rooms: Rooms.cpp

    /// Stores the room under its id. @param version  as in insertOrUpdateUser()
    bool insertOrUpdateRoom(PelkoRoom* room, uint version);

    bool roomExist(s64 roomID);

    /// The cached room; one with only the id when there is none. Its id is cut to 32 bits.
    PelkoRoom getRoomInfo(s64 roomID);

    bool deleteRoom(s64 roomID);

    /// Adds the cached rooms in ascending order of their ids (which are row ids), cut to 32 bits.
    bool getRoomList(std::vector<PelkoRoom>& list);

    /// Deletes all cached rooms. @return false also when there were none
    bool clearRoomList();

    // ---- groups: Groups.cpp

    /// Stores the group under its id. @param version  as in insertOrUpdateUser()
    bool insertOrUpdateGroup(PelkoGroup* group, uint version);

    bool groupExist(s64 groupID);

    /// The cached group; one with only the id when there is none.
    PelkoGroup getGroupInfo(s64 groupID);

    /// The stored profile version of a user, room or group; 0 when there is none and for any other kind.
    uint getTargetInfoVersion(const PelkoChatTarget& target);

    /// Deletes the cached group; membership stays.
    bool deleteGroup(s64 groupID);

    /// Adds the groups that the user belongs to, in the order in which they were joined; one that is not
    /// cached carries only its id.
    bool getGroupList(std::vector<PelkoGroup>& list);

    // ---- group membership: GroupList.cpp

    /// @return false also when the group is on the list already
    bool joinGroup(s64 groupID);

    /// joinGroup() for each. @return how many ids are new
    uint saveGroupList(std::vector<long long>& groupIDs);

    /// Clears the list, then saves these. @return whether any id was stored; false for an empty list
    bool replaceGroupList(std::vector<long long>& groupIDs);

    /// @return false also when the list was empty
    bool clearGroupList();

    bool isInGroup(s64 groupID);

    /// Takes the group off the list; its details and messages stay.
    bool quitGroup(s64 groupID);

    // ---- notifications: Notifications.cpp

    // Row ids and dates of notifications come back through a 32-bit reader, sign-extended.

    /// Stores the notification and writes its new row id to `dbID`.
    bool insertNotify(PelkoNotify* notify);

    /// Adds all notifications, the newest row first.
    bool loadNotifyList(std::vector<PelkoNotify>& notifyList);

    /// @param dbIDs  row ids; an empty list returns false. @return whether any was deleted
    bool deleteNotifys(const std::vector<long>& dbIDs);

    uint getUnreadNotifyCount();

    bool markNotifyIsRead(long dbID, bool isRead);

    /// Marks every notification read. @return true when there are any, read before or not
    bool clearNotifyUnreadStatus();

    /// The notification of that row id; a default one (dbID 0, `agree` uninitialised) when there is none.
    PelkoNotify getNottify(long dbID);

    // ---- sync marks and message settings: SyncMarks.cpp

    /// The last message id stored under the key; 0 when there is none.
    s64 getLastMsgID(const std::string& key);

    /// Stores the id, a smaller one in place of a larger one too. @param msgId  below 1 returns false
    /// @return true when the statement ran
    bool updateLastMsgID(const std::string& key, s64 msgId);

    /// The setting of the conversation; -1 when none is stored or it cannot be read.
    int getMsgConfig(const PelkoChatTarget& target);

    /// Stores the setting. The first one of a conversation can only be stored when the target's id string is
    /// a number: for users with any other name it fails. @param config  0 or more; a negative one is stored,
    /// but cannot be replaced any more. @return true when the statement ran
    bool setMsgConfig(const PelkoChatTarget& target, int config);

private:
    friend struct PelkoDBManagerTestAccess;

    /// A relation of the logged-in user to another, stored as its number.
    enum PelkoUserRelation : int { Friend = 0, Blocked = 1 };

    PelkoDBManager();

    // ---- lifecycle
    std::string getDBPath();
    bool isDBReady() const;
    /// isDBReady(), logged when it is not. @param line  the caller's source line
    bool checkReady(const char* operation, int line = __builtin_LINE()) const;
    /// The connection, open or not. @throws CppSQLite3Exception when there is none
    CppSQLite3DB& connection();
    /// Runs a writing statement under the failure convention. @return whether it changed a row
    bool execChanging(const char* operation, const std::string& statement);
    /// The same. @return whether it ran, whatever it changed
    bool execSucceeds(const char* operation, const std::string& statement);

    // ---- schema: Schema.cpp
    void createTablesIfNotExist();
    bool createMsgTable();
    bool createRelationshipTable();
    bool createUserTable();
    bool createRoomTable();
    bool createGroupTable();
    bool createGroupListTable();
    bool createSessionTable();
    bool createNotifyTable();
    bool createLastMsgIdTable();
    bool createMsgConfigTable();
    bool createConfigTable();

    // ---- indexes: Indexes.cpp
    void createIndexesIfNotExist();
    void indexBusyConversation();
    std::vector<std::string> busyConversations(const std::string& me);
    bool isLong(const std::string& parties);
    std::vector<std::string> firstColumn(const std::string& query);

    // ---- upgrade: Upgrade.cpp
    void nessesaryUpdate();

    // ---- target keys: TargetKeys.cpp
    std::string getTargetUniqueID(const PelkoChatTarget& target) const;
    PelkoChatTarget targetFromTypeAndID(PelkoChatTargetType type, const char* id) const;

    // ---- messages
    PelkoMessage createMsgFromQuery(CppSQLite3Query& query);
    PelkoMessage firstMessage(const char* operation, const std::string& statement);
    bool updateMessageColumn(const char* operation, const char* column, int value, s64 dbID);

    // ---- conversations
    std::string partiesSql(const std::string& peer, const std::string& me) const;
    std::string conditionSqlWithTarget(const PelkoChatTarget& target) const;
    bool readPage(const char* operation, const std::string& statement, std::deque<PelkoMessage>& messages);

    // ---- message deletion
    void removeMessageFiles(const char* operation, const std::string& condition);

    // ---- relationships
    bool addRelationship(std::string& name, PelkoUserRelation relation);
    bool removeRelationship(std::string& name, PelkoUserRelation relation);
    bool removeRelationship(PelkoUserRelation relation);
    bool hasRelationship(std::string& name, PelkoUserRelation relation);
    std::vector<std::string> getRelationUsernames(PelkoUserRelation relation);
    void listUsers(PelkoUserRelation relation, std::vector<PelkoUser>& users);
    uint saveRelationships(const char* operation, std::vector<std::string>& names,
                           PelkoUserRelation relation);

    // ---- row readers
    void updateRoomFromQuery(CppSQLite3Query& query, PelkoRoom& room);
    PelkoNotify notifyFromQuery(CppSQLite3Query& query);

    std::unique_ptr<CppSQLite3DB> mpDB;  // null while no database is open

    static PelkoDBManager* sharedInstance;
};

}  // namespace pelkoapi

#endif  // PELKO_STORAGE_PELKO_DB_MANAGER_H
