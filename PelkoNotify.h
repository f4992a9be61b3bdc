#ifndef PELKO_NOTIFY_H
#define PELKO_NOTIFY_H

#include <string>

#include "PelkoChatTarget.h"
#include "classes/platform/Export.h"

namespace pelkoapi {

/// @addtogroup records
/// @{

/// Kind of a notification; stored as its number.
enum PelkoNotifyType : int {
    PelkoNotifyTypeGroupInvite = 0,       ///< the user is invited into a group
    PelkoNotifyTypeJoinGroupRequest = 1,  ///< somebody asks to join a group
    PelkoNotifyTypeJoinGroupReply = 2     ///< the answer to such a request, in `agree`
};

/// A group notification: an invitation, a join request or the reply to one. A plain value.
class PELKO_API PelkoNotify {
public:
    /// An unread group invitation without parties. `agree` is left uninitialised: only a join reply
    /// carries an answer, and every reader of stored rows sets it.
    PelkoNotify() {}  // NOLINT: not "= default", so that value-initialisation leaves `agree` alone too

    /// A notification of that kind; `agree` is false.
    PelkoNotify(PelkoNotifyType notifyType) : agree(false), type(notifyType) {}

    long dbID = 0;  ///< local row id (column "db_id"), set when stored
    long date = 0;  ///< time of the notification, seconds since 1970

    bool isRead = false;          ///< whether the user has seen it
    PelkoChatTarget sender;       ///< who sent it
    PelkoChatTarget receiver;     ///< to whom
    PelkoChatTarget from;         ///< the group that the notification concerns
    bool agree;                   ///< the answer carried by a join reply
    bool isSystemNotify = false;  ///< whether the system sent it, not a user

    PelkoNotifyType type = PelkoNotifyTypeGroupInvite;  ///< the kind
    std::string text;                                   ///< what the sender wrote with it
};

/// @}

}  // namespace pelkoapi

#endif  // PELKO_NOTIFY_H
