#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_MATERIAL_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_MATERIAL_H

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "PelkoChatTarget.h"
#include "PelkoMessage.h"

namespace pelkotest {

/// Numbers drawn from a seed. The standard's distributions may differ between libraries, so this is one of
/// our own.
class Draw {
public:
    explicit Draw(unsigned seed) : mEngine(seed) {}
    /// A number from 0 to below the limit, which is not 0.
    unsigned below(unsigned limit) { return static_cast<unsigned>(mEngine() % limit); }
    /// A number from the first to the last.
    unsigned between(unsigned first, unsigned last) { return first + below(last - first + 1); }
    bool oneIn(unsigned times) { return below(times) == 0; }

private:
    std::mt19937 mEngine;
};

/// The records that the step of that index in a workload works with. Few parties, so that steps meet each
/// other's rows.
class Material : public Draw {
public:
    Material(unsigned seed, unsigned stepIndex) : Draw(seed * 1000003U + stepIndex), mIndex(stepIndex) {}

    // Names come without single quotes: the store looks some of them up as they are and would fail.
    std::string user();
    std::vector<std::string> users();
    long long room() { return between(1, 5); }
    long long group() { return 9000000000LL + below(6); }
    std::vector<long long> groups();

    pelkoapi::PelkoChatTarget target();
    /// A target whose id string is a number.
    pelkoapi::PelkoChatTarget numericTarget();

    /// A text of its own, with quotes, of that many bytes or a few more.
    std::string text(std::size_t size);
    std::string path(const char* extension);
    pelkoapi::PelkoMedia icon();

    unsigned date() const { return 1700000000U + mIndex; }
    /// A message id that no message has.
    long long serviceId() { return mIndex * 1000LL + ++mServiceIds; }

    /// A message of any kind between the user and any target; some texts fill several pages.
    pelkoapi::PelkoMessage message();
    std::vector<pelkoapi::PelkoMessage> messages(unsigned count);

private:
    pelkoapi::PelkoMessage messageBetween(const pelkoapi::PelkoChatTarget& sender,
                                          const pelkoapi::PelkoChatTarget& receiver);

    unsigned mIndex;
    unsigned mServiceIds = 0;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_MATERIAL_H
