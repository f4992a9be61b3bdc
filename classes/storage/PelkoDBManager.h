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
#include "classes/platform/Export.h"
#include "classes/sqlite/CppSQLite3.h"
#include "classes/storage/PelkoSession.h"
#include "classes/storage/PelkoTypes.h"

namespace pelkoapi {

/// @ingroup store
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
///
/// Each says which statements it runs, in order. `{name}` in them stands for a parameter or a field of the
/// record, as it is stored; `{target}` and other peers for their id string, which is a user's name and
/// otherwise the number.
class PELKO_API PelkoDBManager {
public:
    /// @name Lifecycle
    /// @anchor lifecycle
    /// Source: classes/storage/PelkoDBManager.cpp
    /// @{

    /// The one manager, made at the first call and never destroyed by the library.
    static PelkoDBManager* getInstance();

    /// Not copied: there is one.
    PelkoDBManager(const PelkoDBManager&) = delete;
    /// Not assigned: there is one.
    PelkoDBManager& operator=(const PelkoDBManager&) = delete;
    /// Closes the database.
    virtual ~PelkoDBManager();

    /// Opens "db.dat" in the logged-in user's data root, makes missing tables and indexes and repairs states
    /// that a previous run left behind. An open database is closed first, with a log line. The logged-in
    /// user's name is to be set before. The first opening of a large file without indexes takes seconds.
    /// @runs what stands in @ref opening.
    /// @return false, logged, when the file cannot be opened or is no database; the manager is then closed
    bool setUp();

    /// Closes the database; nothing happens when none is open.
    void tearDown();

    /// Begins a transaction of the caller's.
    /// @runs `BEGIN TRANSACTION;`
    /// @return whether SQLite's change count, which a BEGIN does not touch, is non-zero: false says only that
    ///         no row has been changed by the statement before
    /// @throws CppSQLite3Exception when the statement fails, as within a transaction
    bool beginTransaction();

    /// Commits it. Result and exceptions as beginTransaction(); there is no rollback.
    /// @runs `COMMIT TRANSACTION;`
    bool commiteTransaction();

    /// The text with every single quote doubled, for a place between single quotes of a statement.
    std::string transStringQuote(const std::string& text) const;

    /// Whether any row of the table meets the WHERE condition. Both enter the statement as they are.
    /// @runs `SELECT * FROM {table} WHERE {condition}`
    bool checkIfRecordExist(const char* table, const char* condition);

    /// How many rows of the table meet the WHERE condition. Both enter the statement as they are.
    /// @runs `SELECT COUNT(*) AS count FROM {table} WHERE {condition}`
    int queryCount(const char* table, const char* condition);

    /// @}
    /// @name Messages
    /// @anchor messages
    /// Source: classes/storage/Messages.cpp
    /// @{

    /// Stores the message and writes its new row id to `dbID`. When its service id (not 0) is stored already,
    /// it is passed to updateMessage() instead and `dbID` is left alone.
    /// @runs `SELECT * FROM tbl_msg WHERE msg_id = {id}` for a service id that is not 0, updateMessage() when
    /// it is stored, otherwise
    /// @code{.sql}
    /// INSERT INTO tbl_msg (msg_id, type, date, text, media_type, media_path, ex_media_path, media_url,
    /// media_status, duration, receiver_type, receiver_id, sender_type, sender_id, status, extra_path)
    /// VALUES({id}, {type}, {date}, '{text}', {media.type}, '{media.path}', '{media.pathEx}', '{media.url}',
    /// {media.status}, {media.duration}, {receiver.type}, '{receiver}', {sender.type}, '{sender}', {status},
    /// '{extraText}')
    /// @endcode
    /// and `SELECT last_insert_rowid()`
    /// @return true when stored or known; whether the update of a known one changed anything is not told
    bool insertMessage(PelkoMessage* message);

