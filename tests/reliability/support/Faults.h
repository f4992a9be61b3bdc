#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_FAULTS_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_FAULTS_H

#include <iosfwd>
#include <string>
#include <vector>

#include "tests/reliability/support/ShimVfs.h"

struct sqlite3;

// Makes one call of the store to what it stands on fail: the n-th of a kind, alone or with all that follow.
//
// A program that links this has its operator new and delete replaced and is to be linked with
// -Wl,--wrap=sqlite3_prepare_v2,--wrap=sqlite3_step.

namespace pelkotest {

enum class FaultKind {
    SqliteMemory,  ///< SQLite's allocations
    OwnMemory,     ///< our own: operator new throws std::bad_alloc
    Prepare,       ///< sqlite3_prepare_v2 called by the store, with a code that changes with n
    Step,          ///< sqlite3_step called by the store, with a code that changes with n
    IoError,       ///< any call to a file but its opening, with the code of that call
    DiskFull,      ///< what makes a file grow
    CannotOpen,    ///< the opening of a file
    Busy           ///< what takes a lock
};
const std::vector<FaultKind>& allFaultKinds();

/// A word for it, as in the names of tests.
std::string nameOf(FaultKind kind);
void PrintTo(FaultKind kind, std::ostream* out);

/// Whether faults of that kind are made by faultyFiles().
bool isOfFiles(FaultKind kind);

struct FaultPlan {
    FaultKind kind;
    bool lasting;  ///< the n-th call and all after it, until the operation has returned
    long n;        ///< counted from 1
};
std::ostream& operator<<(std::ostream& out, const FaultPlan& plan);

/// Puts the layers under SQLite, every allocation of which then is one that can fail. Called before any
/// connection is open; the second call does nothing.
void installFaultLayers();

/// To be put under SQLite by a ShimVfs, for the faults of files.
IoObserver& faultyFiles();

/// The plan is in force as long as this lives. One at a time.
class ArmedFault {
public:
    explicit ArmedFault(const FaultPlan& plan);
    ~ArmedFault();
    ArmedFault(const ArmedFault&) = delete;
    ArmedFault& operator=(const ArmedFault&) = delete;

    /// How many calls have failed.
    long hits() const;
};

/// The connection on which the last statement was prepared.
sqlite3* lastPreparedOn();

/// How many blocks of operator new have not been given back.
long liveAllocations();

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_FAULTS_H
