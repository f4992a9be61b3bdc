#ifndef PELKO_STORAGE_FAILURE_CONVENTION_H
#define PELKO_STORAGE_FAILURE_CONVENTION_H

#include <utility>

#include "classes/sqlite/CppSQLite3.h"

// How every operation of the store reports what went wrong, in one place: a line to each log channel that is
// switched on, the console's with a prefix, and the operation's neutral result.

namespace pelkoapi {

/// "db is not ready": the operation was called while no database is open. @param line the calling source line
void logNotReady(const char* operation, int line);

/// "… failed, exception in (…)": the operation met a database error.
void logFailure(const char* operation, const char* message);

/// "db is not correctly closed": the database is opened while one is open.
void logNotClosed();

/// Runs the work of an operation. A database error is logged under the operation's name and turned into the
/// neutral result; any other exception passes on.
///
/// Statements within a loop over a cursor: when one of them fails, SQLite puts the cursor back to its row by
/// the row's key. In a damaged file, whose keys are out of order, it then goes round in circles. Loops
/// therefore read all their rows first, or notice a row that comes again.
template <typename Result, typename Work>
Result withFailureLogged(const char* operation, Result neutral, Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (const CppSQLite3Exception& exception) {
        logFailure(operation, exception.errorMessage());
        return neutral;
    }
}

}  // namespace pelkoapi

#endif  // PELKO_STORAGE_FAILURE_CONVENTION_H
