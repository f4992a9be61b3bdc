#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_STORE_OPERATIONS_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_STORE_OPERATIONS_H

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "classes/storage/PelkoDBManager.h"

// Every public operation of the store that works on its file, in a form that a test can call without knowing
// it.

namespace pelkotest {

/// What an operation gave back, as text.
struct Outcome {
    std::string value;  ///< its result; of a record every field
    std::string list;   ///< what it put into the caller's list or record, an element a line
};
bool operator==(const Outcome& a, const Outcome& b);

struct StoreOperation {
    const char* name;
    /// True when it changes the file by at most one statement, which happens entirely or not at all; false
    /// for the operations that are made of several.
    bool atomic;
    /// Calls it with arguments that have something to do in a store filled by fillStore(). Arguments are made
    /// anew in each call.
    std::function<Outcome(pelkoapi::PelkoDBManager&)> run;
};
void PrintTo(const StoreOperation& operation, std::ostream* out);

/// All of them but setUp, tearDown and the two of transactions, in the order of PelkoDBManager.h.
const std::vector<StoreOperation>& storeOperations();

/// Puts rows into every table of an open, empty store as user "me": messages of every kind of target and
/// media, friends, blocked users, profiles, rooms, groups, memberships, sessions, notifications, marks and
/// settings.
void fillStore(pelkoapi::PelkoDBManager& db);

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_STORE_OPERATIONS_H
