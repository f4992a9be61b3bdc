#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/MediaColumns.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"

// The cached chat rooms.

namespace pelkoapi {

bool PelkoDBManager::insertOrUpdateRoom(PelkoRoom* room, uint version) {
    if (!checkReady("insertOrUpdateRoom") || room == nullptr) {
        return false;
    }
    const std::string name = transStringQuote(room->name);
    const MediaText icon = mediaText(room->icon);
    const int isTop = room->isTop ? 1 : 0;
    const std::string info = transStringQuote(room->info);
    const int capacity = static_cast<int>(room->capacity);
    const int onlineNumber = static_cast<int>(room->onlineNumber);
    const int storedVersion = static_cast<int>(version);

    // The version is written, never compared: an older one replaces a newer one.
    if (roomExist(room->id)) {
        return execChanging(
            "insertOrUpdateRoom",
            StringFormatUtil::string_format(
                "UPDATE %s SET %s = '%s', %s = '%s', %s = '%s', %s = '%s', %s = %d, %s = '%s', %s = %d, "
                "%s = %d, %s = %d WHERE %s = %lld",
                sql::tblRoom, sql::name, name.c_str(), sql::iconUrl, icon.url.c_str(), sql::iconPath,
                icon.path.c_str(), sql::iconPathEx, icon.pathEx.c_str(), sql::isTop, isTop, sql::info,
                info.c_str(), sql::capacity, capacity, sql::onlineNumber, onlineNumber, sql::infoVersion,
                storedVersion, sql::roomId, room->id));
    }
    return execChanging("insertOrUpdateRoom",
                        StringFormatUtil::string_format(
                            "INSERT INTO %s (%s, %s, %s, %s, %s, %s, %s, %s, %s, %s) VALUES (%lld, '%s', "
                            "'%s', '%s', '%s', %d, "
                            "'%s', %d, %d, %d)",
                            sql::tblRoom, sql::roomId, sql::name, sql::iconUrl, sql::iconPath,
                            sql::iconPathEx, sql::isTop, sql::info, sql::capacity, sql::onlineNumber,
                            sql::infoVersion, room->id, name.c_str(), icon.url.c_str(), icon.path.c_str(),
                            icon.pathEx.c_str(), isTop, info.c_str(), capacity, onlineNumber, storedVersion));
}

bool PelkoDBManager::roomExist(s64 roomID) {
    return checkIfRecordExist(sql::tblRoom,
                              StringFormatUtil::string_format("%s = %lld", sql::roomId, roomID).c_str());
}

PelkoRoom PelkoDBManager::getRoomInfo(s64 roomID) {
    PelkoRoom room(static_cast<uint>(roomID));  // the interface of rooms has 32-bit ids
    if (!checkReady("getRoomInfo")) {
        return room;
    }
    withFailureLogged("getRoomInfo", false, [&] {
        CppSQLite3Query query =
            connection().execQuery(StringFormatUtil::string_format("SELECT * FROM %s WHERE %s = %lld",
                                                                   sql::tblRoom, sql::roomId, roomID)
                                       .c_str());
        if (!query.eof()) {
            updateRoomFromQuery(query, room);
        }
        query.finalize();
        return true;
    });
    return room;
}

void PelkoDBManager::updateRoomFromQuery(CppSQLite3Query& query, PelkoRoom& room) {
    room.name = query.getStringField(sql::name, "");
    readMedia(query, sql::iconUrl, sql::iconPath, sql::iconPathEx, room.icon);
    room.isTop = query.getIntField(sql::isTop, 0) != 0;
    room.info = query.getStringField(sql::info, "");
    room.capacity = static_cast<uint>(query.getIntField(sql::capacity, 0));
    room.onlineNumber = static_cast<uint>(query.getIntField(sql::onlineNumber, 0));
}

bool PelkoDBManager::deleteRoom(s64 roomID) {
    if (!checkReady("deleteRoom")) {
        return false;
    }
    return execChanging("deleteRoom", StringFormatUtil::string_format("DELETE FROM %s WHERE %s = %lld",
                                                                      sql::tblRoom, sql::roomId, roomID));
}

bool PelkoDBManager::getRoomList(std::vector<PelkoRoom>& list) {
    if (!checkReady("getRoomList")) {
        return false;
    }
    return withFailureLogged("getRoomList", false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT * FROM %s ORDER BY %s asc", sql::tblRoom, sql::rowid)
                .c_str());
        while (!query.eof()) {
            PelkoRoom room(static_cast<uint>(query.getIntField(sql::roomId, 0)));
            updateRoomFromQuery(query, room);
            query.nextRow();
            list.push_back(std::move(room));
        }
        query.finalize();
        return true;
    });
}

bool PelkoDBManager::clearRoomList() {
    if (!checkReady("clearRoomList")) {
        return false;
    }
    return execChanging("clearRoomList", StringFormatUtil::string_format("DELETE FROM %s", sql::tblRoom));
}

}  // namespace pelkoapi
