#include "tests/fuzz/OperationCalls.h"

// Rooms, groups and membership.

namespace pelkotest {

namespace {

using namespace pelkoapi;

/// A call that takes an id.
template <typename Operation>
void withId(OperationRun& run, const char* name, const Operation& operation) {
    const s64 id = run.input.id();
    run.both(name, told(id), [&](auto& store) { return told(operation(store, id)); });
}

std::vector<long long> ids(FuzzInput& input) {
    std::vector<long long> list;
    for (unsigned count = input.below(5); count > 0; --count) {
        list.push_back(input.id());
    }
    return list;
}

void insertOrUpdateRoom(OperationRun& run) {
    const PelkoRoom room = run.input.room();
    const uint version = run.input.number();
    run.both("insertOrUpdateRoom", told(room, version), [&](auto& store) {
        PelkoRoom copy = room;
        const bool result = store.insertOrUpdateRoom(&copy, version);
        return told(result, copy);
    });
}

void insertNoRoom(OperationRun& run) {
    run.both("insertOrUpdateRoom", "null",
             [](auto& store) { return told(store.insertOrUpdateRoom(nullptr, 1)); });
}

void roomExist(OperationRun& run) {
    withId(run, "roomExist", [](auto& store, s64 id) { return store.roomExist(id); });
}

void getRoomInfo(OperationRun& run) {
    withId(run, "getRoomInfo", [](auto& store, s64 id) { return store.getRoomInfo(id); });
}

void deleteRoom(OperationRun& run) {
    withId(run, "deleteRoom", [](auto& store, s64 id) { return store.deleteRoom(id); });
}

void getRoomList(OperationRun& run) {
    run.both("getRoomList", "", [](auto& store) {
        std::vector<PelkoRoom> rooms = {PelkoRoom(9U)};
        const bool result = store.getRoomList(rooms);
        return told(result, rooms);
    });
}

void clearRoomList(OperationRun& run) {
    run.both("clearRoomList", "", [](auto& store) { return told(store.clearRoomList()); });
}

void insertOrUpdateGroup(OperationRun& run) {
    const PelkoGroup group = run.input.group();
    const uint version = run.input.number();
    run.both("insertOrUpdateGroup", told(group, version), [&](auto& store) {
        PelkoGroup copy = group;
        const bool result = store.insertOrUpdateGroup(&copy, version);
        return told(result, copy);
    });
}

void insertNoGroup(OperationRun& run) {
    run.both("insertOrUpdateGroup", "null",
             [](auto& store) { return told(store.insertOrUpdateGroup(nullptr, 1)); });
}

void groupExist(OperationRun& run) {
    withId(run, "groupExist", [](auto& store, s64 id) { return store.groupExist(id); });
}

void getGroupInfo(OperationRun& run) {
    withId(run, "getGroupInfo", [](auto& store, s64 id) { return store.getGroupInfo(id); });
}

void getTargetInfoVersion(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    run.both("getTargetInfoVersion", told(chat),
             [&](auto& store) { return told(store.getTargetInfoVersion(chat)); });
}

void deleteGroup(OperationRun& run) {
    withId(run, "deleteGroup", [](auto& store, s64 id) { return store.deleteGroup(id); });
}

void getGroupList(OperationRun& run) {
    run.both("getGroupList", "", [](auto& store) {
        std::vector<PelkoGroup> groups = {PelkoGroup(9LL)};
        const bool result = store.getGroupList(groups);
        return told(result, groups);
    });
}

void joinGroup(OperationRun& run) {
    withId(run, "joinGroup", [](auto& store, s64 id) { return store.joinGroup(id); });
}

void saveGroupList(OperationRun& run) {
    const std::vector<long long> list = ids(run.input);
    run.both("saveGroupList", told(list), [&](auto& store) {
        std::vector<long long> copy = list;
        return told(store.saveGroupList(copy));
    });
}

void replaceGroupList(OperationRun& run) {
    const std::vector<long long> list = ids(run.input);
    run.both("replaceGroupList", told(list), [&](auto& store) {
        std::vector<long long> copy = list;
        return told(store.replaceGroupList(copy));
    });
}

void clearGroupList(OperationRun& run) {
    run.both("clearGroupList", "", [](auto& store) { return told(store.clearGroupList()); });
}

void isInGroup(OperationRun& run) {
    withId(run, "isInGroup", [](auto& store, s64 id) { return store.isInGroup(id); });
}

void quitGroup(OperationRun& run) {
    withId(run, "quitGroup", [](auto& store, s64 id) { return store.quitGroup(id); });
}

}  // namespace

const std::vector<OperationCall> groupCalls = {
    insertOrUpdateRoom, insertNoRoom,         roomExist,           getRoomInfo,   deleteRoom,
    getRoomList,        clearRoomList,        insertOrUpdateGroup, insertNoGroup, groupExist,
    getGroupInfo,       getTargetInfoVersion, deleteGroup,         getGroupList,  joinGroup,
    saveGroupList,      replaceGroupList,     clearGroupList,      isInGroup,     quitGroup};

}  // namespace pelkotest
