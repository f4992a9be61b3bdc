#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// The friend list and the block list: one table, one row per name and relation.

namespace pelkoapi {

bool PelkoDBManager::addRelationship(std::string& name, PelkoUserRelation relation) {
    if (!checkReady("addRelationship") || hasRelationship(name, relation)) {
        return false;
    }
    return execChanging("addRelationship",
                        StringFormatUtil::string_format("INSERT INTO %s (%s, %s) VALUES ('%s', %d)",
                                                        sql::tblRelationship, sql::username, sql::blockState,
                                                        transStringQuote(name).c_str(), relation));
}

bool PelkoDBManager::removeRelationship(std::string& name, PelkoUserRelation relation) {
    if (!checkReady("removeRelationship")) {
        return false;
    }
    return execChanging("removeRelationship",
                        StringFormatUtil::string_format(
                            "DELETE FROM %s WHERE %s = '%s' AND %s = %d", sql::tblRelationship, sql::username,
                            transStringQuote(name).c_str(), sql::blockState, relation));
}

bool PelkoDBManager::removeRelationship(PelkoUserRelation relation) {
    if (!checkReady("removeRelationship")) {
        return false;
    }
    return execChanging("removeRelationship",
                        StringFormatUtil::string_format("DELETE FROM %s WHERE %s = %d", sql::tblRelationship,
                                                        sql::blockState, relation));
}

bool PelkoDBManager::hasRelationship(std::string& name, PelkoUserRelation relation) {
    if (!checkReady("hasRelationship")) {
        return false;
    }
    // The lookup goes by the raw name, unlike the insert and the delete: a name with a single quote can be on
    // a list, but is never found on it.
    const std::string condition = StringFormatUtil::string_format(
        "%s = '%s' AND %s = %d", sql::username, unescapedText(name).c_str(), sql::blockState, relation);
    return checkIfRecordExist(sql::tblRelationship, condition.c_str());
}

std::vector<std::string> PelkoDBManager::getRelationUsernames(PelkoUserRelation relation) {
    std::vector<std::string> names;
    if (!checkReady("getRelationUsernames")) {
        return names;
    }
    withFailureLogged("getRelationUsernames", false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT * FROM %s WHERE %s = %d ORDER BY %s asc",
                                            sql::tblRelationship, sql::blockState, relation, sql::rowid)
                .c_str());
        while (!query.eof()) {
            names.emplace_back(query.getStringField(sql::username, ""));
            query.nextRow();
        }
        return true;
    });
    return names;
}

uint PelkoDBManager::saveRelationships(const char* operation, std::vector<std::string>& names,
                                       PelkoUserRelation relation) {
    if (!checkReady(operation)) {
        return 0;
    }
    uint saved = 0;
    for (std::string& name : names) {
        saved += addRelationship(name, relation) ? 1 : 0;
    }
    return saved;
}

bool PelkoDBManager::addFriend(std::string& name) {
    return addRelationship(name, Friend);
}

bool PelkoDBManager::deleteFriend(std::string& name) {
    return removeRelationship(name, Friend);
}

bool PelkoDBManager::isFriend(std::string& name) {
    return hasRelationship(name, Friend);
}

bool PelkoDBManager::clearFriendList() {
    return removeRelationship(Friend);
}

std::vector<std::string> PelkoDBManager::getFriendUsernames() {
    return getRelationUsernames(Friend);
}

uint PelkoDBManager::saveFriendList(std::vector<std::string>& names) {
    return saveRelationships("saveFriendList", names, Friend);
}

bool PelkoDBManager::replaceFriendList(std::vector<std::string>& names) {
    removeRelationship(Friend);
    return saveFriendList(names) > 0;
}

bool PelkoDBManager::blockUser(std::string& name) {
    return addRelationship(name, Blocked);
}

bool PelkoDBManager::unblockUser(std::string& name) {
    return removeRelationship(name, Blocked);
}

bool PelkoDBManager::isBlocked(std::string& name) {
    return hasRelationship(name, Blocked);
}

bool PelkoDBManager::clearBlockList() {
    return removeRelationship(Blocked);
}

std::vector<std::string> PelkoDBManager::getBlockUsernames() {
    return getRelationUsernames(Blocked);
}

uint PelkoDBManager::saveBlockList(std::vector<std::string>& names) {
    return saveRelationships("saveBlockList", names, Blocked);
}

bool PelkoDBManager::replaceBlockList(std::vector<std::string>& names) {
    removeRelationship(Blocked);
    return saveBlockList(names) > 0;
}

}  // namespace pelkoapi
