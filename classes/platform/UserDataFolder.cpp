#include "classes/platform/UserDataFolder.h"

#include <cstdlib>

namespace pelkoapi {

namespace fs = std::filesystem;

#ifdef _WIN32

fs::path userDataFolder() {
    const wchar_t* const folder = _wgetenv(L"LOCALAPPDATA");
    return folder != nullptr ? fs::path(folder) : fs::path();
}

#else

namespace {

fs::path environmentPath(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? fs::path(value) : fs::path();
}

}  // namespace

fs::path userDataFolder() {
    // A relative one is ignored, as XDG asks.
    if (fs::path data = environmentPath("XDG_DATA_HOME"); data.is_absolute()) {
        return data;
    }
    const fs::path home = environmentPath("HOME");
    return home.empty() ? home : home / ".local/share";
}

#endif

}  // namespace pelkoapi
