#ifndef PELKO_PLATFORM_FILE_UTIL_H
#define PELKO_PLATFORM_FILE_UTIL_H

#include <string>

#include "classes/platform/Export.h"

namespace pelkoapi {

/// @addtogroup platform
/// @{

/// The client's file helper. The store calls these functions and nothing else of the file system; a host
/// links its own definitions, or takes the ones of pelko_platform. Paths are UTF-8.
class PELKO_API FileUtil {
public:
    /// The logged-in user's data folder, without a trailing slash; the account's db.dat lies in it.
    static std::string getUserDataRoot();

    /// Makes the file, empty, unless it is there.
    /// @param path       where
    /// @param overwrite  whether an existing file is emptied
    /// @return negative on failure, 0 or more when the file is there afterwards
    static int createFile(const std::string& path, bool overwrite);

    /// Turns a path under the application's data root into one relative to it; every other path, the empty
    /// one included, comes back as it is. Inverse of getFullPath.
    static std::string getAppRelativePath(const std::string& path);

    /// Turns a path relative to the application's data root into an absolute one; an empty or absolute path
    /// comes back as it is. Inverse of getAppRelativePath.
    static std::string getFullPath(const std::string& path);

    /// Whether a file lies at that path.
    static bool exist(const std::string& path);

    /// Removes an attachment's file. It is called with whatever a message row holds, empty paths and texts
    /// that are no path included, so it must remove nothing but regular files of the application's data root
    /// and never a database.
    /// @return whether a file was removed
    static bool remove(const std::string& path);
};

/// @}

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_FILE_UTIL_H
