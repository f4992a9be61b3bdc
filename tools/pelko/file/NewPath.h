#ifndef PELKO_TOOL_FILE_NEW_PATH_H
#define PELKO_TOOL_FILE_NEW_PATH_H

#include <filesystem>
#include <string>

namespace pelkotool {

/// A file or folder that a command makes: it grows under another name beside the one that was asked for, and
/// gets that name when it is whole. A command that ends early leaves nothing.
class NewPath {
public:
    /// @throws UsageError when there is something at the path, or no folder to make it in
    explicit NewPath(const std::string& path);
    ~NewPath();
    NewPath(const NewPath&) = delete;
    NewPath& operator=(const NewPath&) = delete;

    /// What was asked for, absolute.
    const std::filesystem::path& wanted() const { return mWanted; }
    /// Where to write until it is whole. Nothing is there at first.
    const std::filesystem::path& unfinished() const { return mUnfinished; }

    /// Gives it its name. @throws ToolError when that cannot be done
    void finish();
    /// Gives the name to one file of the folder that was made; the rest goes.
    void finish(const std::filesystem::path& part);

    /// For a database: @throws UsageError when there is a log or journal at its place, which would be taken
    /// for its own.
    void requireNoLogBeside() const;

private:
    void giveName(const std::filesystem::path& file) const;

    std::filesystem::path mWanted;
    std::filesystem::path mUnfinished;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_NEW_PATH_H