    /// Writes the service id, date, paths, url, states and extra text of the row that `dbID` names. Kind,
    /// text, media kind, duration and parties are fixed at insertion.
    /// @runs
    /// @code{.sql}
    /// UPDATE tbl_msg SET msg_id = {id}, date = {date}, media_path = '{media.path}',
    /// ex_media_path = '{media.pathEx}', status = {status}, media_status = {media.status},
    /// extra_path = '{extraText}', media_url = '{media.url}' WHERE db_id = {dbID}
    /// @endcode
    bool updateMessage(const PelkoMessage& message);

    /// Stores each of the messages.
    /// @runs insertMessage() for each.
    /// @return how many of them reported true
    uint saveMessageList(std::vector<PelkoMessage>& messages);

    /// The message of that row id; a default message when there is none.
    /// @runs `SELECT * FROM tbl_msg WHERE db_id = {dbID}`
    PelkoMessage getMessage(s64 dbID);

    /// The message of that service id if it is unread, read or sent; otherwise a default message.
    /// @runs `SELECT * FROM tbl_msg WHERE msg_id = {msgID} AND (status == 1 OR status == 2 OR status == 4)`
    PelkoMessage getReceivedMessage(s64 msgID);

    /// Whether a message of that service id is stored; false for ids below 1.
    /// @runs `SELECT * FROM tbl_msg WHERE msg_id = {msgID}`
    bool ifMsgIDExist(s64 msgID);

    /// Sets the state of the message with that row id.
    /// @runs `UPDATE tbl_msg SET status = {status} WHERE db_id = {dbID}`
    bool updateMessageStatus(s64 dbID, PelkoMessageStatus status);

    /// Sets the download state of its attachment.
    /// @runs `UPDATE tbl_msg SET media_status = {mediaStatus} WHERE db_id = {dbID}`
    bool updateMessageMediaStatus(s64 dbID, PelkoMediaStatus mediaStatus);

    /// @}
    /// @name Conversations
    /// @anchor conversations
    /// Source: classes/storage/Conversations.cpp
    ///
    /// `{conversation}` in their statements is, by the kind of the target,
    /// - a room or group: ``(receiver_type = {target.type} AND receiver_id = '{target}')``
    /// - a user: `((receiver_type = 0 AND sender_type = 0) AND {parties})`
    /// - a customer service: `(((receiver_type = 0 AND sender_type = 3) OR ((receiver_type = 3 AND
    ///   sender_type = 0))) AND {parties})`
    ///
    /// with `{parties}` for
    /// ``((receiver_id = '{target}' AND sender_id = '{me}') OR (sender_id = '{target}' AND
    /// receiver_id = '{me}'))``
    /// @{

    /// Puts the newest messages of the conversation, oldest first, in front of what `messages` holds.
    /// @runs `SELECT * FROM tbl_msg WHERE {conversation} ORDER BY date desc, msg_id desc, db_id desc
    /// LIMIT {count}`
    /// @param target    the peer of the conversation
    /// @param count     at most so many; 0 returns false
    /// @param messages  the page is added here
    /// @return true also when there are none
    bool getLatestMessages(const PelkoChatTarget& target, uint count, std::deque<PelkoMessage>& messages);

    /// The same for the messages that are not later, by date alone, than the one with row id `dbID`; that one
    /// itself is left out.
    /// @runs
    /// @code{.sql}
    /// SELECT * FROM (SELECT a.* FROM tbl_msg as a, tbl_msg as b
    /// WHERE b.db_id = {dbID} AND a.date <= b.date AND a.db_id != b.db_id)
    /// WHERE {conversation} ORDER BY date desc, msg_id desc, db_id desc LIMIT {count}
    /// @endcode
    /// @param target    the peer of the conversation
    /// @param dbID      row id of the anchor; below 1 returns false, an unknown one finds no messages
    /// @param count     at most so many; 0 returns false
    /// @param messages  the page is added here
    bool getHistoryMessages(const PelkoChatTarget& target, s64 dbID, uint count,
                            std::deque<PelkoMessage>& messages);

