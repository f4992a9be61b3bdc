#include <list>
#include <string>
#include <type_traits>
#include <vector>

#include "classes/storage/PelkoDBManager.h"

// The operations with their exact types, for those whose own tests would also compile with others.

namespace pelkoapi {

namespace {

static_assert(std::is_same_v<s64, long long>);
static_assert(std::is_same_v<uint, unsigned int> && sizeof(uint) == 4);

template <typename Result, typename... Arguments>
using Member = Result (PelkoDBManager::*)(Arguments...);

/// Whether a member is of this type, and public.
template <typename Expected, typename Actual>
constexpr bool is(Actual) {
    return std::is_same_v<Expected, Actual>;
}
using Manager = PelkoDBManager;

// ---- user profiles
static_assert(is<Member<PelkoUser, std::string&>>(&Manager::getBaseUserInfo));
static_assert(is<Member<PelkoUser, std::string>>(&Manager::getUserInfo));
static_assert(is<Member<bool, std::vector<PelkoUser>&>>(&Manager::getFriendList));
static_assert(is<Member<bool, std::vector<PelkoUser>&>>(&Manager::getBlockList));
static_assert(is<Member<bool, PelkoUser&, uint>>(&Manager::insertOrUpdateUser));
static_assert(is<Member<bool, std::string&>>(&Manager::userExist));
static_assert(is<Member<bool, std::string&>>(&Manager::deleteUser));

// ---- rooms
static_assert(is<Member<bool, PelkoRoom*, uint>>(&Manager::insertOrUpdateRoom));
static_assert(is<Member<bool, s64>>(&Manager::roomExist));
static_assert(is<Member<PelkoRoom, s64>>(&Manager::getRoomInfo));
static_assert(is<Member<bool, s64>>(&Manager::deleteRoom));
static_assert(is<Member<bool, std::vector<PelkoRoom>&>>(&Manager::getRoomList));
static_assert(is<Member<bool>>(&Manager::clearRoomList));

// The row reader is the manager's own.
template <typename Class, typename = void>
constexpr bool offersRowReader = false;
template <typename Class>
constexpr bool offersRowReader<Class, std::void_t<decltype(&Class::updateRoomFromQuery)>> = true;
static_assert(!offersRowReader<Manager>);

// ---- groups and the groups joined
static_assert(is<Member<bool, PelkoGroup*, uint>>(&Manager::insertOrUpdateGroup));
static_assert(is<Member<bool, s64>>(&Manager::groupExist));
static_assert(is<Member<PelkoGroup, s64>>(&Manager::getGroupInfo));
static_assert(is<Member<uint, const PelkoChatTarget&>>(&Manager::getTargetInfoVersion));
static_assert(is<Member<bool, s64>>(&Manager::deleteGroup));
static_assert(is<Member<bool, std::vector<PelkoGroup>&>>(&Manager::getGroupList));
static_assert(is<Member<uint, std::vector<long long>&>>(&Manager::saveGroupList));
static_assert(is<Member<bool, s64>>(&Manager::joinGroup));
static_assert(is<Member<bool, std::vector<long long>&>>(&Manager::replaceGroupList));
static_assert(is<Member<bool>>(&Manager::clearGroupList));
static_assert(is<Member<bool, s64>>(&Manager::isInGroup));
static_assert(is<Member<bool, s64>>(&Manager::quitGroup));

// ---- sessions
static_assert(is<Member<bool, std::list<PelkoSession>&>>(&Manager::loadSessionList));
static_assert(is<Member<bool, const PelkoSession&>>(&Manager::insertNewSession));
static_assert(is<Member<bool, const PelkoChatTarget&>>(&Manager::deleteSession));
static_assert(is<Member<bool, const PelkoChatTarget&, bool, int>>(&Manager::markSessionIsTop));
static_assert(is<Member<bool, const PelkoChatTarget&, s64>>(&Manager::updateSessionLastMsg));

// ---- notifications
static_assert(is<Member<bool, PelkoNotify*>>(&Manager::insertNotify));
static_assert(is<Member<bool, std::vector<PelkoNotify>&>>(&Manager::loadNotifyList));
static_assert(is<Member<bool, const std::vector<long>&>>(&Manager::deleteNotifys));
static_assert(is<Member<uint>>(&Manager::getUnreadNotifyCount));
static_assert(is<Member<bool, long, bool>>(&Manager::markNotifyIsRead));
static_assert(is<Member<bool>>(&Manager::clearNotifyUnreadStatus));
static_assert(is<Member<PelkoNotify, long>>(&Manager::getNottify));

}  // namespace

}  // namespace pelkoapi
