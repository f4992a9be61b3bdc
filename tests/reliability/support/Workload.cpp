#include "tests/reliability/support/Workload.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <list>
#include <utility>

#include "tests/reliability/support/Material.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

using namespace pelkoapi;
using DB = PelkoDBManager;

namespace {

// ---- the forms of a step

/// A step of one change.
Step single(const char* name, const Action& action) {
    return {name, action, {action}};
}

Action oneAfterTheOther(const std::vector<Action>& actions) {
    return [actions](DB& db) {
        for (const Action& action : actions) {
            action(db);
        }
    };
}

/// A step of several operations.
Step several(const char* name, const std::vector<Action>& changes) {
    return {name, oneAfterTheOther(changes), changes};
}

/// A step of one operation on a list, which is made of one change for each element.
template <typename Element, typename Result, typename ElementResult>
Step bulk(const char* name, Result (DB::*whole)(std::vector<Element>&), const std::vector<Element>& list,
          ElementResult (DB::*ofElement)(Element&)) {
    std::vector<Action> changes;
    for (const Element& element : list) {
        changes.emplace_back([element, ofElement](DB& db) {
            Element own = element;
            (db.*ofElement)(own);
        });
    }
    return {name,
            [whole, list](DB& db) {
                std::vector<Element> own = list;
                (db.*whole)(own);
            },
            changes};
}

/// A bulk step that clears the list before.
Step after(const Action& clearing, Step step) {
    step.changes.insert(step.changes.begin(), clearing);
    return step;
}

// ---- messages

std::deque<PelkoMessage> page(DB& db, const PelkoChatTarget& target, unsigned count) {
    std::deque<PelkoMessage> messages;
    db.getLatestMessages(target, count, messages);
    return messages;
}

/// The message so far from the end of the conversation, or a default one.
PelkoMessage messageOf(DB& db, const PelkoChatTarget& target, unsigned fromEnd) {
    const std::deque<PelkoMessage> messages = page(db, target, fromEnd);
    return messages.empty() ? PelkoMessage() : messages.front();
}

Action storing(const PelkoMessage& message) {
    return [message](DB& db) {
        PelkoMessage own = message;
        db.insertMessage(&own);
    };
}

Step storeMessage(Material& m) {
    return single("insertMessage", storing(m.message()));
}

Step storeMessages(Material& m) {
    const std::vector<PelkoMessage> list = m.messages(m.between(2, 9));
    std::vector<Action> changes;
    std::transform(list.begin(), list.end(), std::back_inserter(changes), storing);
    return {"saveMessageList",
            [list](DB& db) {
                std::vector<PelkoMessage> own = list;
                db.saveMessageList(own);
            },
            changes};
}

Step changeMessage(Material& m) {
    // Half of them by the way of an insertion, which updates a message that is known.
    return single("updateMessage", [target = m.target(), fromEnd = m.between(1, 20), anew = m.oneIn(2),
                                    id = m.serviceId(), path = m.path(".jpg"), status = m.below(6)](DB& db) {
        PelkoMessage message = messageOf(db, target, fromEnd);
        message.extraText = "changed " + std::to_string(id);
        message.media.path = path;
        message.status = static_cast<PelkoMessageStatus>(status);
        const bool known = message.id != 0;
        message.id = known ? message.id : id;
        if (known && anew) {
            db.insertMessage(&message);
        } else {
            db.updateMessage(message);
        }
    });
}

Step changeState(Material& m) {
    return single("updateMessageStatus", [target = m.target(), fromEnd = m.between(1, 20),
                                          status = m.below(6)](DB& db) {
        db.updateMessageStatus(messageOf(db, target, fromEnd).dbID, static_cast<PelkoMessageStatus>(status));
    });
}

Step changeMediaState(Material& m) {
    return single("updateMessageMediaStatus",
                  [target = m.target(), fromEnd = m.between(1, 20), status = m.below(4)](DB& db) {
                      db.updateMessageMediaStatus(messageOf(db, target, fromEnd).dbID,
                                                  static_cast<PelkoMediaStatus>(status));
                  });
}

Step readPages(Material& m) {
    return single("pages are read", [target = m.target()](DB& db) {
        std::deque<PelkoMessage> messages = page(db, target, 20);
        if (!messages.empty()) {
            db.ifMsgIDExist(messages.back().id);
            db.getHistoryMessages(target, messages.front().dbID, 20, messages);
        }
        db.getUnreadCountOfTarget(target);
        db.getTotalUnreadCount();
        std::vector<PelkoUser> friends;
        db.getFriendList(friends);
        std::vector<PelkoGroup> groups;
        db.getGroupList(groups);
    });
}

Step clearUnread(Material& m) {
    return single("clearUnreadStatus", [target = m.target()](DB& db) { db.clearUnreadStatus(target); });
}

Step deleteMessages(Material& m) {
    return single("deleteMessages",
                  [target = m.target(), count = m.between(1, 25), every = m.between(1, 4)](DB& db) {
                      std::vector<s64> dbIDs;
                      for (const PelkoMessage& message : page(db, target, count)) {
                          if (message.dbID % every == 0) {
                              dbIDs.push_back(message.dbID);
                          }
                      }
                      db.deleteMessages(dbIDs);
                  });
}

Step clearMessages(Material& m) {
    return single("clearMessages", [target = m.target()](DB& db) { db.clearMessages(target); });
}

// ---- sessions

Action makingSession(const PelkoChatTarget& target, int priority) {
    return [target, priority](DB& db) {
        std::list<PelkoSession> sessions;
        db.loadSessionList(sessions);
        PelkoSession session;
        session.target = target;
        session.priority = priority;
        if (std::none_of(sessions.begin(), sessions.end(),
                         [&](const PelkoSession& known) { return known.target == target; })) {
            db.insertNewSession(session);
        }
    };
}

/// What the network layer and the session logic do with a message that comes in.
Step messageArrives(Material& m) {
    const PelkoChatTarget target = m.target();
    PelkoMessage message =
        PelkoMessage::createTextMessage(target, PelkoChatTarget("me"), m.text(m.between(1, 400)));
    message.id = m.serviceId();
    message.date = m.date();
    message.status = PelkoMessageStatusUnread;
    return several("a message arrives",
                   {storing(message), makingSession(target, 0), [target, id = message.id](DB& db) {
                        db.updateSessionLastMsg(target, db.getReceivedMessage(id).dbID);
                    }});
}

Step changeSession(Material& m) {
    const PelkoChatTarget target = m.target();
    if (m.oneIn(3)) {
        return single("deleteSession", [target](DB& db) { db.deleteSession(target); });
    }
    const int priority = static_cast<int>(m.below(100));
    return several("a session is pinned", {makingSession(target, priority), [target, priority](DB& db) {
                                               db.markSessionIsTop(target, priority % 2 == 0, priority);
                                           }});
}

// ---- friends, blocked users, profiles

struct RelationOperations {
    bool (DB::*add)(std::string&);
    bool (DB::*remove)(std::string&);
    bool (DB::*clear)();
    uint (DB::*save)(std::vector<std::string>&);
    bool (DB::*replace)(std::vector<std::string>&);
};

constexpr RelationOperations relations[] = {
    {&DB::addFriend, &DB::deleteFriend, &DB::clearFriendList, &DB::saveFriendList, &DB::replaceFriendList},
    {&DB::blockUser, &DB::unblockUser, &DB::clearBlockList, &DB::saveBlockList, &DB::replaceBlockList}};

Step changeRelations(Material& m) {
    const RelationOperations list = relations[m.below(2)];
    const Action clearing = [list](DB& db) { (db.*list.clear)(); };
    switch (m.below(12)) {
        case 0:
            return single("a list of users is cleared", clearing);
        case 1:
        case 2:
            return after(clearing, bulk("a list of users is replaced", list.replace, m.users(), list.add));
        case 3:
        case 4:
            return bulk("a list of users is saved", list.save, m.users(), list.add);
        default:
            return single("a user is put on a list or taken off",
                          [name = m.user(), change = m.oneIn(3) ? list.remove : list.add](DB& db) {
                              std::string own = name;
                              (db.*change)(own);
                          });
    }
}

Step changeProfile(Material& m) {
    PelkoUser user(m.user());
    if (m.oneIn(6)) {
        return single("deleteUser", [user](DB& db) {
            std::string name = user.name;
            db.deleteUser(name);
        });
    }
    user.nickname = m.text(5);
    user.info = m.text(m.between(1, 300));
    user.gender = static_cast<PelkoUserGender>(m.below(3));
    user.icon = m.icon();
    return single("insertOrUpdateUser", [user, version = m.below(9)](DB& db) {
        PelkoUser own = user;
        db.insertOrUpdateUser(own, version);
    });
}

// ---- rooms, groups, memberships

Step changeRoom(Material& m) {
    if (m.oneIn(20)) {
        return single("clearRoomList", [](DB& db) { db.clearRoomList(); });
    }
    PelkoRoom room(static_cast<unsigned>(m.room()));
    if (m.oneIn(5)) {
        return single("deleteRoom", [id = room.id](DB& db) { db.deleteRoom(id); });
    }
    room.name = m.text(10);
    room.info = m.text(m.between(1, 300));
    room.icon = m.icon();
    room.isTop = m.oneIn(2);
    room.onlineNumber = m.below(1000);
    return single("insertOrUpdateRoom", [room, version = m.below(9)](DB& db) {
        PelkoRoom own = room;
        db.insertOrUpdateRoom(&own, version);
    });
}

Step changeGroup(Material& m) {
    PelkoGroup group(m.group());
    if (m.oneIn(5)) {
        return single("deleteGroup", [id = group.id](DB& db) { db.deleteGroup(id); });
    }
    group.name = m.text(10);
    group.info = m.text(m.between(1, 300));
    group.icon = m.icon();
    group.ownerAccount = m.user();
    group.needAuthentication = m.oneIn(2);
    group.capacity = m.below(500);
    return single("insertOrUpdateGroup", [group, version = m.below(9)](DB& db) {
        PelkoGroup own = group;
        db.insertOrUpdateGroup(&own, version);
    });
}

Step changeMembership(Material& m) {
    const auto joinings = [](const std::vector<s64>& ids) {
        std::vector<Action> changes;
        for (const s64 id : ids) {
            changes.emplace_back([id](DB& db) { db.joinGroup(id); });
        }
        return changes;
    };
    const Action clearing = [](DB& db) { db.clearGroupList(); };
    const std::vector<s64> ids = m.groups();
    switch (m.below(8)) {
        case 0:
            return single("clearGroupList", clearing);
        case 1:
            return after(clearing, {"replaceGroupList",
                                    [ids](DB& db) {
                                        std::vector<s64> own = ids;
                                        db.replaceGroupList(own);
                                    },
                                    joinings(ids)});
        case 2:
            return {"saveGroupList",
                    [ids](DB& db) {
                        std::vector<s64> own = ids;
                        db.saveGroupList(own);
                    },
                    joinings(ids)};
        case 3:
            return single("quitGroup", [id = m.group()](DB& db) { db.quitGroup(id); });
        default:
            return single("joinGroup", [id = ids.front()](DB& db) { db.joinGroup(id); });
    }
}

// ---- notifications, marks, settings

Step storeNotify(Material& m) {
    PelkoNotify notify(static_cast<PelkoNotifyType>(m.below(3)));
    notify.date = static_cast<long>(m.date());
    notify.sender = m.target();
    notify.receiver = PelkoChatTarget("me");
    notify.from = PelkoChatTarget(m.group(), PelkoChatTargetTypeGroup);
    notify.from.name = m.text(8);
    notify.agree = m.oneIn(2);
    notify.text = "please let me in " + std::to_string(m.below(1000));
    return single("insertNotify", [notify](DB& db) {
        PelkoNotify own = notify;
        db.insertNotify(&own);
    });
}

Step changeNotifies(Material& m) {
    if (m.oneIn(8)) {
        return single("clearNotifyUnreadStatus", [](DB& db) { db.clearNotifyUnreadStatus(); });
    }
    return single("notifications are deleted or read",
                  [deleting = m.oneIn(2), every = m.between(2, 5)](DB& db) {
                      std::vector<PelkoNotify> notifies;
                      db.loadNotifyList(notifies);
                      std::vector<long> dbIDs;
                      for (const PelkoNotify& notify : notifies) {
                          if (notify.dbID % static_cast<long>(every) == 0) {
                              dbIDs.push_back(notify.dbID);
                          }
                      }
                      if (deleting) {
                          db.deleteNotifys(dbIDs);
                      } else if (!dbIDs.empty()) {
                          db.markNotifyIsRead(dbIDs.back(), true);
                      }
                  });
}

Step changeMark(Material& m) {
    return single("updateLastMsgID", [key = "stream " + std::to_string(m.below(8)),
                                      id = m.serviceId()](DB& db) { db.updateLastMsgID(key, id); });
}

Step changeSetting(Material& m) {
    return single("setMsgConfig", [target = m.numericTarget(), config = static_cast<int>(m.below(4))](
                                      DB& db) { db.setMsgConfig(target, config); });
}

// ---- the caller's transactions

Step transactionOf(const char* name, const std::vector<Action>& actions) {
    return single(name, [all = oneAfterTheOther(actions)](DB& db) {
        db.beginTransaction();
        all(db);
        db.commiteTransaction();
    });
}

Step drawnStep(Material& m);

Step transaction(Material& m) {
    std::vector<Action> actions;
    for (unsigned count = m.between(2, 12); count > 0; --count) {
        actions.push_back(drawnStep(m).perform);
    }
    return transactionOf("a transaction", actions);
}

/// The contents of a conversation exchanged in one go; now and then they are more than SQLite's page cache
/// holds, so that pages reach the log before the commit.
Step largeTransaction(Material& m) {
    const PelkoChatTarget archive("archive");
    const std::size_t textSize = m.oneIn(8) ? 60000 : 4000;
    std::vector<Action> actions = {[archive](DB& db) { db.clearMessages(archive); }};
    for (unsigned count = m.between(30, 50); count > 0; --count) {
        actions.push_back(
            storing(PelkoMessage::createTextMessage(PelkoChatTarget("me"), archive, m.text(textSize))));
    }
    return transactionOf("a large transaction", actions);
}

// ---- the mixture

struct Kind {
    unsigned weight;
    Step (*make)(Material&);
};

constexpr Kind kinds[] = {
    {14, storeMessage},  {5, storeMessages},    {12, messageArrives}, {6, changeMessage},
    {4, changeState},    {4, changeMediaState}, {4, readPages},       {3, clearUnread},
    {4, deleteMessages}, {3, clearMessages},    {6, changeSession},   {9, changeRelations},
    {6, changeProfile},  {5, changeRoom},       {5, changeGroup},     {6, changeMembership},
    {5, storeNotify},    {5, changeNotifies},   {5, changeMark},      {5, changeSetting}};

/// Any step but a transaction.
Step drawnStep(Material& m) {
    unsigned total = 0;
    for (const Kind& kind : kinds) {
        total += kind.weight;
    }
    unsigned drawn = m.below(total);
    const Kind* kind = kinds;
    while (drawn >= kind->weight) {
        drawn -= kind->weight;
        ++kind;
    }
    return kind->make(m);
}

}  // namespace

Step workloadStep(unsigned seed, unsigned index) {
    Material m(seed, index);
    if (m.oneIn(120)) {
        return largeTransaction(m);
    }
    return m.oneIn(16) ? transaction(m) : drawnStep(m);
}

bool succeeds(const std::function<void()>& work) {
    TestPlatform& recorded = platform();
    recorded.console.clear();
    recorded.file.clear();
    recorded.removed.clear();
    recorded.existAsked.clear();
    recorded.createdFiles.clear();
    recorded.createdOverwrite.clear();
    try {
        work();
    } catch (const CppSQLite3Exception&) {
        return false;
    }
    return recorded.file.empty() && recorded.console.empty();
}

unsigned setting(const char* variable, unsigned byDefault) {
    const char* const text = std::getenv(variable);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : byDefault;
}

}  // namespace pelkotest
