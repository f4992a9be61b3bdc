#ifndef PELKO_TOOL_MESSAGE_VIEW_H
#define PELKO_TOOL_MESSAGE_VIEW_H

#include <optional>
#include <string>
#include <string_view>

#include "PelkoMessage.h"

// A message as a person reads it. The texts are raw: they are made visible where they are printed.

namespace pelkotool {

/// The sender's name; the target form for one that has none.
std::string senderText(const pelkoapi::PelkoMessage& message);

/// What the sender does, " waves", when the text is an action, "/me waves".
std::optional<std::string_view> actionIn(std::string_view text);

/// The text; an action ("/me waves") as "* nick waves", an attachment as "[image] path".
std::string bodyText(const pelkoapi::PelkoMessage& message);

/// "unread", "read", "sent", …
std::string statusText(const pelkoapi::PelkoMessage& message);

}  // namespace pelkotool

#endif  // PELKO_TOOL_MESSAGE_VIEW_H
