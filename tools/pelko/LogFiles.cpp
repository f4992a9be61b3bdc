#include "tools/pelko/LogFiles.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>
#include <tuple>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ChatLog.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

constexpr char expectedName[] = "logs are named CHANNEL/YYYY-MM-DD.log";

[[noreturn]] void failReading(const fs::path& path, const std::string& reason) {
    throw ToolError("cannot read " + utf8Of(path) + ": " + reason);
}

std::string systemReason() {
    return errno != 0 ? std::generic_category().message(errno) : std::string("it could not be opened");
}

/// Tells before anything is stored whether the file can be opened at all.
void requireReadable(const fs::path& path) {
    errno = 0;
    if (!std::ifstream(path, std::ios::binary)) {
        failReading(path, systemReason());
    }
}

LogFile logFileAt(const fs::path& path, long long day) {
    if (day < 0 || day > lastDay) {
        throw ToolError("the day of " + utf8Of(path) +
                        " is out of range: days from 1970-01-01 to 2038-01-18 can be stored in order");
    }
    requireReadable(path);
    LogFile file;
    file.path = path;
    file.channel = utf8Of(fs::absolute(path).lexically_normal().parent_path().filename());
    file.day = day;
    std::error_code error;
    file.size = fs::file_size(path, error);
    if (error) {
        failReading(path, error.message());
    }
    if (file.channel.empty()) {
        throw ToolError(utf8Of(path) + " lies in no channel's folder; " + expectedName);
    }
    return file;
}

void searchFolder(const fs::path& folder, FoundLogs& found) {
    const std::size_t before = found.files.size();
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;  // what cannot be looked at is neither a folder nor a file
        if (entry->is_directory(ignored)) {
            continue;
        }
        const fs::path& path = entry->path();
        if (const auto day = dayOfLogName(utf8Of(path.filename()))) {
            if (!entry->is_regular_file(ignored)) {
                failReading(path, "it is not a file, or a link to one that is missing");
            }
            found.files.push_back(logFileAt(path, *day));
        } else {
            found.passedOver.push_back(path);
        }
    }
    if (error) {
        failReading(folder, error.message());
    }
    if (found.files.size() == before) {
        throw ToolError("there are no logs in " + utf8Of(folder) + "; " + expectedName);
    }
}

void addNamed(const fs::path& path, FoundLogs& found) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        searchFolder(path, found);
        return;
    }
    if (!fs::exists(status)) {
        failReading(path, status.type() == fs::file_type::not_found ? "there is no such file or folder"
                                                                    : error.message());
    }
    const auto day = dayOfLogName(utf8Of(path.filename()));
    if (!day) {
        throw ToolError(utf8Of(path) + " is not named as a log; " + expectedName);
    }
    if (!fs::is_regular_file(status)) {
        failReading(path, "it is not a file");
    }
    found.files.push_back(logFileAt(path, *day));
}

bool sameLog(const LogFile& a, const LogFile& b) {
    return a.channel == b.channel && a.day == b.day;
}

/// A file that several paths name is played once; two files of the same channel and day would be taken for
/// one another.
void dropRepeated(std::vector<LogFile>& files) {
    files.erase(std::unique(files.begin(), files.end(),
                            [](const LogFile& a, const LogFile& b) {
                                return sameLog(a, b) && fs::equivalent(a.path, b.path);
                            }),
                files.end());
    const auto twice = std::adjacent_find(files.begin(), files.end(), sameLog);
    if (twice != files.end()) {
        throw ToolError(utf8Of(twice->path) + " and " + utf8Of(std::next(twice)->path) +
                        " are both the log of one channel and day; name only one of them");
    }
}

}  // namespace

FoundLogs findLogs(const std::vector<std::string>& paths) {
    FoundLogs found;
    for (const std::string& path : paths) {
        addNamed(pathOf(path), found);
    }
    std::sort(found.files.begin(), found.files.end(), [](const LogFile& a, const LogFile& b) {
        return std::tie(a.channel, a.day, a.path) < std::tie(b.channel, b.day, b.path);
    });
    dropRepeated(found.files);
    std::sort(found.passedOver.begin(), found.passedOver.end());
    found.passedOver.erase(std::unique(found.passedOver.begin(), found.passedOver.end()),
                           found.passedOver.end());
    return found;
}

std::string readFile(const fs::path& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        failReading(path, systemReason());
    }
    std::string content;
    std::vector<char> block(1U << 16U);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
        content.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (file.bad()) {
        failReading(path, systemReason());
    }
    return content;
}

}  // namespace pelkotool
