#include "PelkoMessage.h"

#include <tuple>
#include <utility>

#include "classes/platform/LoginContext.h"

namespace pelkoapi {

namespace {

PelkoChatTarget loggedInUser() {
    return PelkoChatTarget(LoginContext::getInstance()->getUserName());
}

/// The fields that decide the order of messages. The store writes a date as a signed number, so a date of
/// 2^31 or more sorts before all others there, and does here too.
std::tuple<int, long long, long long> orderOf(const PelkoMessage& message) {
    return {static_cast<int>(message.date), message.id, message.dbID};
}

}  // namespace

PelkoMessage::PelkoMessage(PelkoChatTarget from, PelkoChatTarget to, PelkoMessageType messageType)
    : type(messageType), sender(std::move(from)), receiver(std::move(to)) {
}

PelkoMessage PelkoMessage::createMessage(PelkoChatTarget sender, PelkoChatTarget receiver) {
    return {std::move(sender), std::move(receiver), PelkoMessageTypeText};
}

PelkoMessage PelkoMessage::createTextMessage(PelkoChatTarget receiver, std::string text) {
    return createTextMessage(loggedInUser(), std::move(receiver), std::move(text));
}

PelkoMessage PelkoMessage::createTextMessage(PelkoChatTarget sender, PelkoChatTarget receiver,
                                             std::string text) {
    PelkoMessage message = createMessage(std::move(sender), std::move(receiver));
    message.text = std::move(text);
    return message;
}

PelkoMessage PelkoMessage::createImageMessage(PelkoChatTarget receiver, std::string path,
                                              std::string pathEx) {
    return createImageMessage(loggedInUser(), std::move(receiver), std::move(path), std::move(pathEx));
}

PelkoMessage PelkoMessage::createImageMessage(PelkoChatTarget sender, PelkoChatTarget receiver,
                                              std::string path, std::string pathEx) {
    PelkoMessage message(std::move(sender), std::move(receiver), PelkoMessageTypeImage);
    message.media = PelkoMedia(PelkoMediaTypeImage);
    message.media.path = std::move(path);
    message.media.pathEx = std::move(pathEx);
    return message;
}

PelkoMessage PelkoMessage::createAudioMessage(PelkoChatTarget receiver, std::string path,
                                              unsigned int duration) {
    return createAudioMessage(loggedInUser(), std::move(receiver), std::move(path), duration);
}

PelkoMessage PelkoMessage::createAudioMessage(PelkoChatTarget sender, PelkoChatTarget receiver,
                                              std::string path, unsigned int duration) {
    PelkoMessage message(std::move(sender), std::move(receiver), PelkoMessageTypeAudio);
    message.media = PelkoMedia(PelkoMediaTypeAudio);
    message.media.path = std::move(path);
    message.media.duration = duration;
    return message;
}

PelkoMessage PelkoMessage::createUserDataMessage(PelkoChatTarget receiver, std::string path) {
    return createUserDataMessage(loggedInUser(), std::move(receiver), std::move(path));
}

PelkoMessage PelkoMessage::createUserDataMessage(PelkoChatTarget sender, PelkoChatTarget receiver,
                                                 std::string path) {
    PelkoMessage message(std::move(sender), std::move(receiver), PelkoMessageTypeUserData);
    message.media = PelkoMedia(PelkoMediaTypeUserData);
    message.media.path = std::move(path);
    return message;
}

bool PelkoMessage::hasMedia() const {
    return type == PelkoMessageTypeImage || type == PelkoMessageTypeAudio || type == PelkoMessageTypeUserData;
}

void PelkoMessage::putExtraData(std::string path) {
    extra = PelkoMedia(PelkoMediaTypeExtraData);
    extra.path = std::move(path);
}

const PelkoChatTarget& PelkoMessage::getTarget() const {
    if (receiver.type == PelkoChatTargetTypeRoom || receiver.type == PelkoChatTargetTypeGroup) {
        return receiver;
    }
    return sender == loggedInUser() ? receiver : sender;
}

bool PelkoMessage::operator<(const PelkoMessage& other) const {
    return orderOf(*this) < orderOf(other);
}

bool PelkoMessage::operator==(const PelkoMessage& other) const {
    return orderOf(*this) == orderOf(other);
}

}  // namespace pelkoapi
