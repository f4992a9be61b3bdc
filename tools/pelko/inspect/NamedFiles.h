#ifndef PELKO_TOOL_INSPECT_NAMED_FILES_H
#define PELKO_TOOL_INSPECT_NAMED_FILES_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "tools/pelko/Account.h"

namespace pelkotool {

/// The attachments and icons that the rows of a file name, and whether they are there.
class NamedFiles {
public:
    explicit NamedFiles(const Account& account) : mAccount(account) {}

    /// Takes note of a stored path. @return whether a file is there, as the store finds it: links are
    /// followed
    bool isThere(const std::string& storedPath);

    struct File {
        std::filesystem::path path;  ///< below the folder
        std::uintmax_t size = 0;
    };
    struct Folder {
        std::vector<File> unnamed;                      ///< by their paths
        std::vector<std::filesystem::path> unreadable;  ///< folders that could not be looked into
    };
    /// The regular files below a folder that no stored path names, but for the database and what SQLite keeps
    /// beside it. Links are not followed.
    Folder unnamedBelow(const std::filesystem::path& folder) const;

private:
    /// The folder without links in it; nothing when it is not there.
    const std::optional<std::filesystem::path>& resolved(const std::filesystem::path& folder);
    bool isDatabase(const std::filesystem::path& file, const std::filesystem::path& folder) const;

    Account mAccount;
    std::map<std::filesystem::path, std::optional<std::filesystem::path>> mResolved;
    std::unordered_set<std::string> mNamed;  // without links in them
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_NAMED_FILES_H
