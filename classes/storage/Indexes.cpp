#include "classes/platform/LoginContext.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// Indexes under the statements of the store. They change no result: a file without them, or with them, is
// read and written by any client of the format. Each is chosen for SQLite's planner without statistics; the
// partial ones also keep it from taking an index that begins with a column of few values for a conversation's
// page.

namespace pelkoapi {

namespace {

// One-to-one conversations that get an index of their own: at most so many, because every insertion pays for
// each of them, and only from so many messages on, since below that a page takes less than 2 ms without one.
constexpr int maxBusyConversations = 4;
constexpr int busyFromMessages = 2000;

// Which conversations are looked at: those with the most of the newest messages. Looking at these only keeps
// the cost of opening a file independent of its size.
constexpr int newestMessages = 256;
constexpr int busyFromNewest = 2;
constexpr int busiestTried = 8;

/// FNV-1a, 64 bits (Fowler, Noll, Vo): a name for an index that is the same in every run.
unsigned long long fnv1a(const std::string& text) {
    unsigned long long hash = 14695981039346656037ULL;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return hash;
}

}  // namespace

void PelkoDBManager::createIndexesIfNotExist() {
    // insertMessage's check for a known message, getReceivedMessage, ifMsgIDExist.
    createIndex(StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_msg_msg_id ON %s (%s)",
                                                sql::tblMsg, sql::msgId));
    // Pages, history and deletion of a room or group, in page order.
    createIndex(StringFormatUtil::string_format(
        "CREATE INDEX IF NOT EXISTS idx_msg_room ON %s (%s, %s, %s, %s) WHERE %s = %d OR %s = %d",
        sql::tblMsg, sql::receiverId, sql::receiverType, sql::date, sql::msgId, sql::receiverType,
        PelkoChatTargetTypeRoom, sql::receiverType, PelkoChatTargetTypeGroup));
    // Both directions of a conversation with a user or customer service.
    createIndex(StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_msg_pair ON %s (%s, %s)",
                                                sql::tblMsg, sql::receiverId, sql::senderId));
    // Every unread count, from the index alone, and clearUnreadStatus.
    createIndex(StringFormatUtil::string_format(
        "CREATE INDEX IF NOT EXISTS idx_msg_unread ON %s (%s, %s, %s, %s, %s) WHERE %s = %d", sql::tblMsg,
        sql::status, sql::receiverType, sql::receiverId, sql::senderType, sql::senderId, sql::status,
        PelkoMessageStatusUnread));
    // The two queries of the upgrade. The second index is on the row id, which the upgrade does not change,
    // so that no row is met twice.
    createIndex(
        StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_msg_sending ON %s (%s) WHERE %s = %d",
                                        sql::tblMsg, sql::status, sql::status, PelkoMessageStatusSending));
    createIndex(StringFormatUtil::string_format(
        "CREATE INDEX IF NOT EXISTS idx_msg_transfer ON %s (%s) WHERE %s in (%d, %d) and %s in (%d, %d)",
        sql::tblMsg, sql::dbId, sql::mediaStatus, PelkoMediaStatusDownloading, PelkoMediaStatusDownloadFailed,
        sql::type, PelkoMessageTypeAudio, PelkoMessageTypeImage));
    // Looking up and removing one name of a long friend or block list.
    createIndex(
        StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_relationship_name ON %s (%s, %s)",
                                        sql::tblRelationship, sql::username, sql::blockState));
    indexBusyConversation();
}

void PelkoDBManager::createIndex(const std::string& statement) {
    execSucceeds("createIndexesIfNotExist", statement);
}

void PelkoDBManager::indexBusyConversation() {
    // A page of a one-to-one conversation reads both directions from idx_msg_pair and sorts them: time grows
    // with the conversation. An index that holds exactly the rows that the conversation's condition names, in
    // page order, makes that independent of its length, and no other conversation's statement can use it. The
    // condition on kinds comes first in the index, so that the planner expects few rows of it and takes it.
    const std::string me = LoginContext::getInstance()->getUserName();
    if (me.find('\'') != std::string::npos) {
        return;  // such a user's conversations cannot be queried
    }
    if (queryCount("sqlite_master", "type = 'index' AND name GLOB 'idx_msg_with_*'") >=
        maxBusyConversations) {
        return;
    }
    withFailureLogged("createIndexesIfNotExist", false, [&] {
        CppSQLite3Query busiest = connection().execQuery(
            StringFormatUtil::string_format(
                "SELECT CASE WHEN %s = '%s' THEN %s ELSE %s END AS peer, COUNT(*) AS %s FROM (SELECT %s, %s, "
                "%s, "
                "%s FROM %s ORDER BY %s DESC LIMIT %d) WHERE %s = %d AND %s = %d AND (%s = '%s' OR %s = "
                "'%s') "
                "GROUP BY peer HAVING COUNT(*) >= %d ORDER BY COUNT(*) DESC LIMIT %d",
                sql::senderId, me.c_str(), sql::receiverId, sql::senderId, sql::count, sql::receiverType,
                sql::receiverId, sql::senderType, sql::senderId, sql::tblMsg, sql::dbId, newestMessages,
                sql::receiverType, PelkoChatTargetTypeUser, sql::senderType, PelkoChatTargetTypeUser,
                sql::senderId, me.c_str(), sql::receiverId, me.c_str(), busyFromNewest, busiestTried)
                .c_str());
        while (!busiest.eof()) {
            const std::string peer = transStringQuote(busiest.getStringField("peer", ""));
            if (indexConversation(partiesSql(peer, me))) {
                break;  // one a start: making it reads the whole table
            }
            busiest.nextRow();
        }
        return true;
    });
}

bool PelkoDBManager::indexConversation(const std::string& parties) {
    const std::string name = StringFormatUtil::string_format("idx_msg_with_%016llx", fnv1a(parties));
    if (checkIfRecordExist("sqlite_master",
                           StringFormatUtil::string_format("name = '%s'", name.c_str()).c_str())) {
        return false;
    }
    const std::string enough = StringFormatUtil::string_format(
        "(SELECT 1 FROM %s WHERE %s LIMIT %d)", sql::tblMsg, parties.c_str(), busyFromMessages);
    if (queryCount(enough.c_str(), "1") < busyFromMessages) {
        return false;
    }
    createIndex(StringFormatUtil::string_format(
        "CREATE INDEX IF NOT EXISTS %s ON %s (%s, %s, %s, %s) WHERE %s", name.c_str(), sql::tblMsg,
        sql::receiverType, sql::senderType, sql::date, sql::msgId, parties.c_str()));
    return true;
}

}  // namespace pelkoapi
