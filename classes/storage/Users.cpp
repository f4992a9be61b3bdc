#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/MediaColumns.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// The cached user profiles, and the friend and block lists as full users.

namespace pelkoapi {

PelkoUser PelkoDBManager::getBaseUserInfo(std::string& name) {
    PelkoUser user(name);
    if (!checkReady("getBaseUserInfo")) {
        return user;
    }
    withFailureLogged("getBaseUserInfo", false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT * FROM %s WHERE %s = '%s'", sql::tblUser, sql::username,
                                            unescapedText(name).c_str())
                .c_str());
        if (!query.eof()) {
            readMedia(query, sql::iconUrl, sql::iconPath, sql::exIconPath, user.icon);
            user.info = query.getStringField(sql::info, "");
            user.nickname = query.getStringField(sql::nickname, "");
            user.gender = static_cast<PelkoUserGender>(query.getIntField(sql::gender, 0));
            user.hasGotDetail = getTargetInfoVersion(user) != 0;
        }
        query.finalize();
        return true;
    });
    return user;
}

PelkoUser PelkoDBManager::getUserInfo(std::string name) {
    PelkoUser user = getBaseUserInfo(name);
    user.isFriend = hasRelationship(name, Friend);
    user.isBlocked = hasRelationship(name, Blocked);
    return user;
}

bool PelkoDBManager::getFriendList(std::vector<PelkoUser>& users) {
    if (!checkReady("getFriendList")) {
        return false;
    }
    listUsers(Friend, users);
    return true;
}

bool PelkoDBManager::getBlockList(std::vector<PelkoUser>& users) {
    if (!checkReady("getBlockList")) {
        return false;
    }
    listUsers(Blocked, users);
    return true;
}

void PelkoDBManager::listUsers(PelkoUserRelation relation, std::vector<PelkoUser>& users) {
    users.clear();
    for (std::string& name : getRelationUsernames(relation)) {
        PelkoUser user = getBaseUserInfo(name);
        user.isFriend = relation == Friend || hasRelationship(name, Friend);
        user.isBlocked = relation == Blocked || hasRelationship(name, Blocked);
        users.push_back(std::move(user));
    }
}

bool PelkoDBManager::insertOrUpdateUser(PelkoUser& user, uint version) {
    if (!checkReady("insertOrUpdateUser")) {
        return false;
    }
    const std::string name = transStringQuote(user.name);
    const std::string nickname = transStringQuote(user.nickname);
    const std::string info = transStringQuote(user.info);
    const MediaText icon = mediaText(user.icon);
    const int storedVersion = static_cast<int>(version);

    // The version is written, never compared: an older one replaces a newer one.
    if (userExist(user.name)) {
        return execChanging(
            "insertOrUpdateUser",
            StringFormatUtil::string_format(
                "UPDATE %s SET %s = '%s', %s = '%s', %s = '%s', %s = '%s', %s = '%s', %s = %d, %s = %d "
                "WHERE %s = '%s'",
                sql::tblUser, sql::nickname, nickname.c_str(), sql::iconUrl, icon.url.c_str(), sql::iconPath,
                icon.path.c_str(), sql::exIconPath, icon.pathEx.c_str(), sql::info, info.c_str(), sql::gender,
                user.gender, sql::infoVersion, storedVersion, sql::username, name.c_str()));
    }
    return execChanging(
        "insertOrUpdateUser",
        StringFormatUtil::string_format(
            "INSERT INTO %s (%s, %s, %s, %s, %s, %s, %s, %s) VALUES ('%s', '%s', '%s', '%s', '%s', '%s', %d, "
            "%d)",
            sql::tblUser, sql::username, sql::nickname, sql::iconUrl, sql::iconPath, sql::exIconPath,
            sql::info, sql::gender, sql::infoVersion, name.c_str(), nickname.c_str(), icon.url.c_str(),
            icon.path.c_str(), icon.pathEx.c_str(), info.c_str(), user.gender, storedVersion));
}

bool PelkoDBManager::userExist(std::string& name) {
    return checkIfRecordExist(
        sql::tblUser,
        StringFormatUtil::string_format("%s = '%s'", sql::username, unescapedText(name).c_str()).c_str());
}

bool PelkoDBManager::deleteUser(std::string& name) {
    if (!checkReady("deleteUser")) {
        return false;
    }
    return execChanging("deleteUser",
                        StringFormatUtil::string_format("DELETE FROM %s WHERE %s = '%s'", sql::tblUser,
                                                        sql::username, transStringQuote(name).c_str()));
}

}  // namespace pelkoapi
