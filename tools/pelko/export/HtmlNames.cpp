#include "tools/pelko/export/HtmlNames.h"

#include <utility>

#include "tools/pelko/export/HtmlText.h"

namespace pelkotool {

HtmlNames::HtmlNames(const Database& database, std::string me)
    : mMe(std::move(me)), mNicknames(database.prepare("SELECT nickname FROM tbl_user WHERE username = ?1")) {
}

bool HtmlNames::isMe(const pelkoapi::PelkoChatTarget& sender) const {
    return sender.type == pelkoapi::PelkoChatTargetTypeUser && sender.name == mMe;
}

const ShownName& HtmlNames::of(const pelkoapi::PelkoChatTarget& sender) {
    if (sender.type != pelkoapi::PelkoChatTargetTypeUser) {
        mOther = {peerText({sender.type, std::to_string(sender.id)}), {}};
        return mOther;
    }
    const auto [found, isNew] = mUsers.try_emplace(sender.name);
    if (isNew) {
        mNicknames.bind(1, sender.name);
        const std::string nickname = mNicknames.step() ? mNicknames.text(0) : std::string();
        mNicknames.reset();
        const std::string account = lineText(sender.name);
        const std::string name = nickname.empty() ? account : lineText(nickname);
        found->second = {name.empty() ? "(no name)" : name, name == account ? std::string() : account};
    }
    return found->second;
}

std::string titleOf(const Conversation& conversation) {
    return lineText(conversation.name.empty() ? peerText(conversation.peer) : conversation.name);
}

std::string profileTextOf(const Database& database, const Peer& peer) {
    const char* query = nullptr;
    switch (peer.type) {
        case pelkoapi::PelkoChatTargetTypeUser:
            query = "SELECT info FROM tbl_user WHERE username = ?1";
            break;
        case pelkoapi::PelkoChatTargetTypeRoom:
            query = "SELECT info FROM tbl_room WHERE room_id = ?1";
            break;
        case pelkoapi::PelkoChatTargetTypeGroup:
            query = "SELECT info FROM tbl_group WHERE group_id = ?1";
            break;
        default:
            return {};
    }
    Statement texts = database.prepare(query);
    texts.bind(1, peer.id);
    return texts.step() ? blockText(texts.text(0)) : std::string();
}

}  // namespace pelkotool
