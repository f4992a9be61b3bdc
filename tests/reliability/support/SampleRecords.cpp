#include "tests/reliability/support/SampleRecords.h"

#include <utility>

#include "tests/reliability/support/TestCode.h"

namespace pelkotest {

using namespace pelkoapi;

std::string longText() {
    const TestCode here;
    return "it's long: " + std::string(6000, 'x');
}

PelkoMedia media(PelkoMediaType type, PelkoMediaStatus status, const std::string& name) {
    const TestCode here;
    PelkoMedia result(type);
    result.status = status;
    result.url = "http://media.example/" + name;
    result.path = "/app/media/" + name;
    result.pathEx = "/app/media/full-" + name;
    result.duration = 12;
    return result;
}

PelkoMessage message(s64 id, uint date, PelkoChatTarget from, PelkoChatTarget to, std::string text,
                     PelkoMessageStatus status) {
    const TestCode here;
    PelkoMessage result = PelkoMessage::createTextMessage(std::move(from), std::move(to), std::move(text));
    result.id = id;
    result.date = date;
    result.status = status;
    result.extraText = "extra";
    return result;
}

PelkoMessage mediaMessage(s64 id, uint date, PelkoChatTarget from, PelkoChatTarget to, PelkoMessageType type,
                          PelkoMessageStatus status, PelkoMediaStatus mediaStatus) {
    const TestCode here;
    PelkoMessage result = message(id, date, std::move(from), std::move(to), "", status);
    result.type = type;
    result.media = media(static_cast<PelkoMediaType>(type), mediaStatus, std::to_string(date) + ".bin");
    return result;
}

PelkoUser profile(const std::string& name) {
    const TestCode here;
    PelkoUser user(name);
    user.nickname = name + "'s nickname";
    user.info = "about " + name + ", in more letters than fit into a short string";
    user.gender = PelkoUserGenderFemale;
    user.icon = media(PelkoMediaTypeImage, PelkoMediaStatusCreated, name + ".png");
    return user;
}

PelkoRoom room(uint id) {
    const TestCode here;
    PelkoRoom result(id);
    result.name = "the room of number " + std::to_string(id) + ", it's large";
    result.info = "about the room, in more letters than fit into a short string";
    result.isTop = true;
    result.capacity = 500;
    result.onlineNumber = 42;
    result.icon = media(PelkoMediaTypeImage, PelkoMediaStatusCreated, "room.png");
    return result;
}

PelkoGroup group(s64 id) {
    const TestCode here;
    PelkoGroup result(id);
    result.name = "the group of number " + std::to_string(id) + ", it's small";
    result.info = "about the group, in more letters than fit into a short string";
    result.ownerAccount = "alice";
    result.ownerType = PelkoGroupTypePrivate;
    result.needAuthentication = true;
    result.capacity = 50;
    result.icon = media(PelkoMediaTypeImage, PelkoMediaStatusCreated, "group.png");
    return result;
}

PelkoNotify notification(PelkoNotifyType type, long date, bool isRead) {
    const TestCode here;
    PelkoNotify notify(type);
    notify.date = date;
    notify.isRead = isRead;
    notify.sender = PelkoUser("alice");
    notify.receiver = PelkoUser("me");
    notify.from = group(77);
    notify.agree = true;
    notify.isSystemNotify = true;
    notify.text = "please come in, there is plenty of room for everybody";
    return notify;
}

}  // namespace pelkotest
