#ifndef PELKO_TOOL_JSON_H
#define PELKO_TOOL_JSON_H

#include "PelkoChatTarget.h"
#include "PelkoMessage.h"
#include "PelkoNotify.h"
#include "tools/pelko/Output.h"

// The records of the store as JSON. Kinds and states are words; a number that has none stays a number.
// Targets are in the form of the command line, or null.

namespace pelkotool {

Json targetJson(const pelkoapi::PelkoChatTarget& target);

/// Every stored field; "media" is null for a message without.
Json messageJson(const pelkoapi::PelkoMessage& message);

/// @param version  of the details
Json roomJson(const pelkoapi::PelkoRoom& room, unsigned int version);
Json groupJson(const pelkoapi::PelkoGroup& group, unsigned int version, bool joined);
Json userJson(const pelkoapi::PelkoUser& user, unsigned int version);

/// The word of a user's gender, which the command line takes, too.
Json genderJson(pelkoapi::PelkoUserGender gender);

Json notifyTypeJson(pelkoapi::PelkoNotifyType type);
/// Of a notification that was read from the store: the default one has no answer to tell.
Json notifyJson(const pelkoapi::PelkoNotify& notify);

}  // namespace pelkotool

#endif  // PELKO_TOOL_JSON_H
