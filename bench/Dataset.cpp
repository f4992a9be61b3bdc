#include "bench/Dataset.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace pelkobench {

using namespace pelkoapi;

namespace {

// Conversations by number: the peers, the quiet peer, the rooms and groups.
constexpr int quietIndex = peerCount;
constexpr int firstRoomIndex = peerCount + 1;

constexpr int peersWithSession = sessionCount - roomCount;
constexpr long long firstServiceId = 7000000000LL;
constexpr unsigned firstDate = 1400000000U;
constexpr unsigned secondsBetween = 30;

/// What a number is drawn for: one seed each.
enum Purpose : std::uint64_t { kind, index, direction, sender, form, length, words };

/// A number that depends on the row and the purpose alone (the mixing function of SplitMix64).
std::uint64_t drawn(int row, Purpose purpose, std::uint64_t nth = 0) {
    std::uint64_t z = (static_cast<std::uint64_t>(row) * 16 + purpose) * 0x9e3779b97f4a7c15ULL +
                      nth * 0xd1b54a32d192ed03ULL;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

/// The same in [0, 1).
double fraction(int row, Purpose purpose) {
    return static_cast<double>(drawn(row, purpose) >> 11) * 0x1.0p-53;
}

int cubeLaw(int count, double u) {
    return static_cast<int>(std::floor(count * u * u * u));
}

PelkoChatTarget target(int conversation) {
    if (conversation < firstRoomIndex) {
        return PelkoUser(conversation == quietIndex ? std::string("quiet") : userName(conversation));
    }
    const int room = conversation - firstRoomIndex;
    if (room % 2 == 0) {
        return PelkoRoom(static_cast<unsigned>(1000 + room));
    }
    return PelkoGroup(groupId(room));
}

std::string text(int row) {
    static const char* const vocabulary[] = {"the",   "see",  "you",   "at",    "six",     "o'clock", "photo",
                                             "train", "late", "again", "thank", "weekend", "is",      "it",
                                             "fine",  "for",  "me",    "and",   "dinner",  "tomorrow"};
    const auto count = 2 + drawn(row, length) % 14;
    std::string sentence;
    for (std::uint64_t i = 0; i < count; ++i) {
        sentence += i == 0 ? "" : " ";
        sentence += vocabulary[drawn(row, words, i) % std::size(vocabulary)];
    }
    return sentence;
}

/// Text, or in an eighth of the rows an image or an audio clip whose files are not there.
void fillBody(PelkoMessage& message, int row) {
    const auto choice = drawn(row, form) % 24;
    const std::string name = std::to_string(firstServiceId + row);
    if (choice < 2) {
        message.type = PelkoMessageTypeImage;
        message.media = PelkoMedia(PelkoMediaTypeImage);
        message.media.path = "media/image/" + name + "_small.jpg";
        message.media.pathEx = "media/image/" + name + ".jpg";
    } else if (choice < 3) {
        message.type = PelkoMessageTypeAudio;
        message.media = PelkoMedia(PelkoMediaTypeAudio);
        message.media.path = "media/audio/" + name + ".amr";
        message.media.duration = static_cast<unsigned>(1 + drawn(row, length) % 60);
    } else {
        message.type = PelkoMessageTypeText;
        message.text = text(row);
        return;
    }
    message.media.status = PelkoMediaStatusDownloaded;
    message.media.url = "https://files.example.org/" + name;
}

PelkoMessage build(int row, const PelkoChatTarget& conversation, bool outgoing) {
    const bool oneToOne = conversation.type == PelkoChatTargetTypeUser;
    PelkoMessage message;
    message.id = firstServiceId + 3LL * row;
    message.date = firstDate + secondsBetween * static_cast<unsigned>(row);
    const auto member = static_cast<int>(drawn(row, sender) % friendCount);
    const PelkoChatTarget other = oneToOne ? conversation : PelkoChatTarget(userName(member));
    message.sender = outgoing ? PelkoChatTarget(loggedInUser) : other;
    message.receiver = oneToOne && !outgoing ? PelkoChatTarget(loggedInUser) : conversation;
    message.status = outgoing ? PelkoMessageStatusSent : PelkoMessageStatusRead;
    fillBody(message, row);
    return message;
}

}  // namespace

std::string userName(int index) {
    char name[32];
    std::snprintf(name, sizeof name, "user%05d", index);
    return name;
}

long long groupId(int index) {
    return 5000000LL + index;
}

Dataset::Dataset(int rows) : mRows(rows) {
    chooseUnread();
}

int Dataset::conversationIndex(int row) const {
    const int quietEvery = mRows / quietMessages;
    if (row <= mRows && row % quietEvery == quietEvery / 2) {
        return quietIndex;
    }
    const double u = fraction(row, index);
    return fraction(row, kind) < 0.6 ? cubeLaw(peerCount, u) : firstRoomIndex + cubeLaw(roomCount, u);
}

bool Dataset::isOutgoing(int row) const {
    const int conversation = conversationIndex(row);
    if (conversation == quietIndex) {
        return (row / (mRows / quietMessages)) % 2 == 0;
    }
    const auto oneIn = conversation < firstRoomIndex ? 2U : 10U;
    return drawn(row, direction) % oneIn == 0;
}

void Dataset::chooseUnread() {
    int quiet = unreadOfQuiet;
    int busiest = unreadOfBusiest;
    int room = unreadOfRoom;
    int others = unreadCount - quiet - busiest - room;
    for (int row = mRows; row > 0 && quiet + busiest + room + others > 0; --row) {
        if (isOutgoing(row)) {
            continue;
        }
        const int conversation = conversationIndex(row);
        int& left = conversation == quietIndex       ? quiet
                    : conversation == 0              ? busiest
                    : conversation == firstRoomIndex ? room
                                                     : others;
        if (left > 0) {
            --left;
            mUnread.insert(row);
        }
    }
}

PelkoMessage Dataset::messageOf(int row) const {
    PelkoMessage message = build(row, conversationOf(row), isOutgoing(row));
    if (mUnread.count(row) != 0) {
        message.status = PelkoMessageStatusUnread;
    }
    return message;
}

PelkoChatTarget Dataset::conversationOf(int row) const {
    return target(conversationIndex(row));
}

PelkoMessage Dataset::event(int index) const {
    const int row = mRows + 1 + index;
    const int conversation = conversationIndex(row);
    const bool hasSession = conversation >= firstRoomIndex || conversation < peersWithSession;
    PelkoMessage message = build(row, target(hasSession ? conversation : 0), false);
    message.status = PelkoMessageStatusUnread;
    return message;
}

std::vector<PelkoChatTarget> Dataset::sessions() {
    std::vector<PelkoChatTarget> targets;
    targets.reserve(sessionCount);
    for (int i = 0; i < roomCount; ++i) {
        targets.push_back(target(firstRoomIndex + i));
    }
    for (int i = 0; i < peersWithSession; ++i) {
        targets.push_back(target(i));
    }
    return targets;
}

PelkoChatTarget Dataset::busiestRoom() {
    return target(firstRoomIndex);
}

PelkoChatTarget Dataset::busiestGroup() {
    return target(firstRoomIndex + 1);
}

PelkoChatTarget Dataset::busiestPeer() {
    return target(0);
}

PelkoChatTarget Dataset::quietPeer() {
    return target(quietIndex);
}

std::vector<long long> Dataset::rowsOf(const PelkoChatTarget& wanted) const {
    std::vector<long long> found;
    for (int row = 1; row <= mRows; ++row) {
        if (conversationOf(row) == wanted) {
            found.push_back(row);
        }
    }
    return found;
}

std::vector<long long> Dataset::newestOutgoing(int count) const {
    std::vector<long long> found;
    for (int row = mRows; row > 0 && static_cast<int>(found.size()) < count; --row) {
        if (isOutgoing(row)) {
            found.push_back(row);
        }
    }
    return found;
}

std::vector<long long> Dataset::unreadRowsOf(const PelkoChatTarget& wanted) const {
    std::vector<long long> found;
    for (const int row : mUnread) {
        if (conversationOf(row) == wanted) {
            found.push_back(row);
        }
    }
    return found;
}

int Dataset::unreadInRooms() const {
    int count = 0;
    for (const int row : mUnread) {
        count += conversationIndex(row) >= firstRoomIndex ? 1 : 0;
    }
    return count;
}

}  // namespace pelkobench
