#include "classes/platform/FileUtil.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
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
            user.icon.url = query.getStringField(sql::iconUrl, "");
            user.icon.path = FileUtil::getFullPath(query.getStringField(sql::iconPath, ""));
            user.icon.pathEx = FileUtil::getFullPath(query.getStringField(sql::exIconPath, ""));
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
    users.clear();
    for (std::string& name : getRelationUsernames(Friend)) {
        PelkoUser user = getBaseUserInfo(name);
        user.isFriend = true;
        user.isBlocked = hasRelationship(name, Blocked);
        users.push_back(std::move(user));
    }
    return true;
}

bool PelkoDBManager::getBlockList(std::vector<PelkoUser>& users) {
    if (!checkReady("getBlockList")) {
        return false;
    }
    users.clear();
    for (std::string& name : getRelationUsernames(Blocked)) {
        PelkoUser user = getBaseUserInfo(name);
        user.isBlocked = true;
        user.isFriend = hasRelationship(name, Friend);
        users.push_back(std::move(user));
    }
    return true;
}

bool PelkoDBManager::insertOrUpdateUser(PelkoUser& user, uint version) {
    if (!checkReady("insertOrUpdateUser")) {
        return false;
    }
    const std::string name = transStringQuote(user.name);
    const std::string nickname = transStringQuote(user.nickname);
    const std::string info = transStringQuote(user.info);
    const std::string url = unescapedText(user.icon.url);
    const std::string path = unescapedText(FileUtil::getAppRelativePath(user.icon.path));
    const std::string pathEx = unescapedText(FileUtil::getAppRelativePath(user.icon.pathEx));
    const int storedVersion = static_cast<int>(version);

    // The version is written, never compared: an older one replaces a newer one.
    if (userExist(user.name)) {
        return execChanging(
            "insertOrUpdateUser",
            StringFormatUtil::string_format(
                "UPDATE %s SET %s = '%s', %s = '%s', %s = '%s', %s = '%s', %s = '%s', %s = %d, %s = %d "
                "WHERE %s = '%s'",
                sql::tblUser, sql::nickname, nickname.c_str(), sql::iconUrl, url.c_str(), sql::iconPath,
                path.c_str(), sql::exIconPath, pathEx.c_str(), sql::info, info.c_str(), sql::gender,
                user.gender, sql::infoVersion, storedVersion, sql::username, name.c_str()));
    }
    return execChanging(
        "insertOrUpdateUser",
        StringFormatUtil::string_format(
            "INSERT INTO %s (%s, %s, %s, %s, %s, %s, %s, %s) VALUES ('%s', '%s', '%s', '%s', '%s', '%s', %d, "
            "%d)",
            sql::tblUser, sql::username, sql::nickname, sql::iconUrl, sql::iconPath, sql::exIconPath,
            sql::info, sql::gender, sql::infoVersion, name.c_str(), nickname.c_str(), url.c_str(),
            path.c_str(), pathEx.c_str(), info.c_str(), user.gender, storedVersion));
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
