#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/MediaColumns.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// The cached groups, and the cached profile versions of users, rooms and groups.

namespace pelkoapi {

bool PelkoDBManager::insertOrUpdateGroup(PelkoGroup* group, uint version) {
    if (!checkReady("insertOrUpdateGroup") || group == nullptr) {
        return false;
    }
    const std::string name = transStringQuote(group->name);
    const MediaText icon = mediaText(group->icon);
    const std::string info = transStringQuote(group->info);
    const int capacity = static_cast<int>(group->capacity);
    const std::string owner = unescapedText(group->ownerAccount);
    const int needAuth = group->needAuthentication ? 1 : 0;
    const int storedVersion = static_cast<int>(version);

    // The version is written, never compared: an older one replaces a newer one.
    if (groupExist(group->id)) {
        return execChanging(
            "insertOrUpdateGroup",
            StringFormatUtil::string_format(
                "UPDATE %s SET %s = '%s', %s = '%s', %s = '%s', %s = '%s', %s = '%s', %s = %d, %s = %d, "
                "%s = '%s', %s = %d, %s = %d WHERE %s = %lld",
                sql::tblGroup, sql::name, name.c_str(), sql::iconUrl, icon.url.c_str(), sql::iconPath,
                icon.path.c_str(), sql::iconPathEx, icon.pathEx.c_str(), sql::info, info.c_str(),
                sql::capacity, capacity, sql::type, group->ownerType, sql::owner, owner.c_str(),
                sql::infoVersion, storedVersion, sql::needAuth, needAuth, sql::groupId, group->id));
    }
    return execChanging(
        "insertOrUpdateGroup",
        StringFormatUtil::string_format(
            "INSERT INTO %s (%s, %s, %s, %s, %s, %s, %s, %s, %s, %s ,%s) VALUES "
            "(%lld, '%s', '%s', '%s', '%s', "
            "'%s', %d, %d, '%s', %d, %d)",
            sql::tblGroup, sql::groupId, sql::name, sql::iconUrl, sql::iconPath, sql::iconPathEx, sql::info,
            sql::capacity, sql::type, sql::owner, sql::infoVersion, sql::needAuth, group->id, name.c_str(),
            icon.url.c_str(), icon.path.c_str(), icon.pathEx.c_str(), info.c_str(), capacity,
            group->ownerType, owner.c_str(), storedVersion, needAuth));
}

bool PelkoDBManager::groupExist(s64 groupID) {
    return checkIfRecordExist(sql::tblGroup,
                              StringFormatUtil::string_format("%s = %lld", sql::groupId, groupID).c_str());
}

PelkoGroup PelkoDBManager::getGroupInfo(s64 groupID) {
    PelkoGroup group(groupID);
    if (!checkReady("getGroupInfo")) {
        return group;
    }
    withFailureLogged("getGroupInfo", false, [&] {
        CppSQLite3Query query =
            connection().execQuery(StringFormatUtil::string_format("SELECT * FROM %s WHERE %s = %lld",
                                                                   sql::tblGroup, sql::groupId, groupID)
                                       .c_str());
        if (!query.eof()) {
            group.name = query.getStringField(sql::name, "");
            readMedia(query, sql::iconUrl, sql::iconPath, sql::iconPathEx, group.icon);
            group.info = query.getStringField(sql::info, "");
            group.capacity = static_cast<uint>(query.getIntField(sql::capacity, 0));
            group.ownerType = static_cast<PelkoGroupType>(query.getIntField(sql::type, 0));
            group.ownerAccount = query.getStringField(sql::owner, "");
            group.hasGotDetail = getTargetInfoVersion(group) != 0;
            group.needAuthentication = query.getIntField(sql::needAuth, 0) != 0;
        }
        query.finalize();
        return true;
    });
    return group;
}

uint PelkoDBManager::getTargetInfoVersion(const PelkoChatTarget& target) {
    if (!checkReady("getTargetInfoVersion")) {
        return 0;
    }
    const char* table = nullptr;
    const char* keyColumn = nullptr;
    switch (target.type) {
        case PelkoChatTargetTypeUser:
            table = sql::tblUser;
            keyColumn = sql::username;
            break;
        case PelkoChatTargetTypeRoom:
            table = sql::tblRoom;
            keyColumn = sql::roomId;
            break;
        case PelkoChatTargetTypeGroup:
            table = sql::tblGroup;
            keyColumn = sql::groupId;
            break;
        case PelkoChatTargetTypeCustomerService:
        default:
            return 0;
    }
    return withFailureLogged("getTargetInfoVersion", 0U, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT %s FROM %s WHERE %s = '%s'", sql::infoVersion, table,
                                            keyColumn, getTargetUniqueID(target).c_str())
                .c_str());
        const uint version = static_cast<uint>(query.getIntField(sql::infoVersion, 0));
        query.finalize();
        return version;
    });
}

bool PelkoDBManager::deleteGroup(s64 groupID) {
    if (!checkReady("deleteGroup")) {
        return false;
    }
    return execChanging("deleteGroup", StringFormatUtil::string_format("DELETE FROM %s WHERE %s = %lld",
                                                                       sql::tblGroup, sql::groupId, groupID));
}

bool PelkoDBManager::getGroupList(std::vector<PelkoGroup>& list) {
    if (!checkReady("getGroupList")) {
        return false;
    }
    return withFailureLogged("getGroupList", false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT * FROM %s ORDER BY %s asc", sql::tblGroupList, sql::rowid)
                .c_str());
        // All ids before the first group: see FailureConvention.h on statements within a loop.
        std::vector<s64> ids;
        const auto appendGroups = [&] {
            for (const s64 id : ids) {
                list.push_back(getGroupInfo(id));
            }
        };
        try {
            while (!query.eof()) {
                ids.push_back(query.getInt64Field(sql::groupId, 0));
                query.nextRow();
            }
        } catch (const CppSQLite3Exception&) {
            appendGroups();
            throw;
        }
        query.finalize();
        appendGroups();
        return true;
    });
}

}  // namespace pelkoapi
