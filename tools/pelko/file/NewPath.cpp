#include "tools/pelko/file/NewPath.h"

#include <random>
#include <system_error>

#include "classes/platform/StringFormatUtil.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

namespace fs = std::filesystem;

namespace {

void requireNothingThere(const fs::path& path) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(path, error))) {
        throw UsageError("there is something at " + path.string() +
                         " already; name a place where nothing is");
    }
}

}  // namespace

NewPath::NewPath(const std::string& path) {
    if (path.empty()) {
        throw UsageError("'' is no place to write to; name a file or folder that is not there yet");
    }
    mWanted = fs::absolute(path).lexically_normal();
    if (!mWanted.has_filename()) {
        mWanted = mWanted.parent_path();  // "out/"
    }
    requireNothingThere(mWanted);
    std::error_code error;
    if (!fs::is_directory(mWanted.parent_path(), error)) {
        throw UsageError("there is no folder " + mWanted.parent_path().string() + " to write " +
                         mWanted.filename().string() + " into; make it first");
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
        throw ToolError("cannot give " + mWanted.string() + " its name: " + error.message());
    }
}

}  // namespace pelkotool
