#ifndef PELKO_TOOL_EXPORT_HTML_NAMES_H
#define PELKO_TOOL_EXPORT_HTML_NAMES_H

#include <map>
#include <string>

#include "PelkoChatTarget.h"
#include "tools/pelko/file/Conversations.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

/// What pages call somebody.
struct ShownName {
    std::string name;     ///< the nickname, or what there is instead
    std::string account;  ///< the account's name where that is another one
};

/// The names of senders, each looked up once.
class HtmlNames {
public:
    HtmlNames(const Database& database, std::string me);

    bool isMe(const pelkoapi::PelkoChatTarget& sender) const;
    const ShownName& of(const pelkoapi::PelkoChatTarget& sender);

private:
    std::string mMe;
    Statement mNicknames;
    std::map<std::string, ShownName> mUsers;
    ShownName mOther;
};

/// What pages call a conversation: its name, or its target.
std::string titleOf(const Conversation& conversation);

/// The stored profile text of the peer; empty without one.
std::string profileTextOf(const Database& database, const Peer& peer);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_NAMES_H
