#include <algorithm>

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

constexpr char createIndexes[] = "createIndexesIfNotExist";

// One-to-one conversations that get an index of their own: at most so many, because every insertion pays for
// each of them, and only from so many messages on, since below that a page takes less than 2 ms without one.
constexpr std::size_t maxBusyConversations = 4;
constexpr int busyFromMessages = 2000;

// Which conversations are looked at: those with the most of the newest messages. Looking at these only keeps
// the cost of opening a file independent of its size.
constexpr int newestMessages = 256;
constexpr int busyFromNewest = 2;
constexpr int busiestTried = 8;

constexpr char busyPrefix[] = "idx_msg_with_";

/// A name for the index of these parties, the same in every run: FNV-1a, 64 bits (Fowler, Noll, Vo).
std::string indexName(const std::string& parties) {
    unsigned long long hash = 14695981039346656037ULL;
    for (const char c : parties) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return StringFormatUtil::string_format("%s%016llx", busyPrefix, hash);
}

/// Whether indexName() can have made it. Others of that beginning are somebody else's, and could be anything:
/// names stand in a statement as they are.
bool isIndexName(const std::string& name) {
    const std::size_t head = sizeof busyPrefix - 1;
    return name.size() == head + 16 && name.find_first_not_of("0123456789abcdef", head) == std::string::npos;
}

}  // namespace

void PelkoDBManager::createIndexesIfNotExist() {
    const std::string indexes[] = {
        // insertMessage's check for a known message, getReceivedMessage, ifMsgIDExist.
        StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_msg_msg_id ON %s (%s)", sql::tblMsg,
                                        sql::msgId),
        // Pages, history and deletion of a room or group, in page order.
        StringFormatUtil::string_format(
            "CREATE INDEX IF NOT EXISTS idx_msg_room ON %s (%s, %s, %s, %s) WHERE %s = %d OR %s = %d",
            sql::tblMsg, sql::receiverId, sql::receiverType, sql::date, sql::msgId, sql::receiverType,
            PelkoChatTargetTypeRoom, sql::receiverType, PelkoChatTargetTypeGroup),
        // Both directions of a conversation with a user or customer service.
        StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_msg_pair ON %s (%s, %s)", sql::tblMsg,
                                        sql::receiverId, sql::senderId),
        // Every unread count, from the index alone, and clearUnreadStatus.
        StringFormatUtil::string_format(
            "CREATE INDEX IF NOT EXISTS idx_msg_unread ON %s (%s, %s, %s, %s, %s) WHERE %s = %d", sql::tblMsg,
            sql::status, sql::receiverType, sql::receiverId, sql::senderType, sql::senderId, sql::status,
            PelkoMessageStatusUnread),
        // The two queries of the upgrade. The second index is on the row id, which the upgrade leaves alone,
        // so that no row is met twice.
        StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_msg_sending ON %s (%s) WHERE %s = %d",
                                        sql::tblMsg, sql::status, sql::status, PelkoMessageStatusSending),
        StringFormatUtil::string_format(
            "CREATE INDEX IF NOT EXISTS idx_msg_transfer ON %s (%s) WHERE %s in (%d, %d) and %s in (%d, %d)",
            sql::tblMsg, sql::dbId, sql::mediaStatus, PelkoMediaStatusDownloading,
            PelkoMediaStatusDownloadFailed, sql::type, PelkoMessageTypeAudio, PelkoMessageTypeImage),
        // Looking up and removing one name of a long friend or block list.
        StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS idx_relationship_name ON %s (%s, %s)",
                                        sql::tblRelationship, sql::username, sql::blockState),
    };
    for (const std::string& statement : indexes) {
        if (!execSucceeds(createIndexes, statement)) {
            // What stops one stops the others, each after waiting for it: the next opening tries again.
            return;
        }
    }
    indexBusyConversation();
}