    /// Marks the unread messages of the conversation read.
    /// @runs `UPDATE tbl_msg SET status = 2 WHERE {conversation} AND status = 1`
    /// @return true when the statement ran
    bool clearUnreadStatus(const PelkoChatTarget& target);

    /// The unread messages of the conversation.
    /// @runs `SELECT COUNT(*) AS count FROM tbl_msg WHERE {conversation} AND status = 1`
    uint getUnreadCountOfTarget(const PelkoChatTarget& target);

    /// The unread messages whose receiver is of one of these kinds; 0 for an empty list.
    /// @runs `SELECT COUNT(*) AS count FROM tbl_msg WHERE receiver_type IN ({type}, …) AND status = 1`
    uint getUnreadCountOfTypes(std::vector<PelkoChatTargetType>& types);

    /// All unread messages.
    /// @runs `SELECT COUNT(*) AS count FROM tbl_msg WHERE status = 1`
    uint getTotalUnreadCount();

    /// @}
    /// @name Message deletion
    /// @anchor deletion
    /// Source: classes/storage/MessageDeletion.cpp. `{conversation}` as with the @ref conversations.
    /// @{

    /// Removes the files of these messages' rows, then the rows. Both files of the attachment and the extra
    /// text are taken for files; FileUtil::remove ignores what is none.
    /// @runs
    /// - `SELECT media_path, ex_media_path, extra_path FROM tbl_msg WHERE db_id IN ({dbID}, …)`
    /// - `DELETE FROM tbl_msg WHERE db_id IN ({dbID}, …)`
    /// @param dbIDs  row ids; an empty list returns false
    bool deleteMessages(std::vector<s64>& dbIDs);

    /// The same for a whole conversation.
    /// @runs
    /// - `SELECT media_path, ex_media_path, extra_path FROM tbl_msg WHERE {conversation}`
    /// - `DELETE FROM tbl_msg WHERE {conversation}`
    /// @return true when the rows' statement ran, whatever it deleted
    bool clearMessages(const PelkoChatTarget& target);

    /// @}
    /// @name Sessions
    /// @anchor sessions
    /// Source: classes/storage/Sessions.cpp
    /// @{

    /// Adds the stored sessions, in the database's own order, to the end of the list: `isTop`, `priority`,
    /// `target` and, looked up by the low 32 bits of its stored row id, `lastMsg`.
    /// @runs `SELECT * FROM tbl_session`, then getMessage() for each.
    bool loadSessionList(std::list<PelkoSession>& sessions);

    /// Inserts the session's row; false when the target has one. The pin flag and the last message's row id
    /// change places in the new row, a lasting property of the format: insert a session without either, then
    /// call markSessionIsTop() and updateSessionLastMsg(), which write the right columns.
    /// @runs ``INSERT INTO tbl_session (target_type, target_id, last_msg_id, is_top, priority)
    /// VALUES ({target.type}, '{target}', {isTop}, {lastMsg.dbID}, {priority})``
    bool insertNewSession(const PelkoSession& session);

    /// Deletes the session's row; its messages stay.
    /// @runs ``DELETE FROM tbl_session WHERE target_type = {target.type} AND target_id = '{target}'``
    bool deleteSession(const PelkoChatTarget& target);

    /// Sets pinning and priority of an existing session.
    /// @runs ``UPDATE tbl_session SET is_top = {isTop}, priority= {priority}
    /// WHERE target_type = {target.type} AND target_id = '{target}'``
    bool markSessionIsTop(const PelkoChatTarget& target, bool isTop, int priority);

    /// Sets the last message of an existing session.
    /// @runs ``UPDATE tbl_session SET last_msg_id = {msgID}
    /// WHERE target_type = {target.type} AND target_id = '{target}'``
    /// @param target  the session's peer
    /// @param msgID   the message's row id (`dbID`)
    bool updateSessionLastMsg(const PelkoChatTarget& target, s64 msgID);

    /// @}
    /// @name Friends and blocked users
    /// @anchor relationships
    /// Source: classes/storage/Relationships.cpp
    ///
    /// A user can be both. Adding a name that is on the list reports false. Lists come in the order in which
    /// names were added. A name with a single quote can be added and removed, but is never found: isFriend()
    /// and isBlocked() log a failure and report false, and adding it twice stores it twice.
    /// @{

