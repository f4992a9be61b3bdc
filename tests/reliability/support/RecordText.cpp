#include "tests/reliability/support/RecordText.h"

namespace pelkotest {

namespace {

using namespace pelkoapi;

std::string field(const char* name, const std::string& value) {
    return std::string("; ") + name + "='" + value + "'";
}

std::string field(const char* name, long long value) {
    return std::string("; ") + name + "=" + std::to_string(value);
}

}  // namespace

std::string recordText(const std::string& name) {
    const TestCode here;
    return name;
}

std::string recordText(const PelkoMedia& media) {
    const TestCode here;
    return "media(" + field("type", media.type) + field("status", media.status) + field("url", media.url) +
           field("path", media.path) + field("pathEx", media.pathEx) + field("duration", media.duration) +
           "; )";
}

std::string recordText(const PelkoChatTarget& target) {
    const TestCode here;
    return "target(" + field("type", target.type) + field("id", target.id) + field("name", target.name) +
           field("info", target.info) + field("detail", target.hasGotDetail ? 1 : 0) + "; " +
           recordText(target.icon) + "; )";
}

std::string recordText(const PelkoUser& user) {
    const TestCode here;
    const PelkoChatTarget& target = user;
    return "user(" + recordText(target) + field("nickname", user.nickname) + field("gender", user.gender) +
           field("blocked", user.isBlocked ? 1 : 0) + field("friend", user.isFriend ? 1 : 0) + "; )";
}

std::string recordText(const PelkoRoom& room) {
    const TestCode here;
    const PelkoChatTarget& target = room;
    return "room(" + recordText(target) + field("top", room.isTop ? 1 : 0) +
           field("capacity", room.capacity) + field("online", room.onlineNumber) + "; )";
}

std::string recordText(const PelkoGroup& group) {
    const TestCode here;
    const PelkoChatTarget& target = group;
    return "group(" + recordText(target) + field("type", group.ownerType) +
           field("owner", group.ownerAccount) + field("auth", group.needAuthentication ? 1 : 0) +
           field("capacity", group.capacity) + "; )";
}

std::string recordText(const PelkoMessage& message) {
    const TestCode here;
    return "message(" + field("id", message.id) + field("dbID", message.dbID) + field("type", message.type) +
           field("date", message.date) + field("status", message.status) + field("text", message.text) +
           field("extraText", message.extraText) + "; " + recordText(message.media) + "; from " +
           recordText(message.sender) + "; to " + recordText(message.receiver) + "; )";
}

std::string recordText(const PelkoSession& session) {
    const TestCode here;
    return "session(" + field("top", session.isTop ? 1 : 0) + field("priority", session.priority) + "; " +
           recordText(session.target) + "; " + recordText(session.lastMsg) + "; )";
}

std::string recordText(const PelkoNotify& notify) {
    const TestCode here;
    return "notify(" + field("dbID", notify.dbID) + field("date", notify.date) +
           field("read", notify.isRead ? 1 : 0) + "; from " + recordText(notify.sender) + "; to " +
           recordText(notify.receiver) + "; about " + recordText(notify.from) +
           field("agree", notify.dbID != 0 && notify.agree ? 1 : 0) +
           field("system", notify.isSystemNotify ? 1 : 0) + field("type", notify.type) +
           field("text", notify.text) + "; )";
}

}  // namespace pelkotest
