#include <cstring>

#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// Group invitations, join requests and replies with their read state.

namespace pelkoapi {

namespace {

/// The answer as 0 or 1. The record's default constructor leaves it uninitialised, and a byte that is neither
/// must not be read as a bool.
int answerOf(const PelkoNotify& notify) {
    unsigned char byte = 0;
    static_assert(sizeof byte == sizeof notify.agree, "a bool is read as one byte");
    std::memcpy(&byte, &notify.agree, sizeof byte);
    return byte != 0 ? 1 : 0;
}

}  // namespace

bool PelkoDBManager::insertNotify(PelkoNotify* notify) {
    if (!checkReady("insertNotify") || notify == nullptr) {
        return false;
    }
    return withFailureLogged("insertNotify", false, [&] {
        const std::string statement = StringFormatUtil::string_format(
            "INSERT INTO %s (%s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s) VALUES (%ld, %d, "
            "%d, "
            "%lld, '%s', %d, %lld, '%s',%d, %lld, '%s', %d, %d, %d, '%s')",
            sql::tblNotify, sql::date, sql::isRead, sql::senderType, sql::senderId, sql::senderName,
            sql::receiverType, sql::receiverId, sql::receiverName, sql::fromType, sql::fromId, sql::fromName,
            sql::isSystem, sql::response, sql::type, sql::text, notify->date, notify->isRead ? 1 : 0,
            notify->sender.type, notify->sender.id, transStringQuote(notify->sender.name).c_str(),
            notify->receiver.type, notify->receiver.id, transStringQuote(notify->receiver.name).c_str(),
            notify->from.type, notify->from.id, transStringQuote(notify->from.name).c_str(),
            notify->isSystemNotify ? 1 : 0, answerOf(*notify), notify->type,
            unescapedText(notify->text).c_str());
        if (connection().execDML(statement.c_str()) == 0) {
            return false;
        }
        CppSQLite3Query query = connection().execQuery("SELECT last_insert_rowid()");
        notify->dbID = query.getIntField(0, 0);  // 32 bits, as every reader of a notification's row id
        query.finalize();
        return true;
    });
}

bool PelkoDBManager::loadNotifyList(std::vector<PelkoNotify>& notifyList) {
    if (!checkReady("loadNotifyList")) {
        return false;
    }
    return withFailureLogged("loadNotifyList", false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT * FROM %s ORDER BY %s DESC", sql::tblNotify, sql::dbId)
                .c_str());
        while (!query.eof()) {
            notifyList.push_back(notifyFromQuery(query));
            query.nextRow();
        }
        query.finalize();
        return true;
    });
}

PelkoNotify PelkoDBManager::notifyFromQuery(CppSQLite3Query& query) {
    const auto target = [&](const char* idColumn, const char* typeColumn, const char* nameColumn) {
        const s64 id = query.getInt64Field(idColumn, 0);
        const auto type = static_cast<PelkoChatTargetType>(query.getInt64Field(typeColumn, 0));
        PelkoChatTarget party(id, type);
        party.name = query.getStringField(nameColumn, "");
        return party;
    };
    PelkoNotify notify;
    notify.dbID = query.getIntField(sql::dbId, 0);
    notify.date = query.getIntField(sql::date, 0);
    notify.isRead = query.getIntField(sql::isRead, 0) != 0;
    notify.sender = target(sql::senderId, sql::senderType, sql::senderName);
    notify.from = target(sql::fromId, sql::fromType, sql::fromName);
    notify.receiver = target(sql::receiverId, sql::receiverType, sql::receiverName);
    notify.isSystemNotify = query.getIntField(sql::isSystem, 0) != 0;
    notify.agree = query.getIntField(sql::response, 0) != 0;
    notify.type = static_cast<PelkoNotifyType>(query.getIntField(sql::type, 0));
    notify.text = query.getStringField(sql::text, "");
    return notify;
}

bool PelkoDBManager::deleteNotifys(const std::vector<long>& dbIDs) {
    if (!checkReady("deleteNotifys") || dbIDs.empty()) {
        return false;
    }
    return execChanging("deleteNotifys",
                        StringFormatUtil::string_format("DELETE FROM %s WHERE %s IN %s", sql::tblNotify,
                                                        sql::dbId, numberList(dbIDs).c_str()));
}

uint PelkoDBManager::getUnreadNotifyCount() {
    if (!checkReady("getUnreadNotifyCount")) {
        return 0;
    }
    const std::string condition = StringFormatUtil::string_format("%s = %d", sql::isRead, 0);
    return static_cast<uint>(queryCount(sql::tblNotify, condition.c_str()));
}

bool PelkoDBManager::markNotifyIsRead(long dbID, bool isRead) {
    if (!checkReady("markNotifyIsRead")) {
        return false;
    }
    return execChanging("markNotifyIsRead", StringFormatUtil::string_format(
                                                "UPDATE %s SET %s = %d WHERE %s = %ld", sql::tblNotify,
                                                sql::isRead, isRead ? 1 : 0, sql::dbId, dbID));
}

bool PelkoDBManager::clearNotifyUnreadStatus() {
    if (!checkReady("clearNotifyUnreadStatus")) {
        return false;
    }
    return execChanging(
        "clearNotifyUnreadStatus",
        StringFormatUtil::string_format("UPDATE %s SET %s = %d", sql::tblNotify, sql::isRead, 1));
}

PelkoNotify PelkoDBManager::getNottify(long dbID) {
    PelkoNotify notify;
    if (!checkReady("getNottify")) {
        return notify;
    }
    withFailureLogged("getNottify", false, [&] {
        CppSQLite3Query query =
            connection().execQuery(StringFormatUtil::string_format("SELECT * FROM %s WHERE %s = %ld",
                                                                   sql::tblNotify, sql::dbId, dbID)
                                       .c_str());
        if (!query.eof()) {
            notify = notifyFromQuery(query);
        }
        query.finalize();
        return true;
    });
    return notify;
}

}  // namespace pelkoapi