    /// Puts the name on the friend list.
    /// @runs isFriend(), then ``INSERT INTO tbl_relationship (username, block_state) VALUES ('{name}', 0)``
    bool addFriend(std::string& name);

    /// Takes the name off the friend list.
    /// @runs ``DELETE FROM tbl_relationship WHERE username = '{name}' AND block_state = 0``
    bool deleteFriend(std::string& name);

    /// Whether the name is on the friend list.
    /// @runs ``SELECT * FROM tbl_relationship WHERE username = '{name}' AND block_state = 0``
    bool isFriend(std::string& name);

    /// Empties the friend list.
    /// @runs `DELETE FROM tbl_relationship WHERE block_state = 0`
    bool clearFriendList();

    /// The names of the friends.
    /// @runs `SELECT * FROM tbl_relationship WHERE block_state = 0 ORDER BY rowid asc`
    std::vector<std::string> getFriendUsernames();

    /// Puts each of the names on the friend list.
    /// @runs addFriend() for each.
    /// @return how many names are new
    uint saveFriendList(std::vector<std::string>& names);

    /// Clears the list, then saves these.
    /// @runs clearFriendList(), then saveFriendList().
    /// @return whether any name was stored; false for an empty list
    bool replaceFriendList(std::vector<std::string>& names);

    /// Puts the name on the block list.
    /// @runs isBlocked(), then ``INSERT INTO tbl_relationship (username, block_state) VALUES ('{name}', 1)``
    bool blockUser(std::string& name);

    /// Takes the name off the block list.
    /// @runs ``DELETE FROM tbl_relationship WHERE username = '{name}' AND block_state = 1``
    bool unblockUser(std::string& name);

    /// Whether the name is on the block list.
    /// @runs ``SELECT * FROM tbl_relationship WHERE username = '{name}' AND block_state = 1``
    bool isBlocked(std::string& name);

    /// Empties the block list.
    /// @runs `DELETE FROM tbl_relationship WHERE block_state = 1`
    bool clearBlockList();

    /// The names of the blocked users.
    /// @runs `SELECT * FROM tbl_relationship WHERE block_state = 1 ORDER BY rowid asc`
    std::vector<std::string> getBlockUsernames();

    /// Puts each of the names on the block list.
    /// @runs blockUser() for each.
    /// @return how many names are new
    uint saveBlockList(std::vector<std::string>& names);

    /// Clears the list, then saves these.
    /// @runs clearBlockList(), then saveBlockList().
    /// @return whether any name was stored; false for an empty list
    bool replaceBlockList(std::vector<std::string>& names);

    /// @}
    /// @name User profiles
    /// @anchor users
    /// Source: classes/storage/Users.cpp
    /// @{

    /// The cached profile, without the relation flags; a record with only the name when there is none.
    /// @runs ``SELECT * FROM tbl_user WHERE username = '{name}'``, then getTargetInfoVersion() when there is
    /// one.
    PelkoUser getBaseUserInfo(std::string& name);

    /// The cached profile with both relation flags.
    /// @runs getBaseUserInfo(), isFriend() and isBlocked().
    PelkoUser getUserInfo(std::string name);

    /// Replaces the caller's list (it is cleared) by the friends, in the order in which they were added, with
    /// both relation flags.
    /// @runs getFriendUsernames(), then getBaseUserInfo() and isBlocked() for each.
    /// @return false only when the database is not ready
    bool getFriendList(std::vector<PelkoUser>& users);

    /// The same for the blocked users.
    /// @runs getBlockUsernames(), then getBaseUserInfo() and isFriend() for each.
    bool getBlockList(std::vector<PelkoUser>& users);

