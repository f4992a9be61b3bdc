#include "tests/support/FolderSyncs.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <set>
#include <string>
#include <vector>

namespace {

/// What was in a folder when it was synced.
struct FolderSync {
    dev_t device;
    ino_t inode;
    std::set<std::string> names;
};

std::vector<FolderSync>& folderSyncs() {
    static std::vector<FolderSync> instance;
    return instance;
}

std::set<std::string> namesIn(int folder) {
    std::set<std::string> names;
    const int descriptor = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const entries = descriptor >= 0 ? fdopendir(descriptor) : nullptr;
    if (entries != nullptr) {
        while (const dirent* const entry = readdir(entries)) {
            names.insert(entry->d_name);
        }
        closedir(entries);
    }
    return names;
}

}  // namespace

/// In the place of the C library's, whose parameter has a reserved name.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int fsync(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        folderSyncs().push_back({status.st_dev, status.st_ino, namesIn(descriptor)});
    }
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace pelkotest {

void forgetFolderSyncs() {
    folderSyncs().clear();
}

bool syncedFolder(const std::filesystem::path& folder, const std::filesystem::path& withName) {
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) {
        return false;
    }
    for (const FolderSync& sync : folderSyncs()) {
        if (sync.device == status.st_dev && sync.inode == status.st_ino &&
            sync.names.count(withName.string()) > 0) {
            return true;
        }
    }
    return false;
}

}  // namespace pelkotest
