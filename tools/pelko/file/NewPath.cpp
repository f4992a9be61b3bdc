#include "tools/pelko/file/NewPath.h"

#include <random>
#include <system_error>

#include "classes/platform/FolderSync.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

void requireNothingThere(const fs::path& path) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(path, error))) {
        throw UsageError("there is something at " + utf8Of(path) + " already; name a place where nothing is");
    }
}

}  // namespace

NewPath::NewPath(const std::string& path) {
    if (path.empty()) {
        throw UsageError("'' is no place to write to; name a file or folder that is not there yet");
    }
    mWanted = fs::absolute(pathOf(path)).lexically_normal();
    if (!mWanted.has_filename()) {
        mWanted = mWanted.parent_path();  // "out/"
    }
    requireNothingThere(mWanted);
    std::error_code error;
    if (!fs::is_directory(mWanted.parent_path(), error)) {
        throw UsageError("there is no folder " + utf8Of(mWanted.parent_path()) + " to write " +
                         utf8Of(mWanted.filename()) + " into; make it first");
    }
    mUnfinished = besideDatabase(
        mWanted, pelkoapi::StringFormatUtil::string_format(".unfinished-%08x", std::random_device()()));
}

NewPath::~NewPath() {
    std::error_code error;  // what cannot be removed stays, under a name that says what it is
    fs::remove_all(mUnfinished, error);
    for (const char* const suffix : {"-journal", "-wal", "-shm"}) {
        fs::remove(besideDatabase(mUnfinished, suffix), error);
    }
}

void NewPath::finish() {
    giveName(mUnfinished);
}

void NewPath::finish(const fs::path& part) {
    giveName(mUnfinished / part);
}

void NewPath::requireNoLogBeside() const {
    for (const char* const suffix : {"-journal", "-wal"}) {
        requireNothingThere(besideDatabase(mWanted, suffix));
    }
}

void NewPath::giveName(const fs::path& file) const {
    requireNothingThere(mWanted);  // somebody may have made it meanwhile
    std::error_code error;
    fs::rename(file, mWanted, error);
    if (error) {
        throw ToolError("cannot give " + utf8Of(mWanted) + " its name: " + error.message());
    }
    pelkoapi::syncFolder(mWanted.parent_path());
}

}  // namespace pelkotool