    /// Stores the profile under the user's name.
    /// @runs userExist(), then, when there is one,
    /// @code{.sql}
    /// UPDATE tbl_user SET nickname = '{nickname}', icon_url = '{icon.url}', icon_path = '{icon.path}',
    /// ex_icon_path = '{icon.pathEx}', info = '{info}', gender = {gender}, info_version = {version}
    /// WHERE username = '{name}'
    /// @endcode
    /// otherwise
    /// @code{.sql}
    /// INSERT INTO tbl_user (username, nickname, icon_url, icon_path, ex_icon_path, info, gender,
    /// info_version)
    /// VALUES ('{name}', '{nickname}', '{icon.url}', '{icon.path}', '{icon.pathEx}', '{info}', {gender},
    /// {version})
    /// @endcode
    /// @param user     the profile
    /// @param version  its version, written as it is: an older one replaces a newer one, and 0 means that the
    ///                 profile is not complete
    bool insertOrUpdateUser(PelkoUser& user, uint version);

    /// Whether a profile is cached under the name.
    /// @runs ``SELECT * FROM tbl_user WHERE username = '{name}'``
    bool userExist(std::string& name);

    /// Deletes the profile; the name stays on the friend and block lists.
    /// @runs ``DELETE FROM tbl_user WHERE username = '{name}'``
    bool deleteUser(std::string& name);

    /// @}
    /// @name Rooms
    /// @anchor rooms
    /// Source: classes/storage/Rooms.cpp
    /// @{

    /// Stores the room under its id.
    /// @runs roomExist(), then, when there is one,
    /// @code{.sql}
    /// UPDATE tbl_room SET name = '{name}', icon_url = '{icon.url}', icon_path = '{icon.path}',
    /// icon_path_ex = '{icon.pathEx}', is_top = {isTop}, info = '{info}', capacity = {capacity},
    /// online_number = {onlineNumber}, info_version = {version} WHERE room_id = {id}
    /// @endcode
    /// otherwise
    /// @code{.sql}
    /// INSERT INTO tbl_room (room_id, name, icon_url, icon_path, icon_path_ex, is_top, info, capacity,
    /// online_number, info_version)
    /// VALUES ({id}, '{name}', '{icon.url}', '{icon.path}', '{icon.pathEx}', {isTop}, '{info}', {capacity},
    /// {onlineNumber}, {version})
    /// @endcode
    /// @param room     null returns false
    /// @param version  as in insertOrUpdateUser()
    bool insertOrUpdateRoom(PelkoRoom* room, uint version);

    /// Whether a room is cached under the id.
    /// @runs `SELECT * FROM tbl_room WHERE room_id = {roomID}`
    bool roomExist(s64 roomID);

    /// The cached room; one with only the id when there is none. Its id is cut to 32 bits.
    /// @runs `SELECT * FROM tbl_room WHERE room_id = {roomID}`
    PelkoRoom getRoomInfo(s64 roomID);

    /// Deletes the cached room.
    /// @runs `DELETE FROM tbl_room WHERE room_id = {roomID}`
    bool deleteRoom(s64 roomID);

    /// Adds the cached rooms in ascending order of their ids (which are row ids), cut to 32 bits.
    /// @runs `SELECT * FROM tbl_room ORDER BY rowid asc`
    bool getRoomList(std::vector<PelkoRoom>& list);

    /// Deletes all cached rooms.
    /// @runs `DELETE FROM tbl_room`
    /// @return false also when there were none
    bool clearRoomList();

    /// @}
    /// @name Groups
    /// @anchor groups
    /// Source: classes/storage/Groups.cpp
    /// @{

    /// Stores the group under its id.
    /// @runs groupExist(), then, when there is one,
    /// @code{.sql}
    /// UPDATE tbl_group SET name = '{name}', icon_url = '{icon.url}', icon_path = '{icon.path}',
    /// icon_path_ex = '{icon.pathEx}', info = '{info}', capacity = {capacity}, type = {ownerType},
    /// owner = '{ownerAccount}', info_version = {version}, need_auth = {needAuthentication}
    /// WHERE group_id = {id}
    /// @endcode
    /// otherwise
    /// @code{.sql}
    /// INSERT INTO tbl_group (group_id, name, icon_url, icon_path, icon_path_ex, info, capacity, type, owner,
    /// info_version ,need_auth)
    /// VALUES ({id}, '{name}', '{icon.url}', '{icon.path}', '{icon.pathEx}', '{info}', {capacity},
    /// {ownerType}, '{ownerAccount}', {version}, {needAuthentication})
    /// @endcode
    /// @param group    null returns false
    /// @param version  as in insertOrUpdateUser()
    bool insertOrUpdateGroup(PelkoGroup* group, uint version);

