#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_WORKLOAD_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_WORKLOAD_H

#include <functional>
#include <string>
#include <vector>

#include "classes/storage/PelkoDBManager.h"

// What a client does with its store in the course of time: an endless sequence of steps through the public
// operations of all subsystems, the same in every run and on every machine.

namespace pelkotest {

using Action = std::function<void(pelkoapi::PelkoDBManager&)>;

struct Step {
    const char* name;
    /// The step as a client does it.
    Action perform;
    /// The same as the single changes of which it is made, in their order: each happens entirely or not at
    /// all. One for an operation with one writing statement, for a transaction of the caller and for a step
    /// that only reads. What a change needs to know of the store it reads from it, so that it can be made in
    /// another run than the one before it.
    std::vector<Action> changes;
};

/// The step of that index in the sequence of the seed.
Step workloadStep(unsigned seed, unsigned index);

/// Runs the work and tells whether the store has reported neither a failure by a log line nor one by an
/// exception of its own. Forgets what the platform has recorded before.
bool succeeds(const std::function<void()>& work);

/// A number that can be set from outside: the value of the environment variable, or the default.
unsigned setting(const char* variable, unsigned byDefault);

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_WORKLOAD_H
