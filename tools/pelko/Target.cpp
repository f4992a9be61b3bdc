#include "tools/pelko/Target.h"

#include <limits>

#include "tools/pelko/Number.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

using pelkoapi::PelkoChatTarget;

namespace {

// The store reads the ids of rooms and services back as 32 bits, those of groups as they are.
constexpr long long greatestShortId = std::numeric_limits<unsigned int>::max();
constexpr long long greatestId = std::numeric_limits<long long>::max();

struct NumberedKind {
    const char* prefix;
    pelkoapi::PelkoChatTargetType type;
    long long greatest;
};

constexpr char userPrefix[] = "user:";
constexpr NumberedKind numberedKinds[] = {
    {"room:", pelkoapi::PelkoChatTargetTypeRoom, greatestShortId},
    {"group:", pelkoapi::PelkoChatTargetTypeGroup, greatestId},
    {"service:", pelkoapi::PelkoChatTargetTypeCustomerService, greatestShortId},
};

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

const char* const targetForms = "user:alice, room:5001, group:77, service:9";

PelkoChatTarget parseTarget(const std::string& text) {
    const std::string user = userPrefix;
    if (startsWith(text, user) && text.size() > user.size()) {
        return PelkoChatTarget(text.substr(user.size()));
    }
    for (const NumberedKind& kind : numberedKinds) {
        const std::string prefix = kind.prefix;
        if (startsWith(text, prefix) && text.size() > prefix.size()) {
            const std::string id = text.substr(prefix.size());
            return PelkoChatTarget(parseNumber("'" + text + "': the id", id, 0, kind.greatest), kind.type);
        }
    }
    throw UsageError("'" + text + "' is no target; targets are written " + targetForms);
}

std::string targetText(const PelkoChatTarget& target) {
    if (target.type == pelkoapi::PelkoChatTargetTypeUser) {
        return target.name.empty() ? std::string() : userPrefix + target.name;
    }
    for (const NumberedKind& kind : numberedKinds) {
        if (target.type == kind.type) {
            return kind.prefix + std::to_string(target.id);
        }
    }
    return {};
}

}  // namespace pelkotool
