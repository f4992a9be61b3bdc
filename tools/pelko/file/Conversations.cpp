#include "tools/pelko/file/Conversations.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "PelkoMessage.h"
#include "tools/pelko/file/MessageRow.h"

namespace pelkotool {

namespace {

/// A conversation with the places of its messages.
struct Gathered {
    Conversation conversation;
    std::vector<MessagePlace> places;  // of all its messages
};

using GatheredByPeer = std::map<Peer, Gathered>;

void gatherMessages(const Database& database, const std::string& me, GatheredByPeer& gathered) {
    Statement rows = database.prepare(std::string("SELECT ") + placeColumns + ", status, " + peerTypeSql +
                                      ", " + peerIdSql + " FROM tbl_msg");
    rows.bind(1, me);
    while (rows.step()) {
        const Peer peer{rows.integer(4), rows.text(5)};
        Gathered& at = gathered[peer];
        Conversation& conversation = at.conversation;
        conversation.peer = peer;
        const auto date = static_cast<unsigned int>(rows.integer(0));
        ++conversation.messages;
        conversation.unread += rows.integer(3) == pelkoapi::PelkoMessageStatusUnread ? 1 : 0;
        conversation.first = std::min(conversation.first.value_or(date), date);
        conversation.last = std::max(conversation.last.value_or(date), date);
        at.places.push_back(placeOf(rows));
    }
}

void gatherSessions(const Database& database, GatheredByPeer& gathered) {
    Statement rows = database.prepare("SELECT target_type, target_id, is_top, priority FROM tbl_session");
    while (rows.step()) {
        const Peer peer{rows.integer(0), rows.text(1)};
        Conversation& conversation = gathered[peer].conversation;
        conversation.peer = peer;
        conversation.hasSession = true;
        conversation.pinned = rows.integer(2) != 0;
        conversation.priority = rows.integer(3);
    }
}

void putInOrder(const DateRange& range, Gathered& gathered) {
    std::vector<MessagePlace>& places = gathered.places;
    std::sort(places.begin(), places.end());
    if (!places.empty()) {
        gathered.conversation.newestRow = places.back().row;
    }
    for (const MessagePlace& place : places) {
        if (range.contains(static_cast<unsigned int>(place.date))) {
            gathered.conversation.rows.push_back(place.row);
        }
    }
    places = {};
}

void nameThem(const Database& database, std::vector<Conversation>& conversations) {
    Statement room = database.prepare("SELECT name FROM tbl_room WHERE room_id = ?1");
    Statement group = database.prepare("SELECT name FROM tbl_group WHERE group_id = ?1");
    Statement user = database.prepare("SELECT nickname FROM tbl_user WHERE username = ?1");
    for (Conversation& conversation : conversations) {
        Statement* names = nullptr;
        switch (conversation.peer.type) {
            case pelkoapi::PelkoChatTargetTypeUser:
                names = &user;
                break;
            case pelkoapi::PelkoChatTargetTypeRoom:
                names = &room;
                break;
            case pelkoapi::PelkoChatTargetTypeGroup:
                names = &group;
                break;
            default:
                continue;  // nothing is stored of customer services
        }
        names->bind(1, conversation.peer.id);
        if (names->step()) {
            conversation.name = names->text(0);
        }
        names->reset();
    }
}

}  // namespace

std::vector<Conversation> conversationsIn(const Database& database, const std::string& me,
                                          const DateRange& range) {
    GatheredByPeer gathered;
    gatherMessages(database, me, gathered);
    gatherSessions(database, gathered);
    std::vector<Conversation> conversations;
    for (auto& [peer, found] : gathered) {
        putInOrder(range, found);
        conversations.push_back(std::move(found.conversation));
    }
    std::stable_sort(conversations.begin(), conversations.end(),
                     [](const Conversation& a, const Conversation& b) {
                         const auto place = [](const Conversation& c) {
                             return std::tuple(c.pinned, c.pinned ? c.priority : 0);
                         };
                         return place(a) != place(b) ? place(b) < place(a) : b.last < a.last;
                     });
    nameThem(database, conversations);
    return conversations;
}

}  // namespace pelkotool
