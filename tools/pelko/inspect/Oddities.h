#ifndef PELKO_TOOL_INSPECT_ODDITIES_H
#define PELKO_TOOL_INSPECT_ODDITIES_H

#include <optional>
#include <string>
#include <vector>

#include "tools/pelko/file/Conversations.h"
#include "tools/pelko/file/Database.h"
#include "tools/pelko/file/Peers.h"

// What makes a badge or a list of conversations show something else than one expects.

namespace pelkotool {

/// Rows of a kind that the store does not know, by column.
struct UnknownKind {
    std::string table;
    std::string column;
    long long rows = 0;
};

/// A session whose last message is not one of its conversation.
struct LostSession {
    Peer peer;
    long long lastMsgId = 0;    ///< as the store reads it
    std::optional<Peer> shown;  ///< whose message that row is; none where there is no such row
};

/// A service id that several messages have: each should be stored once.
struct Duplicate {
    long long msgId = 0;
    long long rows = 0;
};

/// Messages that are dated more than an hour in the future.
struct FutureDates {
    long long messages = 0;
    std::optional<unsigned int> latest;
};

std::vector<UnknownKind> unknownKindsIn(const Database& database);

/// @param me             the account's name
/// @param conversations  those of the file: a session of an empty one has no last message rightly
std::vector<LostSession> lostSessionsIn(const Database& database, const std::string& me,
                                        const std::vector<Conversation>& conversations);

/// By their ids.
std::vector<Duplicate> duplicatesIn(const Database& database);

FutureDates futureDatesIn(const Database& database);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_ODDITIES_H
