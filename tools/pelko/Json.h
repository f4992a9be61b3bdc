#ifndef PELKO_TOOL_JSON_H
#define PELKO_TOOL_JSON_H

#include "PelkoMessage.h"
#include "tools/pelko/Output.h"

// The records of the store as JSON. Kinds and states are words; a number that has none stays a number.
// Targets are in the form of the command line, or null.

namespace pelkotool {

Json targetJson(const pelkoapi::PelkoChatTarget& target);

/// Every stored field; "media" is null for a message without.
Json messageJson(const pelkoapi::PelkoMessage& message);

}  // namespace pelkotool

#endif  // PELKO_TOOL_JSON_H
