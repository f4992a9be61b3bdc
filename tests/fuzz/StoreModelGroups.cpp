#include <algorithm>

#include "tests/fuzz/StoreModel.h"

// Rooms, groups, the versions of profiles, and the groups that the user belongs to.

namespace pelkotest {

using namespace pelkoapi;

namespace {

void readRoom(const RoomRow& row, PelkoRoom& room) {
    room.name = row.name;
    read(row.icon, room.icon);
    room.isTop = row.isTop;
    room.info = row.info;
    room.capacity = static_cast<unsigned>(row.capacity);
    room.onlineNumber = static_cast<unsigned>(row.onlineNumber);
}

PelkoRoom roomWithId(long long id) {
    PelkoRoom room;
    room.id = static_cast<unsigned>(id);
    return room;
}

}  // namespace

bool StoreModel::insertOrUpdateRoom(PelkoRoom* room, uint version) {
    if (!ready("insertOrUpdateRoom") || room == nullptr) {
        return false;
    }
    if (breaks(room->icon)) {
        return failed("insertOrUpdateRoom");
    }
    mTables.rooms[room->id] = {stored(room->name),
                               stored(room->icon),
                               room->isTop,
                               stored(room->info),
                               static_cast<int>(room->capacity),
                               static_cast<int>(room->onlineNumber),
                               static_cast<int>(version)};
    return changed(1);
}

bool StoreModel::roomExist(s64 roomID) {
    return mIsOpen ? mTables.rooms.count(roomID) != 0 : failed("checkIfRecordExist");
}

PelkoRoom StoreModel::getRoomInfo(s64 roomID) {
    PelkoRoom room = roomWithId(roomID);
    if (ready("getRoomInfo") && mTables.rooms.count(roomID) != 0) {
        readRoom(mTables.rooms[roomID], room);
    }
    return room;
}

bool StoreModel::deleteRoom(s64 roomID) {
    return ready("deleteRoom") && changed(mTables.rooms.erase(roomID));
}

bool StoreModel::getRoomList(std::vector<PelkoRoom>& list) {
    if (!ready("getRoomList")) {
        return false;
    }
    for (const auto& [id, row] : mTables.rooms) {
        PelkoRoom room = roomWithId(id);
        readRoom(row, room);
        list.push_back(room);
    }
    return true;
}

bool StoreModel::clearRoomList() {
    if (!ready("clearRoomList")) {
        return false;
    }
    const std::size_t rows = mTables.rooms.size();
    mTables.rooms.clear();
    return changed(rows);
}

bool StoreModel::insertOrUpdateGroup(PelkoGroup* group, uint version) {
    if (!ready("insertOrUpdateGroup") || group == nullptr) {
        return false;
    }
    if (breaks(group->icon) || breaks(group->ownerAccount)) {
        return failed("insertOrUpdateGroup");
    }
    mTables.groups[group->id] = {stored(group->name),       stored(group->icon),
                                 stored(group->info),       static_cast<int>(group->capacity),
                                 group->ownerType,          stored(group->ownerAccount),
                                 static_cast<int>(version), group->needAuthentication};
    return changed(1);
}

bool StoreModel::groupExist(s64 groupID) {
    return mIsOpen ? mTables.groups.count(groupID) != 0 : failed("checkIfRecordExist");
}

PelkoGroup StoreModel::getGroupInfo(s64 groupID) {
    PelkoGroup group;
    group.id = groupID;
    if (ready("getGroupInfo") && mTables.groups.count(groupID) != 0) {
        const GroupRow& row = mTables.groups[groupID];
        group.name = row.name;
        read(row.icon, group.icon);
        group.info = row.info;
        group.capacity = static_cast<unsigned>(row.capacity);
        group.ownerType = static_cast<PelkoGroupType>(row.type);
        group.ownerAccount = row.owner;
        group.hasGotDetail = row.version != 0;
        group.needAuthentication = row.needAuth;
    }
    return group;
}

StoreModel::uint StoreModel::getTargetInfoVersion(const Target& target) {
    if (!ready("getTargetInfoVersion")) {
        return 0;
    }
    const auto version = [](const auto& rows, const auto& key) {
        const auto row = rows.find(key);
        return row != rows.end() ? static_cast<uint>(row->second.version) : 0U;
    };
    switch (static_cast<int>(target.type)) {
        case 0:
            return version(mTables.users, stored(target.name));
        case 1:
            return version(mTables.rooms, target.id);
        case 2:
            return version(mTables.groups, target.id);
        default:
            return 0;
    }
}

bool StoreModel::deleteGroup(s64 groupID) {
    return ready("deleteGroup") && changed(mTables.groups.erase(groupID));
}

bool StoreModel::getGroupList(std::vector<PelkoGroup>& list) {
    if (!ready("getGroupList")) {
        return false;
    }
    for (const s64 id : mTables.groupList) {
        list.push_back(getGroupInfo(id));
    }
    return true;
}

bool StoreModel::joinGroup(s64 groupID) {
    if (!ready("joinGroup") || isInGroup(groupID)) {
        return false;
    }
    mTables.groupList.push_back(groupID);
    return changed(1);
}

StoreModel::uint StoreModel::saveGroupList(std::vector<long long>& groupIDs) {
    if (!ready("saveGroupList")) {
        return 0;
    }
    uint saved = 0;
    for (const long long id : groupIDs) {
        saved += joinGroup(id) ? 1 : 0;
    }
    return saved;
}

bool StoreModel::replaceGroupList(std::vector<long long>& groupIDs) {
    clearGroupList();
    return saveGroupList(groupIDs) > 0;
}

bool StoreModel::clearGroupList() {
    if (!ready("clearGroupList")) {
        return false;
    }
    const std::size_t rows = mTables.groupList.size();
    mTables.groupList.clear();
    return changed(rows);
}

bool StoreModel::isInGroup(s64 groupID) {
    const auto& ids = mTables.groupList;
    return ready("isInGroup") && std::find(ids.begin(), ids.end(), groupID) != ids.end();
}

bool StoreModel::quitGroup(s64 groupID) {
    if (!ready("quitGroup")) {
        return false;
    }
    auto& ids = mTables.groupList;
    const auto found = std::find(ids.begin(), ids.end(), groupID);
    if (found == ids.end()) {
        return changed(0);
    }
    ids.erase(found);
    return changed(1);
}

}  // namespace pelkotest
