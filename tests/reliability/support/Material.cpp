#include "tests/reliability/support/Material.h"

namespace pelkotest {

using namespace pelkoapi;

std::string Material::user() {
    static const char* const names[] = {"alice",       "bob",  "10086", "carol.d",
                                        "jos\xc3\xa9", "dora", "e-e",   "f\"f"};
    return names[below(8)];
}

std::vector<std::string> Material::users() {
    std::vector<std::string> names;
    for (unsigned count = between(2, 12); count > 0; --count) {
        names.push_back(oneIn(2) ? user() : "user" + std::to_string(below(60)));
    }
    return names;
}

std::vector<long long> Material::groups() {
    std::vector<long long> ids;
    for (unsigned count = between(2, 12); count > 0; --count) {
        ids.push_back(oneIn(2) ? group() : between(1, 60));
    }
    return ids;
}

PelkoChatTarget Material::target() {
    switch (below(5)) {
        case 0:
            return {room(), PelkoChatTargetTypeRoom};
        case 1:
            return {group(), PelkoChatTargetTypeGroup};
        case 2:
            return {between(500, 502), PelkoChatTargetTypeCustomerService};
        default:
            return {user()};
    }
}

PelkoChatTarget Material::numericTarget() {
    const PelkoChatTargetType kinds[] = {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup,
                                         PelkoChatTargetTypeCustomerService};
    return oneIn(4) ? PelkoChatTarget("10086") : PelkoChatTarget(between(1, 6), kinds[below(3)]);
}

std::string Material::text(std::size_t size) {
    std::string text = "it's " + std::to_string(mIndex) + '.' + std::to_string(below(1000)) + ' ';
    while (text.size() < size) {
        text += "\xc3\xa9t\xc3\xa9 \"" + std::to_string(below(100000)) + "\" ";
    }
    return text;
}

std::string Material::path(const char* extension) {
    return "/app/media/" + std::to_string(mIndex) + '-' + std::to_string(below(1000)) + extension;
}

PelkoMedia Material::icon() {
    PelkoMedia media(PelkoMediaTypeImage);
    media.url = "http://host/" + std::to_string(below(1000));
    media.path = path(".png");
    media.pathEx = oneIn(2) ? path("-full.png") : "";
    return media;
}

PelkoMessage Material::message() {
    const PelkoChatTarget me("me");
    const PelkoChatTarget peer = target();
    const bool ofMany = peer.type == PelkoChatTargetTypeRoom || peer.type == PelkoChatTargetTypeGroup;
    const bool outgoing = oneIn(3);

    PelkoMessage message = outgoing
                               ? messageBetween(me, peer)
                               : messageBetween(ofMany ? PelkoChatTarget(user()) : peer, ofMany ? peer : me);
    message.date = date();
    if (outgoing) {
        message.status = oneIn(2) ? PelkoMessageStatusSending : PelkoMessageStatusCreated;
    } else {
        message.id = serviceId();
        message.status = oneIn(4) ? PelkoMessageStatusRead : PelkoMessageStatusUnread;
    }
    if (oneIn(4)) {
        message.extraText = "extra " + std::to_string(below(1000));
    }
    return message;
}

PelkoMessage Material::messageBetween(const PelkoChatTarget& sender, const PelkoChatTarget& receiver) {
    const auto withMedia = [&](PelkoMessage message) {
        message.media.status = static_cast<PelkoMediaStatus>(below(4));
        message.media.url = "http://host/" + std::to_string(below(100000));
        return message;
    };
    switch (below(10)) {
        case 0:
            return withMedia(
                PelkoMessage::createImageMessage(sender, receiver, path(".jpg"), path("-full.jpg")));
        case 1:
            return withMedia(
                PelkoMessage::createAudioMessage(sender, receiver, path(".amr"), between(1, 60)));
        case 2:
            return withMedia(PelkoMessage::createUserDataMessage(sender, receiver, path(".dat")));
        case 3:
            return PelkoMessage::createTextMessage(sender, receiver, text(between(3000, 14000)));
        default:
            return PelkoMessage::createTextMessage(sender, receiver, text(between(1, 600)));
    }
}

std::vector<PelkoMessage> Material::messages(unsigned count) {
    std::vector<PelkoMessage> list;
    for (unsigned i = 0; i < count; ++i) {
        list.push_back(message());
    }
    return list;
}

}  // namespace pelkotest
