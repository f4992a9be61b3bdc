#ifndef PELKO_TOOL_FILE_PEERS_H
#define PELKO_TOOL_FILE_PEERS_H

#include <string>
#include <tuple>

#include "tools/pelko/file/Database.h"

// Which conversation a row of tbl_msg belongs to, in the terms of the file: the one in which the store shows
// it.

namespace pelkotool {

/// Who a conversation is with: the kind and the id string as they are stored.
struct Peer {
    long long type = 0;
    std::string id;

    bool operator==(const Peer& other) const { return type == other.type && id == other.id; }
    bool operator<(const Peer& other) const { return std::tie(type, id) < std::tie(other.type, other.id); }
};

/// The kind of the peer of messages between two others. The store shows them in no conversation; here they
/// are in one of their own, without an id.
constexpr long long betweenOthers = -1;

/// As the command line writes targets, "room:5001"; "kind-9:x" for a kind that the store does not know,
/// "between-others".
std::string peerText(const Peer& peer);

/// Whether the store knows the kind.
bool isKnownKind(long long type);

/// The peer of a target as the command line writes it. @throws UsageError for any other text
Peer parsePeer(const std::string& target);

/// SQL expressions over tbl_msg that give kind and id of the row's peer; parameter ?1 is the account's name.
extern const char* const peerTypeSql;
extern const char* const peerIdSql;

/// A condition on tbl_msg: the rows of that conversation, as the store selects them, so that its indexes
/// serve. Parameter ?1 is the account's name, ?2 the peer's id.
std::string conversationCondition(const Peer& peer);

/// The account whose file this is, by who sends and receives its messages. Empty when no message tells it.
std::string ownerOf(const Database& database);

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_PEERS_H
