#include "tools/pelko/export/NewAccountFile.h"

#include <algorithm>
#include <system_error>

#include "classes/platform/FolderSync.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::utf8Of;

NewAccountFile::NewAccountFile(const Account& account) : mAccount(account), mGrowing(account) {
    requireNoRemains();
    makeFolders();
    mPath = std::make_unique<NewPath>(utf8Of(account.database));
    mGrowing.folder = mPath->unfinished();
    mGrowing.database = mGrowing.folder / account.database.filename();
}

NewAccountFile::~NewAccountFile() {
    mPath.reset();
    if (!mFinished) {
        std::error_code error;  // those that somebody else has put something into stay
        std::for_each(mMadeFolders.rbegin(), mMadeFolders.rend(),
                      [&](const fs::path& folder) { fs::remove(folder, error); });
    }
}

void NewAccountFile::makeFolders() {
    std::error_code error;
    for (fs::path folder = mAccount.folder; !fs::exists(folder, error) && folder.has_relative_path();
         folder = folder.parent_path()) {
        mMadeFolders.insert(mMadeFolders.begin(), folder);
    }
    fs::create_directories(mAccount.folder, error);
    if (error || !fs::is_directory(mAccount.folder, error)) {
        std::for_each(mMadeFolders.rbegin(), mMadeFolders.rend(), [&](const fs::path& folder) {
            std::error_code ignored;
            fs::remove(folder, ignored);
        });
        throw ToolError("cannot make the folder " + utf8Of(mAccount.folder) + ": " + error.message() +
                        "; name a folder that can be written with --data-dir");
    }
}

/// SQLite would take the changes of a lost database for those of the new one.
void NewAccountFile::requireNoRemains() const {
    for (const char* const suffix : {"-wal", "-journal"}) {
        const fs::path remains = besideDatabase(mAccount.database, suffix);
        std::error_code error;
        if (fs::exists(fs::symlink_status(remains, error))) {
            throw ToolError(utf8Of(remains) + " is left of a database that is gone; move it away");
        }
    }
}

void NewAccountFile::finish() {
    std::error_code error;
    const fs::path log = besideDatabase(mGrowing.database, "-wal");
    if (fs::exists(log, error)) {
        throw ToolError("cannot complete " + utf8Of(mGrowing.database) + "; make room on the disk");
    }
    requireNoRemains();
    if (fs::exists(fs::symlink_status(mAccount.database, error))) {
        throw ToolError("another program has made " + utf8Of(mAccount.database) +
                        " meanwhile; import into another account");
    }
    fs::rename(mGrowing.database, mAccount.database, error);
    if (error) {
        throw ToolError("cannot put " + utf8Of(mAccount.database) + " in its place: " + error.message());
    }
    pelkoapi::syncFolder(mAccount.folder);
    for (const fs::path& folder : mMadeFolders) {
        pelkoapi::syncFolder(folder.parent_path());
    }
    mFinished = true;
}

}  // namespace pelkotool
