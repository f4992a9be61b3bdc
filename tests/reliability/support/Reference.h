#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_REFERENCE_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_REFERENCE_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/reliability/support/StoredRows.h"
#include "tests/support/TemporaryFolder.h"

// What must be in a store that was interrupted.

namespace pelkotest {

/// How far a run of the store came.
struct Progress {
    bool opened = false;        ///< setUp() was acknowledged
    unsigned steps = 0;         ///< steps that were acknowledged after it
    bool stepUnderWay = false;  ///< one more had begun, or may have
};

/// A manager in that folder; not open yet.
std::unique_ptr<pelkoapi::PelkoDBManager> managerIn(const std::filesystem::path& folder);

/// A store in a folder of its own where nothing goes wrong. It takes the same steps of a workload as another
/// that is interrupted, and tells what the other may hold. Verdicts are empty, or say what is wrong. Between
/// two calls no connection is open.
class Reference {
public:
    explicit Reference(unsigned seed) : mSeed(seed) {}

    /// The first step that has not begun yet.
    unsigned nextStep() const { return mNextStep; }
    /// Of how many single changes the steps are made that were acknowledged.
    unsigned long acknowledgedOperations() const { return mOperations; }
    /// How many steps of several changes were found with some, but not all of them done.
    unsigned long stepsPartlyDone() const { return mPartlyDone; }

    /// Whether the folder of an interrupted store holds, apart from its repairs at the next opening, all that
    /// was acknowledged; of the step under way, its first few changes, all or none; and nothing else. The
    /// folder is not touched, so that the store itself finds what the interruption left.
    /// @param runs  since the last judgement; all but the last ended by a tearDown()
    std::string judge(const std::filesystem::path& folder, const std::vector<Progress>& runs);

    /// Opens the store in the folder as its next run does, and tells whether it holds the same after its
    /// repairs.
    std::string judgeReopened(const std::filesystem::path& folder);

private:
    StoredRows rows() const { return storedRows((mFolder.path() / "db.dat").string()); }
    /// Takes the steps that a run took. @return what failed; empty when nothing did
    std::string follow(pelkoapi::PelkoDBManager& manager, const Progress& run);
    std::string judgeRows(const StoredRows& found, const Progress& run);

    unsigned mSeed;
    unsigned mNextStep = 0;
    unsigned long mOperations = 0;
    unsigned long mPartlyDone = 0;
    StoredRows mLast;  ///< what the other store held when it was last known exactly
    TemporaryFolder mFolder;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_REFERENCE_H
