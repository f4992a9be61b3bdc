#ifndef PELKO_STORAGE_PELKO_SESSION_H
#define PELKO_STORAGE_PELKO_SESSION_H

#include <deque>
#include <vector>

#include "PelkoChatTarget.h"
#include "PelkoMessage.h"
#include "classes/platform/Export.h"

namespace pelkoapi {

/// @ingroup records
/// A conversation in the session list. A plain value. The store keeps and restores `isTop`, `priority`,
/// `target` and `lastMsg`; everything else belongs to the client's session logic.
class PELKO_API PelkoSession {
public:
    bool isTop = false;               ///< pinned to the top
    unsigned int pageIndex = 0;       ///< the client's paging; not stored
    int priority = 0;                 ///< order among pinned sessions
    long long lastMsgId = 0;          ///< the client's own mark; not stored, unlike `lastMsg`
    bool requestingHistory = false;   ///< the client's own switch; not stored
    bool autoRequestHistory = false;  ///< the client's own switch; not stored
    bool needUpdate = false;          ///< the client's own switch; not stored
    PelkoMessage lastMsg;             ///< the newest message of the conversation
    PelkoChatTarget target;           ///< the peer

    std::vector<PelkoUser> memberList;         ///< members, for the client; not stored
    std::vector<PelkoUser> curPageMemberList;  ///< those of the current page; not stored

private:
    std::deque<PelkoMessage> mMessageList;
    [[maybe_unused]] bool isClosed = false;
};

}  // namespace pelkoapi

#endif  // PELKO_STORAGE_PELKO_SESSION_H
