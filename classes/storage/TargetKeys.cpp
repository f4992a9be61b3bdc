#include <cstdlib>

#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/PelkoDBManager.h"

// The stored form of a chat target: its kind's number and an id string.

namespace pelkoapi {

std::string PelkoDBManager::getTargetUniqueID(const PelkoChatTarget& target) const {
    switch (target.type) {
        case PelkoChatTargetTypeUser:
            return transStringQuote(target.name);
        case PelkoChatTargetTypeRoom:
        case PelkoChatTargetTypeGroup:
        case PelkoChatTargetTypeCustomerService:
            return StringFormatUtil::string_format("%lld", target.id);
    }
    return {};
}

PelkoChatTarget PelkoDBManager::targetFromTypeAndID(PelkoChatTargetType type, const char* id) const {
    // strtoll instead of atoi and atoll: the same numbers, without their undefined behaviour for an id that
    // is out of range. Room and customer-service ids keep their low 32 bits.
    switch (type) {
        case PelkoChatTargetTypeUser:
            return PelkoUser(id);
        case PelkoChatTargetTypeRoom:
            return PelkoRoom(static_cast<uint>(std::strtoll(id, nullptr, 10)));
        case PelkoChatTargetTypeGroup:
            return PelkoGroup(std::strtoll(id, nullptr, 10));
        case PelkoChatTargetTypeCustomerService:
            return PelkoCustomerService(static_cast<uint>(std::strtoll(id, nullptr, 10)));
    }
    return {};
}

}  // namespace pelkoapi
