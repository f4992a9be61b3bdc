#ifndef PELKO_TOOL_TARGET_H
#define PELKO_TOOL_TARGET_H

#include <string>

#include "PelkoChatTarget.h"

namespace pelkotool {

/// How a chat target is written: user:alice, room:5001, group:77, service:9.
extern const char* const targetForms;

/// The target that a text names. @throws UsageError for any other text
pelkoapi::PelkoChatTarget parseTarget(const std::string& text);

/// The target as it is written; empty for a target of no known kind and for the user without a name, which
/// both mean that there is none.
std::string targetText(const pelkoapi::PelkoChatTarget& target);

}  // namespace pelkotool

#endif  // PELKO_TOOL_TARGET_H
