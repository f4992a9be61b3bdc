#ifndef PELKO_TOOL_LOG_FILES_H
#define PELKO_TOOL_LOG_FILES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace pelkotool {

/// A log that a path of the command line names or contains.
struct LogFile {
    std::filesystem::path path;
    std::string channel;  ///< the name of the folder it lies in
    long long day = 0;    ///< since 1970
    std::uintmax_t size = 0;
};

struct FoundLogs {
    std::vector<LogFile> files;  ///< by channel, then by day
    std::vector<std::filesystem::path>
        passedOver;  ///< files in the folders that are no CHANNEL/YYYY-MM-DD.log
};

/// Looks for logs: each path is a log, or a folder that is searched with all its folders.
/// @throws ToolError for a path that does not exist, a file that is no log or cannot be opened, a folder
///         without logs, a day that the store cannot order, and two logs of the same channel and day
FoundLogs findLogs(const std::vector<std::string>& paths);

/// The content of a file. @throws ToolError when it cannot be read
std::string readFile(const std::filesystem::path& path);

}  // namespace pelkotool

#endif  // PELKO_TOOL_LOG_FILES_H
