#include "tests/reliability/support/StoreOperations.h"

#include <deque>
#include <list>
#include <ostream>
#include <utility>

#include "tests/reliability/support/RecordText.h"
#include "tests/reliability/support/SampleRecords.h"

namespace pelkotest {

namespace {

using namespace pelkoapi;

// What fillStore() puts in and the operations ask for.
constexpr s64 knownMsgId = 1001;
constexpr s64 firstMessage = 1;  // row ids
constexpr s64 longMessage = 2;
constexpr s64 laterMessage = 12;
constexpr s64 storedRoom = 7;
constexpr s64 storedGroup = 77;

Outcome outcome(bool value, std::string list = {}) {
    return {value ? "true" : "false", std::move(list)};
}

Outcome outcome(long long value, std::string list = {}) {
    return {std::to_string(value), std::move(list)};
}

Outcome outcome(uint value, std::string list = {}) {
    return outcome(static_cast<long long>(value), std::move(list));
}

Outcome outcome(int value, std::string list = {}) {
    return outcome(static_cast<long long>(value), std::move(list));
}

template <typename Record>
Outcome recordOutcome(const Record& record) {
    return {recordText(record), {}};
}

PelkoMessage newMessage() {
    PelkoMessage result = mediaMessage(5001, 5001, PelkoUser("alice"), PelkoUser("me"), PelkoMessageTypeImage,
                                       PelkoMessageStatusUnread, PelkoMediaStatusDownloaded);
    result.text = "it's new";
    return result;
}

PelkoMedia otherIcon() {
    return media(PelkoMediaTypeImage, PelkoMediaStatusCreated, "another.png");
}

/// A name, for the operations that take it by reference and may write to it.
Outcome withName(PelkoDBManager& db, bool (PelkoDBManager::*operation)(std::string&), const char* name) {
    std::string text = name;
    const bool result = (db.*operation)(text);
    return outcome(result, text);
}

Outcome withNames(PelkoDBManager& db, uint (PelkoDBManager::*operation)(std::vector<std::string>&)) {
    std::vector<std::string> names = {"alice", "new one of the names, longer than a short string", "bob",
                                      "new two"};
    const uint result = (db.*operation)(names);
    return outcome(result, recordsText(names));
}

Outcome withNames(PelkoDBManager& db, bool (PelkoDBManager::*operation)(std::vector<std::string>&)) {
    std::vector<std::string> names = {"bob", "new one of the names, longer than a short string", "alice"};
    const bool result = (db.*operation)(names);
    return outcome(result, recordsText(names));
}

/// A reader that adds to the caller's container, which holds something already.
template <typename List, typename Read>
Outcome adding(typename List::value_type already, const Read& read) {
    List list;
    list.push_back(std::move(already));
    const bool result = read(list);
    return outcome(result, recordsText(list));
}

using Messages = std::deque<PelkoMessage>;

Outcome latest(PelkoDBManager& db, const PelkoChatTarget& target) {
    return adding<Messages>(PelkoMessage(9LL),
                            [&](Messages& list) { return db.getLatestMessages(target, 5, list); });
}

void addMessageOperations(std::vector<StoreOperation>& all) {
    all.insert(
        all.end(),
        {{"transStringQuote", true,
          [](PelkoDBManager& db) {
              return Outcome{db.transStringQuote("it's 'quoted', and longer than fits into a short string"),
                             {}};
          }},
         {"checkIfRecordExist", true,
          [](PelkoDBManager& db) { return outcome(db.checkIfRecordExist("tbl_room", "room_id = 7")); }},
         {"queryCount", true,
          [](PelkoDBManager& db) { return outcome(db.queryCount("tbl_msg", "date > 2")); }},
         {"insertMessage", true,
          [](PelkoDBManager& db) {
              PelkoMessage record = newMessage();
              const bool result = db.insertMessage(&record);
              return outcome(result, recordText(record));
          }},
         {"insertMessageLong", true,
          [](PelkoDBManager& db) {
              PelkoMessage record =
                  message(0, 5002, PelkoUser("me"), PelkoRoom(7U), longText(), PelkoMessageStatusSending);
              const bool result = db.insertMessage(&record);
              return outcome(result, recordText(record));
          }},
         {"insertMessageKnown", true,
          [](PelkoDBManager& db) {
              PelkoMessage record = newMessage();
              record.id = knownMsgId;
              record.dbID = firstMessage;
              const bool result = db.insertMessage(&record);
              return outcome(result, recordText(record));
          }},
         {"updateMessage", true,
          [](PelkoDBManager& db) {
              PelkoMessage record = newMessage();
              record.dbID = laterMessage;
              return outcome(db.updateMessage(record));
          }},
         {"saveMessageList", false,
          [](PelkoDBManager& db) {
              PelkoMessage known = newMessage();
              known.id = knownMsgId;
              known.dbID = firstMessage;
              std::vector<PelkoMessage> list = {newMessage(), known,
                                                message(0, 5003, PelkoUser("me"), PelkoGroup(storedGroup),
                                                        "to all", PelkoMessageStatusSent)};
              const uint result = db.saveMessageList(list);
              return outcome(result, recordsText(list));
          }},
         {"getMessage", true, [](PelkoDBManager& db) { return recordOutcome(db.getMessage(longMessage)); }},
         {"getReceivedMessage", true,
          [](PelkoDBManager& db) { return recordOutcome(db.getReceivedMessage(knownMsgId)); }},
         {"ifMsgIDExist", true, [](PelkoDBManager& db) { return outcome(db.ifMsgIDExist(knownMsgId)); }},
         {"updateMessageStatus", true,
          [](PelkoDBManager& db) {
              return outcome(db.updateMessageStatus(firstMessage, PelkoMessageStatusRead));
          }},
         {"updateMessageMediaStatus", true,
          [](PelkoDBManager& db) {
              return outcome(db.updateMessageMediaStatus(3, PelkoMediaStatusDownloadFailed));
          }},
         {"getLatestMessages", true, [](PelkoDBManager& db) { return latest(db, PelkoUser("alice")); }},
         {"getLatestMessagesOfGroup", true,
          [](PelkoDBManager& db) { return latest(db, PelkoGroup(storedGroup)); }},
         {"getLatestMessagesOfService", true,
          [](PelkoDBManager& db) { return latest(db, PelkoCustomerService(5U)); }},
         {"getHistoryMessages", true,
          [](PelkoDBManager& db) {
              return adding<Messages>(PelkoMessage(9LL), [&](Messages& list) {
                  return db.getHistoryMessages(PelkoUser("alice"), laterMessage, 5, list);
              });
          }},
         {"clearUnreadStatus", true,
          [](PelkoDBManager& db) { return outcome(db.clearUnreadStatus(PelkoUser("alice"))); }},
         {"getUnreadCountOfTarget", true,
          [](PelkoDBManager& db) { return outcome(db.getUnreadCountOfTarget(PelkoUser("alice"))); }},
         {"getUnreadCountOfTypes", true,
          [](PelkoDBManager& db) {
              std::vector<PelkoChatTargetType> types = {PelkoChatTargetTypeUser, PelkoChatTargetTypeGroup};
              return outcome(db.getUnreadCountOfTypes(types));
          }},
         {"getTotalUnreadCount", true, [](PelkoDBManager& db) { return outcome(db.getTotalUnreadCount()); }},
         {"deleteMessages", true,
          [](PelkoDBManager& db) {
              std::vector<s64> ids = {firstMessage, longMessage, 3, 999};
              return outcome(db.deleteMessages(ids));
          }},
         {"clearMessages", true,
          [](PelkoDBManager& db) { return outcome(db.clearMessages(PelkoUser("alice"))); }},
         {"loadSessionList", true,
          [](PelkoDBManager& db) {
              return adding<std::list<PelkoSession>>(
                  PelkoSession(), [&](std::list<PelkoSession>& list) { return db.loadSessionList(list); });
          }},
         {"insertNewSession", true,
          [](PelkoDBManager& db) {
              PelkoSession session;
              session.target = PelkoUser("carol");
              session.priority = 3;
              return outcome(db.insertNewSession(session));
          }},
         {"deleteSession", true,
          [](PelkoDBManager& db) { return outcome(db.deleteSession(PelkoUser("alice"))); }},
         {"markSessionIsTop", true,
          [](PelkoDBManager& db) { return outcome(db.markSessionIsTop(PelkoRoom(7U), true, 9)); }},
         {"updateSessionLastMsg", true, [](PelkoDBManager& db) {
              return outcome(db.updateSessionLastMsg(PelkoUser("alice"), laterMessage));
          }}});
}

void addContactOperations(std::vector<StoreOperation>& all) {
    using Manager = PelkoDBManager;
    all.insert(
        all.end(),
        {{"addFriend", true,
          [](Manager& db) { return withName(db, &Manager::addFriend, "somebody with a new and long name"); }},
         {"addFriendKnown", true, [](Manager& db) { return withName(db, &Manager::addFriend, "alice"); }},
         {"deleteFriend", true, [](Manager& db) { return withName(db, &Manager::deleteFriend, "alice"); }},
         {"isFriend", true, [](Manager& db) { return withName(db, &Manager::isFriend, "alice"); }},
         {"clearFriendList", true, [](Manager& db) { return outcome(db.clearFriendList()); }},
         {"getFriendUsernames", true,
          [](Manager& db) {
              return Outcome{"", recordsText(db.getFriendUsernames())};
          }},
         {"saveFriendList", false, [](Manager& db) { return withNames(db, &Manager::saveFriendList); }},
         {"replaceFriendList", false, [](Manager& db) { return withNames(db, &Manager::replaceFriendList); }},
         {"blockUser", true, [](Manager& db) { return withName(db, &Manager::blockUser, "somebody new"); }},
         {"unblockUser", true, [](Manager& db) { return withName(db, &Manager::unblockUser, "mallory"); }},
         {"isBlocked", true, [](Manager& db) { return withName(db, &Manager::isBlocked, "mallory"); }},
         {"clearBlockList", true, [](Manager& db) { return outcome(db.clearBlockList()); }},
         {"getBlockUsernames", true,
          [](Manager& db) {
              return Outcome{"", recordsText(db.getBlockUsernames())};
          }},
         {"saveBlockList", false, [](Manager& db) { return withNames(db, &Manager::saveBlockList); }},
         {"replaceBlockList", false, [](Manager& db) { return withNames(db, &Manager::replaceBlockList); }},
         {"getBaseUserInfo", true,
          [](Manager& db) {
              std::string name = "alice";
              return recordOutcome(db.getBaseUserInfo(name));
          }},
         {"getUserInfo", true, [](Manager& db) { return recordOutcome(db.getUserInfo("bob")); }},
         {"getFriendList", true,
          [](Manager& db) {
              std::vector<PelkoUser> users = {PelkoUser("is cleared away")};
              const bool result = db.getFriendList(users);
              return outcome(result, recordsText(users));
          }},
         {"getBlockList", true,
          [](Manager& db) {
              std::vector<PelkoUser> users = {PelkoUser("is cleared away")};
              const bool result = db.getBlockList(users);
              return outcome(result, recordsText(users));
          }},
         {"insertOrUpdateUser", true,
          [](Manager& db) {
              PelkoUser user = profile("somebody new");
              return outcome(db.insertOrUpdateUser(user, 3));
          }},
         {"insertOrUpdateUserKnown", true,
          [](Manager& db) {
              PelkoUser user = profile("alice");
              user.nickname = "another nickname";
              user.info = longText();
              user.gender = PelkoUserGenderMale;
              user.icon = otherIcon();
              return outcome(db.insertOrUpdateUser(user, 4));
          }},
         {"userExist", true, [](Manager& db) { return withName(db, &Manager::userExist, "alice"); }},
         {"deleteUser", true, [](Manager& db) { return withName(db, &Manager::deleteUser, "alice"); }}});
}

void addRoomAndGroupOperations(std::vector<StoreOperation>& all) {
    using Manager = PelkoDBManager;
    all.insert(
        all.end(),
        {{"insertOrUpdateRoom", true,
          [](Manager& db) {
              PelkoRoom record = room(9);
              return outcome(db.insertOrUpdateRoom(&record, 3));
          }},
         {"insertOrUpdateRoomKnown", true,
          [](Manager& db) {
              PelkoRoom record = room(7);
              record.name = "the room's new name";
              record.info = "another text";
              record.isTop = false;
              record.capacity = 600;
              record.onlineNumber = 43;
              record.icon = otherIcon();
              return outcome(db.insertOrUpdateRoom(&record, 4));
          }},
         {"roomExist", true, [](Manager& db) { return outcome(db.roomExist(storedRoom)); }},
         {"getRoomInfo", true, [](Manager& db) { return recordOutcome(db.getRoomInfo(storedRoom)); }},
         {"deleteRoom", true, [](Manager& db) { return outcome(db.deleteRoom(storedRoom)); }},
         {"getRoomList", true,
          [](Manager& db) {
              using Rooms = std::vector<PelkoRoom>;
              return adding<Rooms>(PelkoRoom(99U), [&](Rooms& list) { return db.getRoomList(list); });
          }},
         {"clearRoomList", true, [](Manager& db) { return outcome(db.clearRoomList()); }},
         {"insertOrUpdateGroup", true,
          [](Manager& db) {
              PelkoGroup record = group(80);
              return outcome(db.insertOrUpdateGroup(&record, 3));
          }},
         {"insertOrUpdateGroupKnown", true,
          [](Manager& db) {
              PelkoGroup record = group(storedGroup);
              record.name = "the group's new name";
              record.info = "another text";
              record.ownerAccount = "bob";
              record.ownerType = PelkoGroupTypePublic;
              record.needAuthentication = false;
              record.capacity = 60;
              record.icon = otherIcon();
              return outcome(db.insertOrUpdateGroup(&record, 4));
          }},
         {"groupExist", true, [](Manager& db) { return outcome(db.groupExist(storedGroup)); }},
         {"getGroupInfo", true, [](Manager& db) { return recordOutcome(db.getGroupInfo(storedGroup)); }},
         {"getTargetInfoVersion", true,
          [](Manager& db) { return outcome(db.getTargetInfoVersion(PelkoUser("alice"))); }},
         {"deleteGroup", true, [](Manager& db) { return outcome(db.deleteGroup(storedGroup)); }},
         {"getGroupList", true,
          [](Manager& db) {
              using Groups = std::vector<PelkoGroup>;
              return adding<Groups>(PelkoGroup(99LL), [&](Groups& list) { return db.getGroupList(list); });
          }},
         {"joinGroup", true, [](Manager& db) { return outcome(db.joinGroup(80)); }},
         {"saveGroupList", false,
          [](Manager& db) {
              std::vector<long long> ids = {storedGroup, 80, 81};
              return outcome(db.saveGroupList(ids));
          }},
         {"replaceGroupList", false,
          [](Manager& db) {
              std::vector<long long> ids = {80, storedGroup};
              return outcome(db.replaceGroupList(ids));
          }},
         {"clearGroupList", true, [](Manager& db) { return outcome(db.clearGroupList()); }},
         {"isInGroup", true, [](Manager& db) { return outcome(db.isInGroup(storedGroup)); }},
         {"quitGroup", true, [](Manager& db) { return outcome(db.quitGroup(storedGroup)); }}});
}

void addNotificationAndMarkOperations(std::vector<StoreOperation>& all) {
    using Manager = PelkoDBManager;
    all.insert(
        all.end(),
        {{"insertNotify", true,
          [](Manager& db) {
              PelkoNotify record = notification(PelkoNotifyTypeJoinGroupReply, 5001, false);
              const bool result = db.insertNotify(&record);
              return outcome(result, recordText(record));
          }},
         {"loadNotifyList", true,
          [](Manager& db) {
              using Notifications = std::vector<PelkoNotify>;
              return adding<Notifications>(PelkoNotify(PelkoNotifyTypeGroupInvite),
                                           [&](Notifications& list) { return db.loadNotifyList(list); });
          }},
         {"deleteNotifys", true,
          [](Manager& db) {
              return outcome(db.deleteNotifys({1L, 3L, 999L}));
          }},
         {"getUnreadNotifyCount", true, [](Manager& db) { return outcome(db.getUnreadNotifyCount()); }},
         {"markNotifyIsRead", true, [](Manager& db) { return outcome(db.markNotifyIsRead(1, true)); }},
         {"clearNotifyUnreadStatus", true, [](Manager& db) { return outcome(db.clearNotifyUnreadStatus()); }},
         {"getNottify", true, [](Manager& db) { return recordOutcome(db.getNottify(2)); }},
         {"getLastMsgID", true, [](Manager& db) { return outcome(db.getLastMsgID("user")); }},
         {"updateLastMsgID", true, [](Manager& db) { return outcome(db.updateLastMsgID("room_7", 5)); }},
         {"updateLastMsgIDKnown", true,
          [](Manager& db) { return outcome(db.updateLastMsgID("user", 9999)); }},
         {"getMsgConfig", true, [](Manager& db) { return outcome(db.getMsgConfig(PelkoRoom(7U))); }},
         {"setMsgConfig", true, [](Manager& db) { return outcome(db.setMsgConfig(PelkoRoom(8U), 2)); }},
         {"setMsgConfigKnown", true,
          [](Manager& db) { return outcome(db.setMsgConfig(PelkoRoom(7U), 2)); }}});
}

void fillMessages(PelkoDBManager& db) {
    const PelkoUser me("me");
    const PelkoUser alice("alice");
    std::vector<PelkoMessage> messages = {
        message(knownMsgId, 100, alice, me, "it's the first", PelkoMessageStatusUnread),
        message(1002, 101, me, alice, longText(), PelkoMessageStatusSent),
        mediaMessage(1003, 102, PelkoUser("bob"), me, PelkoMessageTypeImage, PelkoMessageStatusUnread,
                     PelkoMediaStatusDownloaded),
        mediaMessage(0, 103, me, PelkoRoom(7U), PelkoMessageTypeAudio, PelkoMessageStatusSending,
                     PelkoMediaStatusCreated),
        message(1005, 104, PelkoUser("carol"), PelkoGroup(storedGroup), "to all", PelkoMessageStatusRead),
        mediaMessage(1006, 105, PelkoCustomerService(5U), me, PelkoMessageTypeUserData,
                     PelkoMessageStatusUnread, PelkoMediaStatusCreated),
        mediaMessage(1007, 106, alice, PelkoGroup(storedGroup), PelkoMessageTypeImage,
                     PelkoMessageStatusUnread, PelkoMediaStatusDownloading),
        mediaMessage(1008, 107, alice, me, PelkoMessageTypeAudio, PelkoMessageStatusUnread,
                     PelkoMediaStatusDownloadFailed),
        message(0, 108, me, alice, "on its way", PelkoMessageStatusSending),
        message(0, 109, me, PelkoUser("bob"), "not arrived", PelkoMessageStatusSendingFailed)};
    messages.back().type = PelkoMessageTypeJudgeService;
    for (uint i = 0; i < 12; ++i) {
        const bool sent = i % 2 == 0;
        messages.push_back(message(2000 + i, 200 + i, sent ? me : alice, sent ? alice : me,
                                   "number " + std::to_string(i) + " of a longer conversation",
                                   sent ? PelkoMessageStatusSent : PelkoMessageStatusRead));
    }
    db.saveMessageList(messages);
}

}  // namespace

bool operator==(const Outcome& a, const Outcome& b) {
    return a.value == b.value && a.list == b.list;
}

void PrintTo(const StoreOperation& operation, std::ostream* out) {
    *out << operation.name;
}

const std::vector<StoreOperation>& storeOperations() {
    static const std::vector<StoreOperation> all = [] {
        std::vector<StoreOperation> operations;
        addMessageOperations(operations);
        addContactOperations(operations);
        addRoomAndGroupOperations(operations);
        addNotificationAndMarkOperations(operations);
        return operations;
    }();
    return all;
}

void fillStore(PelkoDBManager& db) {
    fillMessages(db);

    std::vector<std::string> friends = {"alice", "bob", "dave, whose name is longer than a short string"};
    db.saveFriendList(friends);
    std::vector<std::string> blocked = {"mallory", "bob"};
    db.saveBlockList(blocked);
    for (const char* const name : {"alice", "bob", "mallory"}) {
        PelkoUser user = profile(name);
        db.insertOrUpdateUser(user, 2);
    }

    for (const uint id : {7U, 8U}) {
        PelkoRoom record = room(id);
        db.insertOrUpdateRoom(&record, 2);
    }
    for (const s64 id : {storedGroup, s64{78}}) {
        PelkoGroup record = group(id);
        db.insertOrUpdateGroup(&record, 2);
    }
    std::vector<long long> joined = {storedGroup, 79};
    db.saveGroupList(joined);

    const std::pair<PelkoChatTarget, s64> sessions[] = {
        {PelkoUser("alice"), longMessage}, {PelkoRoom(7U), 4}, {PelkoGroup(storedGroup), 7}};
    for (const auto& [target, lastMessage] : sessions) {
        PelkoSession session;
        session.target = target;
        db.insertNewSession(session);
        db.updateSessionLastMsg(target, lastMessage);
    }
    db.markSessionIsTop(PelkoUser("alice"), true, 5);

    for (const auto& [type, isRead] :
         {std::pair(PelkoNotifyTypeGroupInvite, false), std::pair(PelkoNotifyTypeJoinGroupRequest, true),
          std::pair(PelkoNotifyTypeJoinGroupReply, false)}) {
        PelkoNotify notify = notification(type, 300 + type, isRead);
        db.insertNotify(&notify);
    }

    db.updateLastMsgID("user", 2011);
    db.updateLastMsgID("group_77", 1007);
    db.setMsgConfig(PelkoRoom(7U), 1);
    db.setMsgConfig(PelkoGroup(storedGroup), 0);
}

}  // namespace pelkotest
