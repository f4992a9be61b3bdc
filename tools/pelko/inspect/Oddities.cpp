#include "tools/pelko/inspect/Oddities.h"

#include <set>

#include "tools/pelko/Times.h"

namespace pelkotool {

namespace {

// The clocks of two phones may differ by so much without harm.
constexpr long long clockDifference = 60LL * 60;

}  // namespace

std::vector<LostSession> lostSessionsIn(const Database& database, const std::string& me,
                                        const std::vector<Conversation>& conversations) {
    std::set<Peer> empty;
    for (const Conversation& conversation : conversations) {
        if (conversation.messages == 0) {
            empty.insert(conversation.peer);
        }
    }
    // The store reads last_msg_id as a signed number of 32 bits.
    Statement rows = database.prepare(
        std::string("SELECT target_type, target_id, last, db_id, ") + peerTypeSql + ", " + peerIdSql +
        " FROM (SELECT target_type, target_id, ((last_msg_id & 4294967295) + 2147483648) % 4294967296 - "
        "2147483648 AS last FROM tbl_session) LEFT JOIN tbl_msg ON db_id = last");
    rows.bind(1, me);
    std::vector<LostSession> lost;
    while (rows.step()) {
        LostSession session{{rows.integer(0), rows.text(1)}, rows.integer(2), std::nullopt};
        if (!rows.isNull(3)) {
            session.shown = Peer{rows.integer(4), rows.text(5)};
        }
        const bool isEmpty = session.lastMsgId == 0 && empty.count(session.peer) > 0;
        const bool isRight = session.shown && *session.shown == session.peer;
        if (!isEmpty && !isRight) {
            lost.push_back(session);
        }
    }
    return lost;
}

std::vector<Duplicate> duplicatesIn(const Database& database) {
    Statement rows = database.prepare(
        "SELECT msg_id, count(*) FROM tbl_msg WHERE msg_id > 0 GROUP BY msg_id HAVING count(*) > 1");
    std::vector<Duplicate> duplicates;
    while (rows.step()) {
        duplicates.push_back({rows.integer(0), rows.integer(1)});
    }
    return duplicates;
}

std::vector<UnknownKind> unknownKindsIn(const Database& database) {
    struct Columns {
        const char* table;
        std::vector<const char*> names;
    };
    const Columns all[] = {{"tbl_msg", {"sender_type", "receiver_type"}},
                           {"tbl_session", {"target_type"}},
                           {"tbl_msg_config", {"target_type"}},
                           {"tbl_notify", {"sender_type", "receiver_type", "from_type"}}};
    std::vector<UnknownKind> unknown;
    for (const Columns& columns : all) {
        std::string sql = "SELECT 0";
        for (const char* const column : columns.names) {
            sql += std::string(", sum(ifnull(") + column + " NOT IN (0, 1, 2, 3), 1))";
        }
        Statement counts = database.prepare(sql + " FROM " + columns.table);
        counts.step();
        for (std::size_t i = 0; i < columns.names.size(); ++i) {
            if (const long long rows = counts.integer(static_cast<int>(i) + 1); rows > 0) {
                unknown.push_back({columns.table, columns.names[i], rows});
            }
        }
    }
    return unknown;
}

FutureDates futureDatesIn(const Database& database) {
    Statement ahead = database.prepare(
        "SELECT count(*), max(date & 4294967295) FROM tbl_msg WHERE (date & 4294967295) > ?1");
    ahead.bind(1, now() + clockDifference).step();
    FutureDates future;
    future.messages = ahead.integer(0);
    if (future.messages > 0) {
        future.latest = static_cast<unsigned int>(ahead.integer(1));
    }
    return future;
}

}  // namespace pelkotool
