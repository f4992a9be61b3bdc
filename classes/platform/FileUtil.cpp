#include "classes/platform/FileUtil.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/Utf8Path.h"

namespace pelkoapi {

namespace fs = std::filesystem;

namespace {

struct DataRoots {
    std::string app;
    fs::path resolvedApp;  // without links and ".."; empty until it was needed and found
    std::string user;
};

DataRoots& roots() {
    static DataRoots instance;
    return instance;
}

bool isSeparator(char c) {
    // The two are the same on most systems. NOLINTNEXTLINE(misc-redundant-expression)
    return c == '/' || c == static_cast<char>(fs::path::preferred_separator);
}

bool isAbsolute(const std::string& path) {
    const bool hasDrive = fs::path::preferred_separator != '/' && path.size() > 1 && path[1] == ':';
    return hasDrive || (!path.empty() && isSeparator(path.front()));
}

std::string withoutTrailingSeparators(std::string path) {
    while (path.size() > 1 && isSeparator(path.back())) {
        path.pop_back();
    }
    return path;
}

bool isInside(const fs::path& folder, const fs::path& root) {
    const auto end = std::mismatch(root.begin(), root.end(), folder.begin(), folder.end());
    return end.first == root.end();
}

/// Whether the file is an account's database or one of its journal files. The names are compared by the file
/// system too, since on some of them "DB.DAT" opens db.dat.
bool isDatabaseFile(const fs::path& folder, const fs::path& fileName) {
    constexpr std::array<const char*, 4> databaseFiles = {"db.dat", "db.dat-journal", "db.dat-wal",
                                                          "db.dat-shm"};
    if (fileName.native().rfind(fs::path("db.dat-mj").native(), 0) == 0 ||
        std::find(databaseFiles.begin(), databaseFiles.end(), fileName) != databaseFiles.end()) {
        return true;
    }
    return std::any_of(databaseFiles.begin(), databaseFiles.end(), [&](const char* database) {
        std::error_code ignored;
        return fs::equivalent(folder / fileName, folder / database, ignored);
    });
}

#ifndef _WIN32
bool createPrivateFile(const fs::path& path, bool overwrite) {
    // Without O_NONBLOCK a pipe in the file's place would be waited for.
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | (overwrite ? O_TRUNC : 0);
    const int descriptor = ::open(path.c_str(), flags, 0600);
    return descriptor >= 0 && ::close(descriptor) == 0;
}
#else
bool createPrivateFile(const fs::path& path, bool overwrite) {
    // A file inherits the access list of its folder, which for an application's data is its user's alone.
    return std::ofstream(path, overwrite ? std::ios::trunc : std::ios::app).good();
}
#endif

}  // namespace

void setAppDataRoot(const std::string& root) {
    roots().app = withoutTrailingSeparators(root);
    roots().resolvedApp.clear();
}

void setUserDataRoot(const std::string& root) {
    roots().user = withoutTrailingSeparators(root);
}

std::string FileUtil::getUserDataRoot() {
    return roots().user;
}

int FileUtil::createFile(const std::string& path, bool overwrite) {
    const fs::path file = pathOf(path);
    std::error_code error;
    if (fs::is_regular_file(file, error) && !overwrite) {
        // Not even opened: a file that may only be read is there all the same.
        return 0;
    }
    if (file.has_parent_path()) {
        fs::create_directories(file.parent_path(), error);
    }
    return createPrivateFile(file, overwrite) ? 0 : -1;
}

std::string FileUtil::getAppRelativePath(const std::string& path) {
    const std::string& root = roots().app;
    if (root.empty() || path.compare(0, root.size(), root) != 0) {
        return path;
    }
    std::size_t rest = root.size();
    if (!isSeparator(root.back()) && (rest == path.size() || !isSeparator(path[rest]))) {
        return path;
    }
    while (rest < path.size() && isSeparator(path[rest])) {
        ++rest;
    }
    return rest == path.size() ? path : path.substr(rest);
}

std::string FileUtil::getFullPath(const std::string& path) {
    const std::string& root = roots().app;
    if (root.empty() || path.empty() || isAbsolute(path)) {
        return path;
    }
    return isSeparator(root.back()) ? root + path : root + '/' + path;
}

bool FileUtil::exist(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(pathOf(path), ignored);
}

bool FileUtil::remove(const std::string& path) {
    // Most of what comes here is no file: that is found out first.
    const fs::path given = pathOf(path);
    std::error_code error;
    if (given.empty() || !fs::is_regular_file(fs::symlink_status(given, error))) {
        return false;  // a link is no regular file either, and stays
    }
    fs::path& root = roots().resolvedApp;
    if (root.empty()) {
        root = fs::canonical(pathOf(roots().app), error);
    }
    // The folder is resolved, so that neither ".." nor a symbolic link leads out of the root.
    const fs::path folder = fs::canonical(given.parent_path(), error);
    if (root.empty() || folder.empty() || !isInside(folder, root) ||
        isDatabaseFile(folder, given.filename())) {
        return false;
    }
    return fs::remove(folder / given.filename(), error);
}

}  // namespace pelkoapi
