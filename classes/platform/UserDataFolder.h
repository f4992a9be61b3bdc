#ifndef PELKO_PLATFORM_USER_DATA_FOLDER_H
#define PELKO_PLATFORM_USER_DATA_FOLDER_H

#include <filesystem>

namespace pelkoapi {

/// Where the user's programs keep their data: $XDG_DATA_HOME, or ~/.local/share; on Windows %LOCALAPPDATA%.
/// Empty when the environment does not tell.
std::filesystem::path userDataFolder();

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_USER_DATA_FOLDER_H
