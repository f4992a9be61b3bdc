#ifndef PELKO_PLATFORM_DEFAULT_PLATFORM_H
#define PELKO_PLATFORM_DEFAULT_PLATFORM_H

#include <string>

#include "classes/platform/Export.h"

// How a host sets up the default platform functions of pelko_platform. A host that links its own FileUtil,
// LoginContext and log functions does not need this header. Paths are UTF-8.

namespace pelkoapi {

/// @addtogroup platform
/// @{

/// Sets the application's data root, under which attachment paths are stored relative. Trailing slashes are
/// dropped. Until it is set, paths are stored and handed out as they are.
PELKO_API void setAppDataRoot(const std::string& root);

/// Sets the logged-in user's data root, which lies under the application's; db.dat lies in it. To be set
/// before the store is set up.
PELKO_API void setUserDataRoot(const std::string& root);

/// Switches the console lines (on stderr) on or off; on at start.
PELKO_API void setConsoleLogEnabled(bool enabled);

/// Switches the lines of the log file on or off; off at start.
PELKO_API void setFileLogEnabled(bool enabled);

/// Sets the log file; lines are appended to it. Without one the lines of that channel are dropped.
PELKO_API void setLogFilePath(const std::string& path);

/// @}

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_DEFAULT_PLATFORM_H
