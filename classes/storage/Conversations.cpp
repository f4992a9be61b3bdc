#include "classes/platform/LoginContext.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// Pages and unread counts of one conversation, named by its peer.

namespace pelkoapi {

std::string PelkoDBManager::partiesSql(const std::string& peer, const std::string& me) const {
    return StringFormatUtil::string_format("((%s = '%s' AND %s = '%s') OR (%s = '%s' AND %s = '%s'))",
                                           sql::receiverId, peer.c_str(), sql::senderId, me.c_str(),
                                           sql::senderId, peer.c_str(), sql::receiverId, me.c_str());
}

std::string PelkoDBManager::conditionSqlWithTarget(const PelkoChatTarget& target) const {
    const std::string peer = getTargetUniqueID(target);
    if (target.type == PelkoChatTargetTypeRoom || target.type == PelkoChatTargetTypeGroup) {
        return StringFormatUtil::string_format("(%s = %d AND %s = '%s')", sql::receiverType, target.type,
                                               sql::receiverId, peer.c_str());
    }

    const std::string me = unescapedText(LoginContext::getInstance()->getUserName());
    if (target.type == PelkoChatTargetTypeUser) {
        return StringFormatUtil::string_format("((%s = %d AND %s = %d) AND %s)", sql::receiverType,
                                               PelkoChatTargetTypeUser, sql::senderType,
                                               PelkoChatTargetTypeUser, partiesSql(peer, me).c_str());
    }
    if (target.type == PelkoChatTargetTypeCustomerService) {
        return StringFormatUtil::string_format("(((%s = %d AND %s = %d) OR ((%s = %d AND %s = %d))) AND %s)",
                                               sql::receiverType, PelkoChatTargetTypeUser, sql::senderType,
                                               PelkoChatTargetTypeCustomerService, sql::receiverType,
                                               PelkoChatTargetTypeCustomerService, sql::senderType,
                                               PelkoChatTargetTypeUser, partiesSql(peer, me).c_str());
    }
    return {};  // no condition: the statement around it is refused and the operation fails
}

bool PelkoDBManager::getLatestMessages(const PelkoChatTarget& target, uint count,
                                       std::deque<PelkoMessage>& messages) {
    if (!checkReady("getLatestMessages") || count == 0) {
        return false;
    }
    return readPage("getLatestMessages",
                    StringFormatUtil::string_format(
                        "SELECT * FROM %s WHERE %s ORDER BY %s desc, %s desc, %s desc LIMIT %d", sql::tblMsg,
                        conditionSqlWithTarget(target).c_str(), sql::date, sql::msgId, sql::dbId,
                        static_cast<int>(count)),
                    messages);
}

bool PelkoDBManager::getHistoryMessages(const PelkoChatTarget& target, s64 dbID, uint count,
                                        std::deque<PelkoMessage>& messages) {
    if (!checkReady("getHistoryMessages") || dbID < 1 || count == 0) {
        return false;
    }
    return readPage(
        "getHistoryMessages",
        StringFormatUtil::string_format(
            "SELECT * FROM (SELECT a.* FROM %s as a, %s as b WHERE b.%s = %lld AND a.%s <= b.%s AND "
            "a.%s != b.%s) WHERE %s ORDER BY %s desc, %s desc, %s desc LIMIT %d",
            sql::tblMsg, sql::tblMsg, sql::dbId, dbID, sql::date, sql::date, sql::dbId, sql::dbId,
            conditionSqlWithTarget(target).c_str(), sql::date, sql::msgId, sql::dbId,
            static_cast<int>(count)),
        messages);
}

bool PelkoDBManager::readPage(const char* operation, const std::string& statement,
                              std::deque<PelkoMessage>& messages) {
    return withFailureLogged(operation, false, [&] {
        CppSQLite3Query query = connection().execQuery(statement.c_str());
        while (!query.eof()) {
            messages.push_front(createMsgFromQuery(query));  // newest first becomes oldest first
            query.nextRow();
        }
        query.finalize();
        return true;
    });
}

bool PelkoDBManager::clearUnreadStatus(const PelkoChatTarget& target) {
    if (!checkReady("clearUnreadStatus")) {
        return false;
    }
    return execSucceeds("clearUnreadStatus",
                        StringFormatUtil::string_format("UPDATE %s SET %s = %d WHERE %s AND %s = %d",
                                                        sql::tblMsg, sql::status, PelkoMessageStatusRead,
                                                        conditionSqlWithTarget(target).c_str(), sql::status,
                                                        PelkoMessageStatusUnread));
}

uint PelkoDBManager::getUnreadCountOfTarget(const PelkoChatTarget& target) {
    if (!checkReady("getUnreadCountOfTarget")) {
        return 0;
    }
    const std::string condition = StringFormatUtil::string_format(
        "%s AND %s = %d", conditionSqlWithTarget(target).c_str(), sql::status, PelkoMessageStatusUnread);
    return static_cast<uint>(queryCount(sql::tblMsg, condition.c_str()));
}

uint PelkoDBManager::getUnreadCountOfTypes(std::vector<PelkoChatTargetType>& types) {
    if (!checkReady("getUnreadCountOfTypes") || types.empty()) {
        return 0;
    }
    const std::string condition =
        StringFormatUtil::string_format("%s IN %s AND %s = %d", sql::receiverType, numberList(types).c_str(),
                                        sql::status, PelkoMessageStatusUnread);
    return static_cast<uint>(queryCount(sql::tblMsg, condition.c_str()));
}

uint PelkoDBManager::getTotalUnreadCount() {
    if (!checkReady("getTotalUnreadCount")) {
        return 0;
    }
    const std::string condition =
        StringFormatUtil::string_format("%s = %d", sql::status, PelkoMessageStatusUnread);
    return static_cast<uint>(queryCount(sql::tblMsg, condition.c_str()));
}

}  // namespace pelkoapi
