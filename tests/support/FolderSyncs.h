#ifndef PELKO_TESTS_SUPPORT_FOLDER_SYNCS_H
#define PELKO_TESTS_SUPPORT_FOLDER_SYNCS_H

#include <filesystem>

// A program that links FolderSyncs.cpp has an fsync() of its own, which keeps a list of the folders that go
// through it and passes everything on to the system.

namespace pelkotest {

/// Forgets what has been synced until now.
void forgetFolderSyncs();

/// Whether that folder has been synced since with that name in it.
bool syncedFolder(const std::filesystem::path& folder, const std::filesystem::path& withName);

}  // namespace pelkotest

#endif  // PELKO_TESTS_SUPPORT_FOLDER_SYNCS_H
