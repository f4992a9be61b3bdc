#ifndef PELKO_NOTIFY_H
#define PELKO_NOTIFY_H

#include <string>

#include "PelkoChatTarget.h"

namespace pelkoapi {

enum PelkoNotifyType : int {
    PelkoNotifyTypeGroupInvite = 0,
    PelkoNotifyTypeJoinGroupRequest = 1,
    PelkoNotifyTypeJoinGroupReply = 2
};

/// A group notification: an invitation, a join request or the reply to one. A plain value.
class PelkoNotify {
public:
    /// An unread group invitation without parties. `agree` is left uninitialised: only a join reply
    /// carries an answer, and every reader of stored rows sets it.
    PelkoNotify() {}  // NOLINT: not "= default", so that value-initialisation leaves `agree` alone too

    /// A notification of that kind; `agree` is false.
    PelkoNotify(PelkoNotifyType notifyType) : agree(false), type(notifyType) {}

    long dbID = 0;  ///< local row id (column "db_id"), set when stored
    long date = 0;  ///< time of the notification, seconds since 1970
    bool isRead = false;
    PelkoChatTarget sender;
    PelkoChatTarget receiver;
    PelkoChatTarget from;  ///< the group that the notification concerns
    bool agree;            ///< the answer carried by a join reply
    bool isSystemNotify = false;
    PelkoNotifyType type = PelkoNotifyTypeGroupInvite;
    std::string text;
};

}  // namespace pelkoapi

#endif  // PELKO_NOTIFY_H
