#ifndef PELKO_TOOL_EXPORT_ATTACHMENTS_H
#define PELKO_TOOL_EXPORT_ATTACHMENTS_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "tools/pelko/Account.h"

namespace pelkotool {

/// The attachments of exported messages. What a row names came from a peer and may be any path: only regular
/// files below the account's data root are taken, however they are reached, and never a database.
class Attachments {
public:
    enum class Media { copy, link, none };

    /// Each is a number of different paths.
    struct Counts {
        long long copied = 0;  ///< files; the same one is copied once
        std::uintmax_t bytes = 0;
        long long linked = 0;
        long long missing = 0;  ///< not there, or not to be read
        long long refused = 0;  ///< not below the data root, no regular file, or a database
    };

    /// @param folder  of the export; the copies come into its folder media, which is made for the first one
    /// @param copying  called now and then while a file is copied; throws to stop
    Attachments(const Account& account, Media media, std::filesystem::path folder,
                std::function<void()> copying);

    /// Where the export shows the attachment: "media/3-photo.jpg", the original's absolute path, or nothing.
    /// The first time that a path is asked for, its file is copied.
    /// @throws ToolError when a copy cannot be written
    std::string placeOf(const std::string& storedPath);

    const Counts& counts() const { return mCounts; }

private:
    std::string take(const std::string& storedPath);
    std::optional<std::filesystem::path> originalOf(const std::string& storedPath);
    bool isOfTheAccount(const std::filesystem::path& place) const;
    bool isDatabase(const std::filesystem::path& original) const;
    std::string copyOf(const std::filesystem::path& original);

    const Account mAccount;
    const Media mMedia;
    const std::filesystem::path mFolder;
    const std::function<void()> mCopying;
    const std::filesystem::path mRoot;                     // resolved; empty when there is none
    std::map<std::string, std::string> mPlaces;            // by stored path
    std::map<std::filesystem::path, std::string> mCopies;  // by original
    Counts mCounts;
};

/// A file name for a copy: the number, a dash and the original's name with nothing in it but letters, digits,
/// dots, dashes and underscores, at most 100 bytes. Unless the name ends as those of pictures, sounds, films
/// and documents do, ".bin" is put behind it: a browser runs what a page of the export may only show.
std::string attachmentName(long long number, const std::string& originalName);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_ATTACHMENTS_H
