#include "bench/Operations.h"

#include <deque>
#include <list>

// The operations that only read.

namespace pelkobench {

using namespace pelkoapi;

namespace {

Operation latestPage(const char* name, const PelkoChatTarget& target) {
    return {name, pageSize,
            [target](PelkoDBManager& manager, int) {
                std::deque<PelkoMessage> page;
                manager.getLatestMessages(target, pageSize, page);
                return static_cast<long long>(page.size());
            },
            [target](HandTuned& handTuned, int) { return handTuned.latest(target, pageSize); }};
}

/// The page before the message in the middle of the conversation.
Operation pageBefore(const char* name, const PelkoChatTarget& target, const Dataset& data) {
    const std::vector<long long> rows = data.rowsOf(target);
    const long long anchor = rows[rows.size() / 2];
    return {
        name, pageSize,
        [target, anchor](PelkoDBManager& manager, int) {
            std::deque<PelkoMessage> page;
            manager.getHistoryMessages(target, anchor, pageSize, page);
            return static_cast<long long>(page.size());
        },
        [target, anchor](HandTuned& handTuned, int) { return handTuned.before(target, anchor, pageSize); }};
}

Operation unreadOf(const char* name, const PelkoChatTarget& target, int expected) {
    return {name, expected,
            [target](PelkoDBManager& manager, int) -> long long {
                return manager.getUnreadCountOfTarget(target);
            },
            [target](HandTuned& handTuned, int) { return handTuned.unreadOf(target); }};
}

Operation unreadOfKinds(const Dataset& data) {
    return {"unread_kinds", data.unreadInRooms(),
            [](PelkoDBManager& manager, int) -> long long {
                std::vector<PelkoChatTargetType> kinds = {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup};
                return manager.getUnreadCountOfTypes(kinds);
            },
            [](HandTuned& handTuned, int) {
                return handTuned.unreadOfKinds(PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup);
            }};
}

Operation unreadTotal() {
    return {"unread_total", unreadCount,
            [](PelkoDBManager& manager, int) -> long long { return manager.getTotalUnreadCount(); },
            [](HandTuned& handTuned, int) { return handTuned.unreadTotal(); }};
}

/// What insertMessage asks before it inserts: a service id that is not stored yet.
Operation knownCheck(const Dataset& data) {
    const long long id = data.event(0).id;
    return {"known_check", 0,
            [id](PelkoDBManager& manager, int) -> long long { return manager.ifMsgIDExist(id); },
            [id](HandTuned& handTuned, int) -> long long { return handTuned.isKnown(id); }};
}

Operation sessionList() {
    return {"session_list", sessionCount,
            [](PelkoDBManager& manager, int) {
                std::list<PelkoSession> sessions;
                manager.loadSessionList(sessions);
                return static_cast<long long>(sessions.size());
            },
            [](HandTuned& handTuned, int) { return handTuned.sessions(); }};
}

Operation groupList() {
    return {"group_list", groupCount,
            [](PelkoDBManager& manager, int) {
                std::vector<PelkoGroup> groups;
                manager.getGroupList(groups);
                return static_cast<long long>(groups.size());
            },
            [](HandTuned& handTuned, int) { return handTuned.groups(); }};
}

Operation friendList() {
    return {"friend_list", friendCount,
            [](PelkoDBManager& manager, int) {
                std::vector<PelkoUser> friends;
                manager.getFriendList(friends);
                return static_cast<long long>(friends.size());
            },
            [](HandTuned& handTuned, int) { return handTuned.friends(); }};
}

}  // namespace

std::vector<Operation> operationsOn(const Dataset& data, const std::string& workFolder) {
    std::vector<Operation> operations = {
        knownCheck(data),
        latestPage("page_room", Dataset::busiestRoom()),
        latestPage("page_group", Dataset::busiestGroup()),
        latestPage("page_quiet", Dataset::quietPeer()),
        latestPage("page_busiest", Dataset::busiestPeer()),
        pageBefore("history_room", Dataset::busiestRoom(), data),
        pageBefore("history_quiet", Dataset::quietPeer(), data),
        pageBefore("history_busiest", Dataset::busiestPeer(), data),
        unreadOf("unread_room", Dataset::busiestRoom(), unreadOfRoom),
        unreadOf("unread_peer", Dataset::busiestPeer(), unreadOfBusiest),
        unreadOfKinds(data),
        unreadTotal(),
        sessionList(),
        groupList(),
        friendList(),
    };
    for (Operation& operation : writingOperationsOn(data, workFolder)) {
        operations.push_back(std::move(operation));
    }
    return operations;
}

}  // namespace pelkobench