    /// Whether a group is cached under the id.
    /// @runs `SELECT * FROM tbl_group WHERE group_id = {groupID}`
    bool groupExist(s64 groupID);

    /// The cached group; one with only the id when there is none.
    /// @runs `SELECT * FROM tbl_group WHERE group_id = {groupID}`, then getTargetInfoVersion() when there is
    /// one.
    PelkoGroup getGroupInfo(s64 groupID);

    /// The stored profile version of a user, room or group; 0 when there is none and for any other kind.
    /// @runs
    /// - ``SELECT info_version FROM tbl_user WHERE username = '{target}'`` for a user
    /// - ``SELECT info_version FROM tbl_room WHERE room_id = '{target}'`` for a room
    /// - ``SELECT info_version FROM tbl_group WHERE group_id = '{target}'`` for a group
    uint getTargetInfoVersion(const PelkoChatTarget& target);

    /// Deletes the cached group; membership stays.
    /// @runs `DELETE FROM tbl_group WHERE group_id = {groupID}`
    bool deleteGroup(s64 groupID);

    /// Adds the groups that the user belongs to, in the order in which they were joined; one that is not
    /// cached carries only its id.
    /// @runs `SELECT * FROM tbl_group_list ORDER BY rowid asc`, then getGroupInfo() for each.
    bool getGroupList(std::vector<PelkoGroup>& list);

    /// @}
    /// @name Group membership
    /// @anchor membership
    /// Source: classes/storage/GroupList.cpp
    /// @{

    /// Puts the group on the list.
    /// @runs isInGroup(), then `INSERT INTO tbl_group_list (group_id) VALUES ({groupID})`
    /// @return false also when the group is on the list already
    bool joinGroup(s64 groupID);

    /// Puts each of the groups on the list.
    /// @runs joinGroup() for each.
    /// @return how many ids are new
    uint saveGroupList(std::vector<long long>& groupIDs);

    /// Clears the list, then saves these.
    /// @runs clearGroupList(), then saveGroupList().
    /// @return whether any id was stored; false for an empty list
    bool replaceGroupList(std::vector<long long>& groupIDs);

    /// Empties the list.
    /// @runs `DELETE FROM tbl_group_list`
    /// @return false also when the list was empty
    bool clearGroupList();

    /// Whether the group is on the list.
    /// @runs `SELECT * FROM tbl_group_list WHERE group_id = {groupID}`
    bool isInGroup(s64 groupID);

    /// Takes the group off the list; its details and messages stay.
    /// @runs `DELETE FROM tbl_group_list WHERE group_id = {groupID}`
    bool quitGroup(s64 groupID);

    /// @}
    /// @name Notifications
    /// @anchor notifications
    /// Source: classes/storage/Notifications.cpp
    ///
    /// Row ids and dates of notifications come back through a 32-bit reader, sign-extended.
    /// @{

    /// Stores the notification and writes its new row id to `dbID`.
    /// @runs
    /// @code{.sql}
    /// INSERT INTO tbl_notify (date, is_read, sender_type, sender_id, sender_name, receiver_type,
    /// receiver_id, receiver_name, from_type, from_id, from_name, is_system, response, type, text)
    /// VALUES ({date}, {isRead}, {sender.type}, {sender.id}, '{sender.name}', {receiver.type},
    /// {receiver.id}, '{receiver.name}',{from.type}, {from.id}, '{from.name}', {isSystemNotify}, {agree},
    /// {type}, '{text}')
    /// @endcode
    /// and `SELECT last_insert_rowid()`
    bool insertNotify(PelkoNotify* notify);

