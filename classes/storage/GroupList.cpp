#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"

// The groups that the logged-in user belongs to, as bare ids.

namespace pelkoapi {

bool PelkoDBManager::joinGroup(s64 groupID) {
    if (!checkReady("joinGroup") || isInGroup(groupID)) {
        return false;
    }
    return execChanging(
        "joinGroup", StringFormatUtil::string_format("INSERT INTO %s (%s) VALUES (%lld)", sql::tblGroupList,
                                                     sql::groupId, groupID));
}

uint PelkoDBManager::saveGroupList(std::vector<long long>& groupIDs) {
    if (!checkReady("saveGroupList")) {
        return 0;
    }
    uint saved = 0;
    for (const long long groupID : groupIDs) {
        saved += joinGroup(groupID) ? 1 : 0;
    }
    return saved;
}

bool PelkoDBManager::replaceGroupList(std::vector<long long>& groupIDs) {
    clearGroupList();
    return saveGroupList(groupIDs) > 0;
}

bool PelkoDBManager::clearGroupList() {
    if (!checkReady("clearGroupList")) {
        return false;
    }
    return execChanging("clearGroupList",
                        StringFormatUtil::string_format("DELETE FROM %s", sql::tblGroupList));
}

bool PelkoDBManager::isInGroup(s64 groupID) {
    if (!checkReady("isInGroup")) {
        return false;
    }
    return checkIfRecordExist(sql::tblGroupList,
                              StringFormatUtil::string_format("%s = %lld", sql::groupId, groupID).c_str());
}

bool PelkoDBManager::quitGroup(s64 groupID) {
    if (!checkReady("quitGroup")) {
        return false;
    }
    return execChanging("quitGroup",
                        StringFormatUtil::string_format("DELETE FROM %s WHERE %s = %lld", sql::tblGroupList,
                                                        sql::groupId, groupID));
}

}  // namespace pelkoapi
