#ifndef PELKO_PLATFORM_FOLDER_SYNC_H
#define PELKO_PLATFORM_FOLDER_SYNC_H

#include <filesystem>

namespace pelkoapi {

/// Puts the names in a folder on the medium, so that one that was just given survives a power cut. As far as
/// the system can: a folder that must not be read, or a file system that does not offer it, is passed over.
/// On Windows, where the file system keeps a journal of names, nothing is done.
void syncFolder(const std::filesystem::path& folder);

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_FOLDER_SYNC_H
