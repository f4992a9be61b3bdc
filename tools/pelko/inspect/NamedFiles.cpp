#include "tools/pelko/inspect/NamedFiles.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/file/AccountFile.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::utf8Of;

namespace {

/// Whether a name is that of the database or of a file that SQLite keeps beside one.
bool isNamedAs(const std::string& database, const std::string& name) {
    if (name.compare(0, database.size(), database) != 0) {
        return false;
    }
    const std::string rest = name.substr(database.size());
    const std::array<const char*, 4> suffixes = {"", "-journal", "-wal", "-shm"};
    return std::find(suffixes.begin(), suffixes.end(), rest) != suffixes.end() || rest.rfind("-mj", 0) == 0;
}

}  // namespace

const std::optional<fs::path>& NamedFiles::resolved(const fs::path& folder) {
    const auto [place, isNew] = mResolved.try_emplace(folder);
    if (isNew) {
        std::error_code error;
        const fs::path path = fs::canonical(folder, error);
        if (!error) {
            place->second = path;
        }
    }
    return place->second;
}

bool NamedFiles::isThere(const std::string& storedPath) {
    // As for the store, a path ends at its first NUL byte.
    // cppcheck-suppress stlcstrParam
    const fs::path place = attachmentPlace(mAccount, storedPath.c_str());  // NOLINT: cut at its NUL byte
    std::error_code error;
    const fs::file_status status = fs::symlink_status(place, error);
    if (fs::is_symlink(status)) {
        const fs::path target = fs::canonical(place, error);
        if (error || !fs::is_regular_file(target, error)) {
            return false;
        }
        mNamed.insert(utf8Of(target));
        return true;
    }
    if (!fs::is_regular_file(status)) {
        return false;
    }
    if (const std::optional<fs::path>& folder = resolved(place.parent_path())) {
        mNamed.insert(utf8Of(*folder / place.filename()));
    }
    return true;
}

bool NamedFiles::isDatabase(const fs::path& file, const fs::path& folder) const {
    // The one that is looked at, and one that lies in the folder, as in an account's.
    const std::string name = utf8Of(file.filename());
    return (isNamedAs(utf8Of(mAccount.database.filename()), name) &&
            file.parent_path() == fs::weakly_canonical(mAccount.database.parent_path())) ||
           (isNamedAs("db.dat", name) && file.parent_path() == folder);
}

NamedFiles::Folder NamedFiles::unnamedBelow(const fs::path& folder) const {
    Folder result;
    std::error_code error;
    const fs::path root = fs::canonical(folder, error);
    if (error) {
        result.unreadable.push_back(folder);
        return result;
    }
    std::vector<fs::path> waiting = {root};
    while (!waiting.empty()) {
        const fs::path at = waiting.back();
        waiting.pop_back();
        fs::directory_iterator entries(at, error);
        for (const fs::directory_iterator end; !error && entries != end; entries.increment(error)) {
            std::error_code unknown;  // what is gone by now is no file
            const fs::file_status status = entries->symlink_status(unknown);
            const fs::path path = entries->path();
            if (fs::is_directory(status)) {
                waiting.push_back(path);
            } else if (fs::is_regular_file(status) && mNamed.count(utf8Of(path)) == 0 &&
                       !isDatabase(path, root)) {
                const std::uintmax_t size = fs::file_size(path, unknown);
                result.unnamed.push_back({path.lexically_relative(root), unknown ? 0 : size});
            }
        }
        if (error) {
            result.unreadable.push_back(at);
        }
    }
    std::sort(result.unnamed.begin(), result.unnamed.end(),
              [](const File& a, const File& b) { return a.path < b.path; });
    std::sort(result.unreadable.begin(), result.unreadable.end());
    return result;
}

}  // namespace pelkotool
