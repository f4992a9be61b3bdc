#ifndef PELKO_TOOL_EXPORT_NEW_ACCOUNT_FILE_H
#define PELKO_TOOL_EXPORT_NEW_ACCOUNT_FILE_H

#include <filesystem>
#include <memory>
#include <vector>

#include "tools/pelko/Account.h"
#include "tools/pelko/file/NewPath.h"

namespace pelkotool {

/// The database of an account that is not there yet: it grows in a folder beside its place, and comes into
/// it when it is whole. Ended early, everything that was made for it goes, folders included.
class NewAccountFile {
public:
    /// @throws ToolError where it cannot be made
    explicit NewAccountFile(const Account& account);
    ~NewAccountFile();
    NewAccountFile(const NewAccountFile&) = delete;
    NewAccountFile& operator=(const NewAccountFile&) = delete;

    /// The account as it grows. Nothing is there at first.
    const Account& growing() const { return mGrowing; }

    /// Puts the database in its place. It is closed by now. @throws ToolError when that cannot be done
    void finish();

private:
    void makeFolders();
    void requireNoRemains() const;

    const Account mAccount;
    std::vector<std::filesystem::path> mMadeFolders;  // the outermost first
    std::unique_ptr<NewPath> mPath;
    Account mGrowing;
    bool mFinished = false;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_NEW_ACCOUNT_FILE_H
