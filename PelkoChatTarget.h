#ifndef PELKO_CHAT_TARGET_H
#define PELKO_CHAT_TARGET_H

#include <string>
#include <utility>

#include "PelkoMedia.h"

namespace pelkoapi {

/// Kind of a chat target; stored as its number.
enum PelkoChatTargetType : int {
    PelkoChatTargetTypeUser = 0,
    PelkoChatTargetTypeRoom = 1,
    PelkoChatTargetTypeGroup = 2,
    PelkoChatTargetTypeCustomerService = 3
};

enum PelkoUserGender : int { PelkoUserGenderMale = 0, PelkoUserGenderFemale = 1, PelkoUserGenderNotSet = 2 };

enum PelkoGroupType : int { PelkoGroupTypePublic = 0, PelkoGroupTypePrivate = 1 };

/// Any peer of a conversation: a user, room, group or customer service. A plain value. The
/// default-constructed target (a user without a name) is the value that means "no target".
class PelkoChatTarget {
public:
    PelkoChatTarget() = default;

    /// The user of that account name.
    PelkoChatTarget(std::string userName) : name(std::move(userName)) {}

    /// The user of that account name; a null pointer gives the empty name.
    PelkoChatTarget(const char* userName) : name(userName != nullptr ? userName : "") {}

    /// The target of that kind and numeric id.
    PelkoChatTarget(long long targetId, PelkoChatTargetType targetType) : type(targetType), id(targetId) {}

    /// Whether both name the same peer: same kind, and the same name for users, the same id otherwise.
    bool operator==(const PelkoChatTarget& other) const {
        if (type != other.type) {
            return false;
        }
        return type == PelkoChatTargetTypeUser ? name == other.name : id == other.id;
    }

    PelkoChatTargetType type = PelkoChatTargetTypeUser;
    long long id = 0;           ///< numeric id of a room, group or customer service; users go by name
    std::string name;           ///< a user's account name, or the display name of a room or group
    unsigned int tag = 0;       ///< the caller's tag
    std::string info;           ///< free profile text
    bool hasGotDetail = false;  ///< whether the full profile has been fetched
    PelkoMedia icon;            ///< the avatar
};

/// A user with the fields of its profile.
class PelkoUser : public PelkoChatTarget {
public:
    PelkoUser() = default;
    PelkoUser(const char* userName) : PelkoChatTarget(userName) {}
    PelkoUser(std::string userName) : PelkoChatTarget(std::move(userName)) {}

    bool operator==(const PelkoUser& other) const { return PelkoChatTarget::operator==(other); }

    std::string nickname;
    PelkoUserGender gender = PelkoUserGenderMale;
    bool isBlocked = false;
    bool isFriend = false;
};

/// A chat room.
class PelkoRoom : public PelkoChatTarget {
public:
    PelkoRoom() : PelkoRoom(0U) {}

    /// The room of that id. Room ids are taken as 32 bits here.
    PelkoRoom(unsigned int roomId) : PelkoChatTarget(roomId, PelkoChatTargetTypeRoom) {}

    bool operator==(const PelkoRoom& other) const { return PelkoChatTarget::operator==(other); }

    bool isTop = false;
    unsigned int capacity = 0;
    unsigned int onlineNumber = 0;
};

/// A group, with its owner and the way to join it.
class PelkoGroup : public PelkoChatTarget {
public:
    PelkoGroup() : PelkoGroup(0LL) {}
    PelkoGroup(long long groupId) : PelkoChatTarget(groupId, PelkoChatTargetTypeGroup) {}

    bool operator==(const PelkoGroup& other) const { return PelkoChatTarget::operator==(other); }

    PelkoGroupType ownerType = PelkoGroupTypePublic;
    std::string ownerAccount;
    bool needAuthentication = false;
    unsigned int capacity = 0;
};

/// The person or company behind a customer service. Not stored.
class PelkoCustomerServiceCreater : public PelkoChatTarget {
public:
    std::string email;
    std::string phone;
    std::string nickname;
    PelkoUserGender gender = PelkoUserGenderMale;
};

/// A customer-service peer.
class PelkoCustomerService : public PelkoChatTarget {
public:
    PelkoCustomerService() : PelkoCustomerService(0U) {}
    PelkoCustomerService(unsigned int serviceId)
        : PelkoChatTarget(serviceId, PelkoChatTargetTypeCustomerService) {}

    /// The service of that id, with the caller's tag.
    PelkoCustomerService(long long serviceId, unsigned int callersTag)
        : PelkoChatTarget(serviceId, PelkoChatTargetTypeCustomerService) {
        tag = callersTag;
    }

    bool operator==(const PelkoCustomerService& other) const { return PelkoChatTarget::operator==(other); }

    std::string nickname;
    PelkoCustomerServiceCreater* creater = nullptr;  ///< not owned; never stored or read by the store
};

}  // namespace pelkoapi

#endif  // PELKO_CHAT_TARGET_H
