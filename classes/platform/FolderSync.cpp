#include "classes/platform/FolderSync.h"

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace pelkoapi {

#ifdef _WIN32

void syncFolder(const std::filesystem::path&) {
}

#else

void syncFolder(const std::filesystem::path& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
#ifdef F_FULLFSYNC
    // On Apple devices fsync alone does not reach the medium.
    if (::fcntl(descriptor, F_FULLFSYNC) < 0) {
        ::fsync(descriptor);
    }
#else
    ::fsync(descriptor);
#endif
    ::close(descriptor);
}

#endif

}  // namespace pelkoapi
