#include "tools/pelko/Json.h"

#include <initializer_list>

#include "tools/pelko/Target.h"
#include "tools/pelko/Times.h"

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
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

Json iconJson(const PelkoMedia& icon) {
    return {{"url", icon.url}, {"path", icon.path}, {"path_ex", icon.pathEx}};
}

/// A party of a notification, which keeps a name beside the id of a numbered target.
Json partyJson(const PelkoChatTarget& party) {
    return {{"target", targetJson(party)}, {"name", party.name}};
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

Json roomJson(const pelkoapi::PelkoRoom& room, unsigned int version) {
    return {{"target", targetJson(room)},  {"name", room.name},           {"info", room.info},
            {"top", room.isTop},           {"online", room.onlineNumber}, {"capacity", room.capacity},
            {"icon", iconJson(room.icon)}, {"info_version", version}};
}

Json groupJson(const pelkoapi::PelkoGroup& group, unsigned int version, bool joined) {
    return {{"target", targetJson(group)},
            {"joined", joined},
            {"name", group.name},
            {"info", group.info},
            {"type", wordFor(group.ownerType, 0, {"public", "private"})},
            {"owner", group.ownerAccount},
            {"needs_authentication", group.needAuthentication},
            {"capacity", group.capacity},
            {"icon", iconJson(group.icon)},
            {"info_version", version}};
}

Json userJson(const pelkoapi::PelkoUser& user, unsigned int version) {
    return {{"name", user.name},           {"nickname", user.nickname}, {"gender", genderJson(user.gender)},
            {"info", user.info},           {"friend", user.isFriend},   {"blocked", user.isBlocked},
            {"icon", iconJson(user.icon)}, {"info_version", version}};
}

Json genderJson(pelkoapi::PelkoUserGender gender) {
    return wordFor(gender, 0, {"male", "female", "unset"});
}

Json notifyTypeJson(pelkoapi::PelkoNotifyType type) {
    return wordFor(type, 0, {"invite", "request", "reply"});
}

Json notifyJson(const pelkoapi::PelkoNotify& notify) {
    return {{"db_id", notify.dbID},
            {"date", isoTime(static_cast<unsigned int>(notify.date))},
            {"read", notify.isRead},
            {"type", notifyTypeJson(notify.type)},
            {"sender", partyJson(notify.sender)},
            {"receiver", partyJson(notify.receiver)},
            {"group", partyJson(notify.from)},
            {"agree", notify.agree},
            {"system", notify.isSystemNotify},
            {"text", notify.text}};
}

}  // namespace pelkotool
