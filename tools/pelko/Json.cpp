#include "tools/pelko/Json.h"

#include <initializer_list>

#include "tools/pelko/Target.h"
#include "tools/pelko/Times.h"

namespace pelkotool {

using pelkoapi::PelkoMedia;
using pelkoapi::PelkoMessage;

namespace {

/// The word at the number's place, counted from `first`.
Json wordFor(int number, int first, std::initializer_list<const char*> words) {
    const int place = number - first;
    if (place < 0 || place >= static_cast<int>(words.size())) {
        return number;
    }
    return words.begin()[place];
}

Json mediaJson(const PelkoMedia& media) {
    return {{"type", wordFor(media.type, 1, {"image", "audio", "user_data", "extra_data"})},
            {"status", wordFor(media.status, 0, {"created", "downloading", "downloaded", "download_failed"})},
            {"url", media.url},
            {"path", media.path},
            {"path_ex", media.pathEx},
            {"duration", media.duration}};
}

}  // namespace

Json targetJson(const pelkoapi::PelkoChatTarget& target) {
    const std::string text = targetText(target);
    return text.empty() ? Json(nullptr) : Json(text);
}

Json messageJson(const PelkoMessage& message) {
    return {{"db_id", message.dbID},
            {"msg_id", message.id},
            {"date", isoTime(message.date)},
            {"type", wordFor(message.type, 0, {"text", "image", "audio", "user_data", "judge_service"})},
            {"status",
             wordFor(message.status, 0, {"created", "unread", "read", "sending", "sent", "sending_failed"})},
            {"sender", targetJson(message.sender)},
            {"receiver", targetJson(message.receiver)},
            {"text", message.text},
            {"extra_text", message.extraText},
            {"media", message.hasMedia() ? mediaJson(message.media) : Json(nullptr)}};
}

}  // namespace pelkotool