void PelkoDBManager::indexBusyConversation() {
    // A page of a one-to-one conversation reads both directions from idx_msg_pair and sorts them: time grows
    // with the conversation. An index that holds exactly the rows that the conversation's condition names, in
    // page order, makes that independent of its length, and statements about other parties cannot use it. The
    // condition on kinds comes first in the index, so that the planner expects few rows of it and takes it.
    const std::string me = LoginContext::getInstance()->getUserName();
    if (me.empty() || me.find('\'') != std::string::npos) {
        return;  // no conversations, or none that can be queried
    }
    withFailureLogged(createIndexes, false, [&] {
        const std::vector<std::string> busy = busyConversations(me);
        std::vector<std::string> made =
            firstColumn("SELECT name FROM sqlite_master WHERE type = 'index' AND name GLOB 'idx_msg_with_*'");
        made.erase(std::remove_if(made.begin(), made.end(),
                                  [](const std::string& name) { return !isIndexName(name); }),
                   made.end());
        const auto isMade = [&](const std::string& parties) {
            return std::find(made.begin(), made.end(), indexName(parties)) != made.end();
        };
        const auto fresh = std::find_if(busy.begin(), busy.end(), [&](const std::string& parties) {
            return !isMade(parties) && isLong(parties);
        });
        if (fresh == busy.end()) {
            return true;
        }
        if (made.size() >= maxBusyConversations) {
            // The place of one that has fallen silent.
            const auto silent = std::find_if(made.begin(), made.end(), [&](const std::string& name) {
                return std::none_of(busy.begin(), busy.end(),
                                    [&](const std::string& parties) { return indexName(parties) == name; });
            });
            if (silent == made.end()) {
                return true;
            }
            connection().execDML(("DROP INDEX " + *silent).c_str());
        }
        // One a start: making it reads the whole table.
        connection().execDML(
            StringFormatUtil::string_format("CREATE INDEX IF NOT EXISTS %s ON %s (%s, %s, %s, %s) WHERE %s",
                                            indexName(*fresh).c_str(), sql::tblMsg, sql::receiverType,
                                            sql::senderType, sql::date, sql::msgId, fresh->c_str())
                .c_str());
        return true;
    });
}

std::vector<std::string> PelkoDBManager::busyConversations(const std::string& me) {
    const std::vector<std::string> peers = firstColumn(StringFormatUtil::string_format(
        "SELECT CASE WHEN %s = '%s' THEN %s ELSE %s END AS peer FROM (SELECT %s, %s, %s, %s FROM %s ORDER BY "
        "%s DESC LIMIT %d) WHERE %s = %d AND %s = %d AND (%s = '%s' OR %s = '%s') GROUP BY peer HAVING "
        "COUNT(*) >= %d ORDER BY COUNT(*) DESC LIMIT %d",
        sql::senderId, me.c_str(), sql::receiverId, sql::senderId, sql::receiverType, sql::receiverId,
        sql::senderType, sql::senderId, sql::tblMsg, sql::dbId, newestMessages, sql::receiverType,
        PelkoChatTargetTypeUser, sql::senderType, PelkoChatTargetTypeUser, sql::senderId, me.c_str(),
        sql::receiverId, me.c_str(), busyFromNewest, busiestTried));
    std::vector<std::string> parties;
    parties.reserve(peers.size());
    for (const std::string& peer : peers) {
        parties.push_back(partiesSql(transStringQuote(peer), me));
    }
    return parties;
}

bool PelkoDBManager::isLong(const std::string& parties) {
    const std::string enough = StringFormatUtil::string_format(
        "(SELECT 1 FROM %s WHERE %s LIMIT %d)", sql::tblMsg, parties.c_str(), busyFromMessages);
    return queryCount(enough.c_str(), "1") >= busyFromMessages;
}

std::vector<std::string> PelkoDBManager::firstColumn(const std::string& query) {
    std::vector<std::string> values;
    CppSQLite3Query rows = connection().execQuery(query.c_str());
    while (!rows.eof()) {
        values.emplace_back(rows.getStringField(0, ""));
        rows.nextRow();
    }
    return values;
}

}  // namespace pelkoapi