    /// Adds all notifications, the newest row first.
    /// @runs `SELECT * FROM tbl_notify ORDER BY db_id DESC`
    bool loadNotifyList(std::vector<PelkoNotify>& notifyList);

    /// Deletes the notifications of these row ids.
    /// @runs `DELETE FROM tbl_notify WHERE db_id IN ({dbID}, …)`
    /// @param dbIDs  row ids; an empty list returns false
    /// @return whether any was deleted
    bool deleteNotifys(const std::vector<long>& dbIDs);

    /// All unread notifications.
    /// @runs `SELECT COUNT(*) AS count FROM tbl_notify WHERE is_read = 0`
    uint getUnreadNotifyCount();

    /// Marks the notification of that row id read or unread.
    /// @runs `UPDATE tbl_notify SET is_read = {isRead} WHERE db_id = {dbID}`
    bool markNotifyIsRead(long dbID, bool isRead);

    /// Marks every notification read.
    /// @runs `UPDATE tbl_notify SET is_read = 1`
    /// @return true when there are any, read before or not
    bool clearNotifyUnreadStatus();

    /// The notification of that row id; a default one (dbID 0, `agree` uninitialised) when there is none.
    /// @runs `SELECT * FROM tbl_notify WHERE db_id = {dbID}`
    PelkoNotify getNottify(long dbID);

    /// @}
    /// @name Sync marks and message settings
    /// @anchor syncmarks
    /// Source: classes/storage/SyncMarks.cpp
    /// @{

    /// The last message id stored under the key; 0 when there is none.
    /// @runs ``SELECT last_msg_id FROM tbl_last_msg_id WHERE key = '{key}'``
    s64 getLastMsgID(const std::string& key);

    /// Stores the id, a smaller one in place of a larger one too.
    /// @runs getLastMsgID(), then, when that is below 1,
    /// ``INSERT INTO tbl_last_msg_id (key, last_msg_id) VALUES ('{key}', {msgId})``, otherwise
    /// ``UPDATE tbl_last_msg_id SET last_msg_id = {msgId} WHERE key = '{key}'``
    /// @param key    names the stream
    /// @param msgId  below 1 returns false
    /// @return true when the statement ran
    bool updateLastMsgID(const std::string& key, s64 msgId);

    /// The setting of the conversation; -1 when none is stored or it cannot be read.
    /// @runs ``SELECT msg_config FROM tbl_msg_config
    /// WHERE target_type = {target.type} AND target_id = '{target}'``
    int getMsgConfig(const PelkoChatTarget& target);

    /// Stores the setting. The first one of a conversation can only be stored when the target's id string is
    /// a number: for users with any other name it fails.
    /// @runs getMsgConfig(), then, when that is negative,
    /// `INSERT INTO tbl_msg_config (target_type, target_id, msg_config) VALUES ({target.type}, {target},
    /// {config})`, otherwise
    /// ``UPDATE tbl_msg_config SET msg_config = {config} WHERE target_type= {target.type} AND
    /// target_id = '{target}'``
    /// @param target  the conversation's peer
    /// @param config  0 or more; a negative one is stored, but cannot be replaced any more
    /// @return true when the statement ran
    bool setMsgConfig(const PelkoChatTarget& target, int config);

    /// @}

private:
    friend struct PelkoDBManagerTestAccess;

    /// A relation of the logged-in user to another, stored as its number.
    enum PelkoUserRelation : int { Friend = 0, Blocked = 1 };

    PelkoDBManager();

    // ---- lifecycle
    std::string getDBPath();
    bool isDBReady() const;
    /// isDBReady(), logged with the caller's source line when it is not.
    bool checkReady(const char* operation, int line = __builtin_LINE()) const;
    /// The connection, open or not. @throws CppSQLite3Exception when there is none
    CppSQLite3DB& connection();
    /// @runs a writing statement under the failure convention. @return whether it changed a row
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
