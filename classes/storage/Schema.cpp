#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"

// The tables of db.dat, which are the on-disk format: names, order and declared types are fixed. Each
// statement leaves an existing table as it is.

namespace pelkoapi {

void PelkoDBManager::createTablesIfNotExist() {
    // A table that could not be made is told by the log and by the operations that need it.
    createMsgTable();
    createRelationshipTable();
    createUserTable();
    createRoomTable();
    createGroupTable();
    createGroupListTable();
    createSessionTable();
    createNotifyTable();
    createLastMsgIdTable();
    createMsgConfigTable();
}

bool PelkoDBManager::createMsgTable() {
    if (!checkReady("createMsgTable")) {
        return false;
    }
    return execSucceeds(
        "createMsgTable",
        StringFormatUtil::string_format(
            "CREATE TABLE IF NOT EXISTS %s (%s bigint, %s integer primary key, %s integer, %s integer, %s "
            "text, "
            "%s integer, %s text, %s text, %s text, %s integer, %s integer, %s integer, %s text, %s integer, "
            "%s text, %s integer, %s text)",
            sql::tblMsg, sql::msgId, sql::dbId, sql::type, sql::date, sql::text, sql::mediaType,
            sql::mediaPath, sql::exMediaPath, sql::mediaUrl, sql::mediaStatus, sql::duration,
            sql::receiverType, sql::receiverId, sql::senderType, sql::senderId, sql::status, sql::extraPath));
}

bool PelkoDBManager::createRelationshipTable() {
    if (!checkReady("createRelationshipTable")) {
        return false;
    }
    // "integr" is how existing files declare the column; SQLite takes it for an integer all the same.
    return execSucceeds("createRelationshipTable", StringFormatUtil::string_format(
                                                       "CREATE TABLE IF NOT EXISTS %s (%s text, %s integr)",
                                                       sql::tblRelationship, sql::username, sql::blockState));
}

bool PelkoDBManager::createUserTable() {
    if (!checkReady("createUserTable")) {
        return false;
    }
    return execSucceeds("createUserTable",
                        StringFormatUtil::string_format(
                            "CREATE TABLE IF NOT EXISTS %s (%s text primary key, %s text, %s text, "
                            "%s text, %s text, %s text, %s integer, %s integer)",
                            sql::tblUser, sql::username, sql::nickname, sql::iconUrl, sql::iconPath,
                            sql::exIconPath, sql::info, sql::gender, sql::infoVersion));
}

bool PelkoDBManager::createRoomTable() {
    if (!checkReady("createRoomTable")) {
        return false;
    }
    return execSucceeds(
        "createRoomTable",
        StringFormatUtil::string_format(
            "CREATE TABLE IF NOT EXISTS %s (%s integer primary key, %s text, %s text, %s text, %s text, "
            "%s integer, %s text, %s integer, %s integer, %s integer)",
            sql::tblRoom, sql::roomId, sql::name, sql::iconUrl, sql::iconPath, sql::iconPathEx, sql::isTop,
            sql::info, sql::capacity, sql::onlineNumber, sql::infoVersion));
}

bool PelkoDBManager::createGroupTable() {
    if (!checkReady("createGroupTable")) {
        return false;
    }
    return execSucceeds("createGroupTable", StringFormatUtil::string_format(
                                                "CREATE TABLE IF NOT EXISTS %s (%s bigint primary key, %s "
                                                "text, %s text, %s text, %s text, %s text, "
                                                "%s integer, %s integer, %s text, %s integer, %s integer)",
                                                sql::tblGroup, sql::groupId, sql::name, sql::iconUrl,
                                                sql::iconPath, sql::iconPathEx, sql::info, sql::capacity,
                                                sql::type, sql::owner, sql::infoVersion, sql::needAuth));
}

bool PelkoDBManager::createGroupListTable() {
    if (!checkReady("createGroupListTable")) {
        return false;
    }
    return execSucceeds("createGroupListTable", StringFormatUtil::string_format(
                                                    "CREATE TABLE IF NOT EXISTS %s (%s bigint primary key)",
                                                    sql::tblGroupList, sql::groupId));
}

bool PelkoDBManager::createSessionTable() {
    if (!checkReady("createSessionTable")) {
        return false;
    }
    return execSucceeds(
        "createSessionTable",
        StringFormatUtil::string_format("CREATE TABLE IF NOT EXISTS %s (%s integer, %s text, %s bigint, "
                                        "%s integer, %s integer, constraint pk_t2 primary key (%s, %s))",
                                        sql::tblSession, sql::targetType, sql::targetId, sql::lastMsgId,
                                        sql::isTop, sql::priority, sql::targetType, sql::targetId));
}

bool PelkoDBManager::createNotifyTable() {
    if (!checkReady("createNotifyTable")) {
        return false;
    }
    return execSucceeds(
        "createNotifyTable",
        StringFormatUtil::string_format(
            "CREATE TABLE IF NOT EXISTS %s (%s integer primary key AUTOINCREMENT, %s integer, %s integer, "
            "%s integer, %s bigint, %s text, %s integer, %s bigint, %s text, %s integer, %s bigint, %s text, "
            "%s integer, %s integer, %s integer, %s text)",
            sql::tblNotify, sql::dbId, sql::date, sql::isRead, sql::senderType, sql::senderId,
            sql::senderName, sql::receiverType, sql::receiverId, sql::receiverName, sql::fromType,
            sql::fromId, sql::fromName, sql::isSystem, sql::response, sql::type, sql::text));
}

bool PelkoDBManager::createLastMsgIdTable() {
    if (!checkReady("createLastMsgIdTable")) {
        return false;
    }
    return execSucceeds(
        "createLastMsgIdTable",
        StringFormatUtil::string_format("CREATE TABLE IF NOT EXISTS %s (%s text primary key, %s bigint)",
                                        sql::tblLastMsgId, sql::key, sql::lastMsgId));
}

bool PelkoDBManager::createMsgConfigTable() {
    if (!checkReady("createMsgConfigTable")) {
        return false;
    }
    return execSucceeds(
        "createMsgConfigTable",
        StringFormatUtil::string_format("CREATE TABLE IF NOT EXISTS %s (%s integer, %s text, %s integer, "
                                        "constraint pk_t2 primary key (%s, %s))",
                                        sql::tblMsgConfig, sql::targetType, sql::targetId, sql::msgConfig,
                                        sql::targetType, sql::targetId));
}

bool PelkoDBManager::createConfigTable() {
    return true;  // there is no table of settings apart from tbl_msg_config
}

}  // namespace pelkoapi
