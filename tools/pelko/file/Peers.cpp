#include "tools/pelko/file/Peers.h"

#include "PelkoChatTarget.h"
#include "tools/pelko/Target.h"

namespace pelkotool {

// The store's kinds as they stand in SQL: 0 user, 1 room, 2 group, 3 customer service.
const char* const peerTypeSql =
    "CASE WHEN receiver_type IN (1, 2) OR sender_type = 0 AND sender_id = ?1 THEN receiver_type "
    "WHEN receiver_type = 0 AND receiver_id = ?1 THEN sender_type ELSE -1 END";
const char* const peerIdSql =
    "CASE WHEN receiver_type IN (1, 2) OR sender_type = 0 AND sender_id = ?1 THEN receiver_id "
    "WHEN receiver_type = 0 AND receiver_id = ?1 THEN sender_id ELSE '' END";

namespace {

const char* prefixOf(long long type) {
    switch (type) {
        case pelkoapi::PelkoChatTargetTypeUser:
            return "user:";
        case pelkoapi::PelkoChatTargetTypeRoom:
            return "room:";
        case pelkoapi::PelkoChatTargetTypeGroup:
            return "group:";
        case pelkoapi::PelkoChatTargetTypeCustomerService:
            return "service:";
        default:
            return nullptr;
    }
}

}  // namespace

std::string peerText(const Peer& peer) {
    if (peer.type == betweenOthers) {
        return "between-others";
    }
    const char* const prefix = prefixOf(peer.type);
    return (prefix != nullptr ? prefix : "kind-" + std::to_string(peer.type) + ':') + peer.id;
}

bool isKnownKind(long long type) {
    return prefixOf(type) != nullptr;
}

Peer parsePeer(const std::string& target) {
    const pelkoapi::PelkoChatTarget parsed = parseTarget(target);
    const bool isUser = parsed.type == pelkoapi::PelkoChatTargetTypeUser;
    return {parsed.type, isUser ? parsed.name : std::to_string(parsed.id)};
}

std::string conversationCondition(const Peer& peer) {
    const std::string type = std::to_string(peer.type);
    if (peer.type == pelkoapi::PelkoChatTargetTypeRoom || peer.type == pelkoapi::PelkoChatTargetTypeGroup) {
        return "receiver_type = " + type + " AND receiver_id = ?2";
    }
    return "(receiver_type = " + type +
           " AND receiver_id = ?2 AND sender_type = 0 AND sender_id = ?1 OR receiver_type = 0 AND "
           "receiver_id "
           "= ?1 AND sender_type = " +
           type + " AND sender_id = ?2)";
}

std::string ownerOf(const Database& database) {
    // Who sends, or receives what is read or unread, is the owner. In a file of a single conversation both
    // parties take part in as many messages, so that this tells more than the number of messages.
    Statement statement = database.prepare(
        "SELECT name FROM (SELECT sender_id AS name, status IN (3, 4, 5) AS told FROM tbl_msg WHERE "
        "sender_type = 0 AND (receiver_type IN (0, 3) OR status IN (3, 4, 5)) UNION ALL SELECT receiver_id, "
        "status IN (1, 2) FROM tbl_msg WHERE receiver_type = 0 AND (sender_type <> 0 OR sender_id <> "
        "receiver_id)) GROUP BY name ORDER BY sum(told) DESC, count(*) DESC, name LIMIT 1");
    return statement.step() ? statement.text(0) : std::string();
}

}  // namespace pelkotool
