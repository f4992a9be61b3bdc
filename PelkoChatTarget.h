#ifndef PELKO_CHAT_TARGET_H
#define PELKO_CHAT_TARGET_H

#include <string>
#include <utility>

#include "PelkoMedia.h"
#include "classes/platform/Export.h"

namespace pelkoapi {

/// @addtogroup records
/// @{

/// Kind of a chat target; stored as its number.
enum PelkoChatTargetType : int {
    PelkoChatTargetTypeUser = 0,            ///< a person, named by account
    PelkoChatTargetTypeRoom = 1,            ///< a chat room, named by number
    PelkoChatTargetTypeGroup = 2,           ///< a group, named by number
    PelkoChatTargetTypeCustomerService = 3  ///< a customer service, named by number
};

/// Gender in a user's profile; stored as its number.
enum PelkoUserGender : int {
    PelkoUserGenderMale = 0,    ///< male; also what a new record holds
    PelkoUserGenderFemale = 1,  ///< female
    PelkoUserGenderNotSet = 2   ///< left open by the user
};

/// Kind of a group; stored as its number.
enum PelkoGroupType : int {
    PelkoGroupTypePublic = 0,  ///< public
    PelkoGroupTypePrivate = 1  ///< private
};

/// Any peer of a conversation: a user, room, group or customer service. A plain value. The
/// default-constructed target (a user without a name) is the value that means "no target".
class PELKO_API PelkoChatTarget {
public:
    /// No target.
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

    PelkoChatTargetType type = PelkoChatTargetTypeUser;  ///< the kind

    long long id = 0;           ///< numeric id of a room, group or customer service; users go by name
    std::string name;           ///< a user's account name, or the display name of a room or group
    unsigned int tag = 0;       ///< the caller's tag
    std::string info;           ///< free profile text
    bool hasGotDetail = false;  ///< whether the full profile has been fetched
    PelkoMedia icon;            ///< the avatar
};

/// A user with the fields of its profile.
class PELKO_API PelkoUser : public PelkoChatTarget {
public:
    /// A user without a name.
    PelkoUser() = default;
    /// The user of that account name; a null pointer gives the empty name.
    PelkoUser(const char* userName) : PelkoChatTarget(userName) {}
    /// The user of that account name.
    PelkoUser(std::string userName) : PelkoChatTarget(std::move(userName)) {}

    /// Whether both name the same user.
    bool operator==(const PelkoUser& other) const { return PelkoChatTarget::operator==(other); }

    std::string nickname;                          ///< the name to show
    PelkoUserGender gender = PelkoUserGenderMale;  ///< as the profile says
    bool isBlocked = false;                        ///< whether the user is on the block list
    bool isFriend = false;                         ///< whether the user is on the friend list
};

/// A chat room.
class PELKO_API PelkoRoom : public PelkoChatTarget {
public:
    /// The room of id 0.
    PelkoRoom() : PelkoRoom(0U) {}

    /// The room of that id. Room ids are taken as 32 bits here.
    PelkoRoom(unsigned int roomId) : PelkoChatTarget(roomId, PelkoChatTargetTypeRoom) {}

    /// Whether both name the same room.
    bool operator==(const PelkoRoom& other) const { return PelkoChatTarget::operator==(other); }

    bool isTop = false;             ///< pinned to the top of the list of rooms
    unsigned int capacity = 0;      ///< how many users it takes
    unsigned int onlineNumber = 0;  ///< how many were in it when the record was made
};

/// A group, with its owner and the way to join it.
class PELKO_API PelkoGroup : public PelkoChatTarget {
public:
    /// The group of id 0.
    PelkoGroup() : PelkoGroup(0LL) {}
    /// The group of that id.
    PelkoGroup(long long groupId) : PelkoChatTarget(groupId, PelkoChatTargetTypeGroup) {}

    /// Whether both name the same group.
    bool operator==(const PelkoGroup& other) const { return PelkoChatTarget::operator==(other); }

    PelkoGroupType ownerType = PelkoGroupTypePublic;  ///< the kind (column "type")
    std::string ownerAccount;                         ///< account name of the owner
    bool needAuthentication = false;                  ///< whether joining has to be approved
    unsigned int capacity = 0;                        ///< how many members it takes
};

/// The person or company behind a customer service. Not stored.
class PELKO_API PelkoCustomerServiceCreater : public PelkoChatTarget {
public:
    std::string email;                             ///< address for mail
    std::string phone;                             ///< telephone number
    std::string nickname;                          ///< the name to show
    PelkoUserGender gender = PelkoUserGenderMale;  ///< as the profile says
};

/// A customer-service peer.
class PELKO_API PelkoCustomerService : public PelkoChatTarget {
public:
    /// The service of id 0.
    PelkoCustomerService() : PelkoCustomerService(0U) {}
    /// The service of that id.
    PelkoCustomerService(unsigned int serviceId)
        : PelkoChatTarget(serviceId, PelkoChatTargetTypeCustomerService) {}

    /// The service of that id, with the caller's tag.
    PelkoCustomerService(long long serviceId, unsigned int callersTag)
        : PelkoChatTarget(serviceId, PelkoChatTargetTypeCustomerService) {
        tag = callersTag;
    }

    /// Whether both name the same service.
    bool operator==(const PelkoCustomerService& other) const { return PelkoChatTarget::operator==(other); }

    std::string nickname;                            ///< the name to show
    PelkoCustomerServiceCreater* creater = nullptr;  ///< not owned; never stored or read by the store
};

/// @}

}  // namespace pelkoapi

#endif  // PELKO_CHAT_TARGET_H
