#include "tools/pelko/export/LineFile.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::utf8Of;

namespace {

constexpr std::size_t lineBlockSize = std::size_t{1} << 18U;

}  // namespace

LineFile::LineFile(fs::path path, std::size_t longest)
    : mPath(std::move(path)), mLongest(longest), mBlock(lineBlockSize) {
    std::error_code error;
    if (!fs::exists(mPath, error)) {
        throw ToolError("there is no file " + utf8Of(mPath) +
                        (error ? ": " + error.message() : "; name an export.jsonl or its folder"));
    }
    // A pipe or a device would be waited for.
    if (!fs::is_regular_file(mPath, error)) {
        throw ToolError(utf8Of(mPath) + " is not a file; name an export.jsonl or its folder");
    }
    mSize = fs::file_size(mPath, error);
    mFile.open(mPath, std::ios::binary);
    if (!mFile) {
        throw ToolError(utf8Of(mPath) + " cannot be read; make it readable");
    }
}

bool LineFile::fill() {
    mFile.read(mBlock.data(), static_cast<std::streamsize>(mBlock.size()));
    if (mFile.bad()) {
        throw ToolError("cannot read " + utf8Of(mPath) + " behind line " + std::to_string(mNumber) +
                        "; copy it to another place");
    }
    mBegin = 0;
    mEnd = static_cast<std::size_t>(mFile.gcount());
    return mEnd > 0;
}

bool LineFile::next() {
    mLine.clear();
    while (mBegin < mEnd || fill()) {
        const auto from = mBlock.begin() + static_cast<std::ptrdiff_t>(mBegin);
        const auto to = mBlock.begin() + static_cast<std::ptrdiff_t>(mEnd);
        const auto end = std::find(from, to, '\n');
        const auto length = static_cast<std::size_t>(end - from);
        if (length > mLongest - mLine.size()) {
            throw ToolError(utf8Of(mPath) + " line " + std::to_string(mNumber + 1) + " is longer than " +
                            std::to_string(mLongest) +
                            " bytes, the most that is read; 'pelko backup' copies a store with such rows");
        }
        mLine.append(from, end);
        const std::size_t taken = length + (end != to ? 1 : 0);
        mBegin += taken;
        mBytesRead += taken;
        if (end != to) {
            ++mNumber;
            return true;
        }
    }
    if (mLine.empty()) {
        return false;
    }
    ++mNumber;  // the last line has no end
    return true;
}

}  // namespace pelkotool
