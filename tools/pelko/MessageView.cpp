#include "tools/pelko/MessageView.h"

#include "tools/pelko/Target.h"

namespace pelkotool {

using pelkoapi::PelkoMessage;

namespace {

std::string attachmentText(const PelkoMessage& message) {
    const std::string where = message.media.path.empty() ? message.media.url : message.media.path;
    const std::string caption = message.text.empty() ? "" : ' ' + message.text;
    switch (message.type) {
        case pelkoapi::PelkoMessageTypeImage:
            return "[image] " + where + caption;
        case pelkoapi::PelkoMessageTypeAudio:
            return "[audio] " + where + caption;
        default:
            return "[data] " + where + caption;
    }
}

}  // namespace

std::string senderText(const PelkoMessage& message) {
    return message.sender.name.empty() ? targetText(message.sender) : message.sender.name;
}

std::optional<std::string_view> actionIn(std::string_view text) {
    constexpr std::string_view command = "/me";
    if (text.substr(0, command.size()) != command) {
        return std::nullopt;
    }
    text.remove_prefix(command.size());
    return text.empty() || text.front() == ' ' ? std::optional(text) : std::nullopt;
}

std::string bodyText(const PelkoMessage& message) {
    if (message.hasMedia()) {
        return attachmentText(message);
    }
    const std::optional<std::string_view> action = actionIn(message.text);
    return action ? "* " + senderText(message) + std::string(*action) : message.text;
}

std::string statusText(const PelkoMessage& message) {
    switch (message.status) {
        case pelkoapi::PelkoMessageStatusCreated:
            return "created";
        case pelkoapi::PelkoMessageStatusUnread:
            return "unread";
        case pelkoapi::PelkoMessageStatusRead:
            return "read";
        case pelkoapi::PelkoMessageStatusSending:
            return "sending";
        case pelkoapi::PelkoMessageStatusSent:
            return "sent";
        case pelkoapi::PelkoMessageStatusSendingFailed:
            return "failed";
    }
    return std::to_string(static_cast<int>(message.status));
}

}  // namespace pelkotool
