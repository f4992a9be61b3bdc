#include "tests/fuzz/FuzzInput.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "classes/platform/LoginContext.h"

namespace pelkotest {

namespace {

using namespace pelkoapi;
using namespace std::string_view_literals;

constexpr long long minS64 = std::numeric_limits<long long>::min();
constexpr long long maxS64 = std::numeric_limits<long long>::max();

// Choices from which a byte picks; the one behind the last is raw bytes.
constexpr long long idChoices[] = {0,           1,          2,          3,          5,          7,
                                   77,          1001,       -1,         -5,         2147483647, 2147483648,
                                   -2147483648, 4294967295, 4294967296, 4294967297, 4294967301, 4294967303,
                                   -4294967295, maxS64,     minS64,     100};
constexpr unsigned numberChoices[] = {0, 1, 2, 3, 10, 255, 2147483647, 2147483648U, 4294967295U, 4294967294U};
constexpr std::string_view nameChoices[] = {"alice"sv,
                                            "bob"sv,
                                            "me"sv,
                                            ""sv,
                                            "o'brien"sv,
                                            "5"sv,
                                            "007"sv,
                                            "+5"sv,
                                            "-3"sv,
                                            "7"sv,
                                            "--5"sv,
                                            "1+1"sv,
                                            "a''b"sv,
                                            "x'||'y"sv,
                                            "100%s%n%d"sv,
                                            "\xff\xfe\x80"sv,
                                            "\xd0\xbf\xd1\x91\xd1\x81"sv,
                                            "al\0ice"sv,
                                            "al"sv,
                                            "al\0'"sv,
                                            "nobody' OR '1'='1"sv,
                                            "-0"sv,
                                            "Alice"sv,
                                            "x', 1); --"sv,
                                            "al'\0"sv,
                                            "NULL"sv,
                                            "0x10"sv,
                                            "\xed\xa0\x80"sv,
                                            "'"sv};
constexpr std::string_view textChoices[] = {""sv,         "hello"sv,
                                            "it's"sv,     "''"sv,
                                            "a''b"sv,     "%d %s %n"sv,
                                            "cut\0off"sv, "quote\0'"sv,
                                            "x'||'y"sv,   "\xf0\x9f\x98\x80"sv,
                                            "\xc3("sv,    "x' WHERE 1=1 --"sv,
                                            "-- ; /*"sv,  "\n\t\x01"sv,
                                            "12"sv,       "x'), (1, 2)"sv,
                                            "\"`[;"sv};
constexpr std::string_view pathChoices[] = {
    ""sv,        "/app/a.jpg"sv, "/app/b/c.amr"sv, "a.jpg"sv, "/elsewhere/d"sv, "/app"sv,   "/app/"sv,
    "/app//e"sv, "/app-old/f"sv, "/app/it's"sv,    "../g"sv,  "/app/h\0i"sv,    "/app/%s"sv};

template <typename Value, std::size_t size>
constexpr unsigned sizeOf(const Value (&)[size]) {
    return static_cast<unsigned>(size);
}

bool isDecimalNumber(std::string_view name) {
    name = name.substr(0, name.find('\0'));
    if (!name.empty() && (name.front() == '+' || name.front() == '-')) {
        name.remove_prefix(1);
    }
    return std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

long long FuzzInput::rawNumber() {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) {
        value = value << 8 | byte();
    }
    return static_cast<long long>(value);
}

std::string FuzzInput::rawText() {
    std::string bytes(byte(), '\0');
    for (char& c : bytes) {
        c = static_cast<char>(byte());
    }
    return bytes;
}

unsigned FuzzInput::choiceOf(unsigned count) {
    const unsigned choice = byte();
    return choice < 176 ? (mFirstNeighbour + choice % 4) % count : choice % (count + 1);
}

long long FuzzInput::id() {
    const unsigned choice = choiceOf(sizeOf(idChoices));
    return choice < sizeOf(idChoices) ? idChoices[choice] : rawNumber();
}

long long FuzzInput::rowId() {
    const unsigned choice = below(32);
    if (choice < 12) {
        return choice;
    }
    // The first ones behind those that an old file begins with.
    if (choice < 20) {
        return 4294967295 + (choice - 12);
    }
    return choice < 24 ? 2147483647 + (choice - 20LL) : id();
}

unsigned FuzzInput::number() {
    const unsigned choice = below(sizeOf(numberChoices) + 1);
    return choice < sizeOf(numberChoices) ? numberChoices[choice] : static_cast<unsigned>(rawNumber());
}

int FuzzInput::enumerator(int last) {
    const unsigned choice = byte();
    const auto own = static_cast<unsigned>(last + 1);
    return choice < 240 ? static_cast<int>(choice % own) : static_cast<int>(number());
}

std::string FuzzInput::name() {
    const unsigned choice = choiceOf(sizeOf(nameChoices));
    std::string name(choice < sizeOf(nameChoices) ? std::string(nameChoices[choice]) : rawText());
    if (name.size() > 18 && isDecimalNumber(name)) {
        name.insert(0, 1, 'n');
    }
    return name;
}

std::string FuzzInput::text() {
    const unsigned choice = below(sizeOf(textChoices) + 2);
    if (choice < sizeOf(textChoices)) {
        return std::string(textChoices[choice]);
    }
    // The second is longer than the buffer in which short statements are formatted.
    return choice == sizeOf(textChoices) ? rawText() : std::string(1000 + below(64), 'L');
}

std::string FuzzInput::path() {
    const unsigned choice = below(sizeOf(pathChoices) + 1);
    return choice < sizeOf(pathChoices) ? std::string(pathChoices[choice]) : rawText();
}

PelkoChatTarget FuzzInput::target() {
    PelkoChatTarget target;
    target.type = static_cast<PelkoChatTargetType>(enumerator(PelkoChatTargetTypeCustomerService));
    // A user goes by the name and all others by the id; the other one must make no difference.
    if (target.type == PelkoChatTargetTypeUser) {
        target.name = name();
        target.id = static_cast<long long>(target.name.size());
    } else {
        target.id = id();
        target.name = "display'name";
    }
    return target;
}

PelkoChatTarget FuzzInput::me() {
    return LoginContext::getInstance()->getUserName();
}

PelkoMedia FuzzInput::media() {
    PelkoMedia media;
    media.type = static_cast<PelkoMediaType>(enumerator(PelkoMediaTypeExtraData));
    media.status = static_cast<PelkoMediaStatus>(enumerator(PelkoMediaStatusDownloadFailed));
    media.url = text();
    media.path = path();
    media.pathEx = path();
    media.duration = number();
    return media;
}

PelkoMessage FuzzInput::message() {
    PelkoMessage message;
    message.id = id();
    message.dbID = rowId();
    message.date = number();
    message.type = static_cast<PelkoMessageType>(enumerator(PelkoMessageTypeJudgeService));
    message.status = static_cast<PelkoMessageStatus>(enumerator(PelkoMessageStatusSendingFailed));
    const unsigned direction = below(8);
    message.sender = direction < 3 ? me() : target();
    message.receiver = direction >= 3 && direction < 6 ? me() : target();
    message.text = text();
    // Without an attachment in every other one: too many values that make a statement fail hide the others.
    if (flag()) {
        message.extraText = text();
        message.media = media();
    }
    return message;
}

PelkoSession FuzzInput::session() {
    PelkoSession session;
    session.target = target();
    session.isTop = flag();
    session.priority = static_cast<int>(number());
    session.lastMsg.dbID = rowId();
    return session;
}

PelkoUser FuzzInput::user() {
    PelkoUser user(name());
    user.nickname = text();
    user.info = text();
    user.gender = static_cast<PelkoUserGender>(enumerator(PelkoUserGenderNotSet));
    if (flag()) {
        user.icon = media();
    }
    return user;
}

PelkoRoom FuzzInput::room() {
    PelkoRoom room;
    room.id = id();
    room.name = text();
    room.info = text();
    room.isTop = flag();
    room.capacity = number();
    room.onlineNumber = number();
    if (flag()) {
        room.icon = media();
    }
    return room;
}

PelkoGroup FuzzInput::group() {
    PelkoGroup group(id());
    group.name = text();
    group.info = text();
    group.ownerType = static_cast<PelkoGroupType>(enumerator(PelkoGroupTypePrivate));
    group.ownerAccount = name();
    group.needAuthentication = flag();
    group.capacity = number();
    if (flag()) {
        group.icon = media();
    }
    return group;
}

PelkoNotify FuzzInput::notification() {
    PelkoNotify notify(static_cast<PelkoNotifyType>(enumerator(PelkoNotifyTypeJoinGroupReply)));
    notify.dbID = notificationId();
    notify.date = static_cast<long>(id());
    notify.isRead = flag();
    notify.agree = flag();
    notify.isSystemNotify = flag();
    for (PelkoChatTarget* const party : {&notify.sender, &notify.receiver, &notify.from}) {
        party->type = static_cast<PelkoChatTargetType>(enumerator(PelkoChatTargetTypeCustomerService));
        party->id = id();
        party->name = name();
    }
    notify.text = text();
    return notify;
}

}  // namespace pelkotest
