#ifndef PELKO_TOOL_FILE_CONVERSATIONS_H
#define PELKO_TOOL_FILE_CONVERSATIONS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/pelko/DateRange.h"
#include "tools/pelko/file/Database.h"
#include "tools/pelko/file/Peers.h"

namespace pelkotool {

/// What a file holds of one conversation.
struct Conversation {
    Peer peer;
    std::string name;  ///< a room's or group's stored name, a user's stored nickname; empty without one
    bool hasSession = false;
    bool pinned = false;
    long long priority = 0;
    long long messages = 0;  ///< all of them, as everything else here, but for the rows
    long long unread = 0;
    std::optional<unsigned int> first;  ///< the earliest and the latest date; none without messages
    std::optional<unsigned int> last;
    long long newestRow = 0;  ///< row id of the last message in the order of the conversation; 0 without one
    std::vector<long long> rows;  ///< row ids of the messages in the range, in the order of the conversation
};

/// The conversations of a file: each peer of a message, and each session. Pinned ones first, by priority;
/// then the one that was written in last.
/// @param me     the account's name
/// @param range  which messages `rows` holds
std::vector<Conversation> conversationsIn(const Database& database, const std::string& me,
                                          const DateRange& range = {});

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_CONVERSATIONS_H
