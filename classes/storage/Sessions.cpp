#include <utility>
#include <vector>

#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"

// The list of conversations, one row per peer.

namespace pelkoapi {

bool PelkoDBManager::loadSessionList(std::list<PelkoSession>& sessions) {
    if (!checkReady("loadSessionList")) {
        return false;
    }
    return withFailureLogged("loadSessionList", false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT * FROM %s", sql::tblSession).c_str());
        // All rows before the first message: see FailureConvention.h on statements within a loop.
        struct Row {
            PelkoSession session;
            s64 lastMsgId = 0;
            bool complete = false;
        };
        std::vector<Row> rows;
        const auto appendSessions = [&] {
            for (Row& row : rows) {
                row.session.lastMsg = getMessage(row.lastMsgId);
                if (row.complete) {
                    sessions.push_back(std::move(row.session));
                }
            }
        };
        try {
            while (!query.eof()) {
                const bool isTop = query.getIntField(sql::isTop, 0) != 0;
                const int priority = query.getIntField(sql::priority, 0);
                // Read as 32 bits and widened, as every client of the format does.
                const s64 lastMsgId = query.getIntField(sql::lastMsgId, 0);
                Row& row = rows.emplace_back();
                row.lastMsgId = lastMsgId;
                row.session.isTop = isTop;
                row.session.priority = priority;
                const auto type = static_cast<PelkoChatTargetType>(query.getIntField(sql::targetType, 0));
                row.session.target = targetFromTypeAndID(type, query.getStringField(sql::targetId, ""));
                query.nextRow();
                row.complete = true;
            }
        } catch (const CppSQLite3Exception&) {
            appendSessions();
            throw;
        }
        query.finalize();
        appendSessions();
        return true;
    });
}

bool PelkoDBManager::insertNewSession(const PelkoSession& session) {
    if (!checkReady("insertNewSession")) {
        return false;
    }
    // The pin flag and the last message's row id stand in each other's column: existing files and their
    // readers have them so.
    return execChanging("insertNewSession",
                        StringFormatUtil::string_format(
                            "INSERT INTO %s (%s, %s, %s, %s, %s) VALUES (%d, '%s', %d, %lld, %d)",
                            sql::tblSession, sql::targetType, sql::targetId, sql::lastMsgId, sql::isTop,
                            sql::priority, session.target.type, getTargetUniqueID(session.target).c_str(),
                            session.isTop ? 1 : 0, session.lastMsg.dbID, session.priority));
}

bool PelkoDBManager::deleteSession(const PelkoChatTarget& target) {
    if (!checkReady("deleteSession")) {
        return false;
    }
    return execChanging("deleteSession",
                        StringFormatUtil::string_format("DELETE FROM %s WHERE %s = %d AND %s = '%s'",
                                                        sql::tblSession, sql::targetType, target.type,
                                                        sql::targetId, getTargetUniqueID(target).c_str()));
}

bool PelkoDBManager::markSessionIsTop(const PelkoChatTarget& target, bool isTop, int priority) {
    if (!checkReady("markSessionIsTop")) {
        return false;
    }
    return execChanging("markSessionIsTop",
                        StringFormatUtil::string_format(
                            "UPDATE %s SET %s = %d, %s= %d WHERE %s = %d AND %s = '%s'", sql::tblSession,
                            sql::isTop, isTop ? 1 : 0, sql::priority, priority, sql::targetType, target.type,
                            sql::targetId, getTargetUniqueID(target).c_str()));
}

bool PelkoDBManager::updateSessionLastMsg(const PelkoChatTarget& target, s64 msgID) {
    if (!checkReady("updateSessionLastMsg")) {
        return false;
    }
    return execChanging(
        "updateSessionLastMsg",
        StringFormatUtil::string_format("UPDATE %s SET %s = %lld WHERE %s = %d AND %s = '%s'",
                                        sql::tblSession, sql::lastMsgId, msgID, sql::targetType, target.type,
                                        sql::targetId, getTargetUniqueID(target).c_str()));
}

}  // namespace pelkoapi
