#include "tests/fuzz/FuzzFeatures.h"

#include <cstddef>
#include <cstdint>

namespace pelkotest {

namespace {

constexpr std::size_t counters = 32768;

// libFuzzer looks at what lies in this section and clears it before each input.
[[gnu::section("__libfuzzer_extra_counters")]] std::uint8_t counted[counters];

}  // namespace

void noteFeature(const std::string& feature) {
    std::uint64_t hash = 14695981039346656037ULL;  // FNV-1a (Fowler, Noll, Vo)
    for (const char c : feature) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    counted[(hash ^ hash >> 32) % counters] = 1;
}

}  // namespace pelkotest
