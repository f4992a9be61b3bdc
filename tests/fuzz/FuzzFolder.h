#ifndef PELKO_TESTS_FUZZ_FUZZ_FOLDER_H
#define PELKO_TESTS_FUZZ_FUZZ_FOLDER_H

#include <string>

#include "tests/support/TemporaryFolder.h"

namespace pelkotest {

/// A temporary folder in memory, where the system has one and TMPDIR names no other, that is the logged-in
/// user's data root.
class FuzzFolder {
public:
    FuzzFolder();
    std::string databasePath() const { return (mFolder.path() / "db.dat").string(); }

    /// Puts files with these bytes in place of what there is: "db.dat", and its write-ahead log unless that
    /// is empty. Starts the test platform anew, with "me" logged in.
    void reset(const std::string& database, const std::string& log) const;
    std::string readDatabase() const;

private:
    TemporaryFolder mFolder;
};

/// Runs statements on the file past the store. @throws std::runtime_error
void runSql(const std::string& path, const char* sql);

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_FUZZ_FOLDER_H
