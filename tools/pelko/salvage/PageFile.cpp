#include "tools/pelko/salvage/PageFile.h"

#include <algorithm>
#include <limits>
#include <system_error>

#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

namespace fs = std::filesystem;

namespace {

constexpr const char* besideSuffixes[] = {"-wal", "-journal"};

void openUnbuffered(std::ifstream& stream, const fs::path& file) {
    stream.rdbuf()->pubsetbuf(nullptr, 0);  // whole pages are read, at places far apart
    stream.open(file, std::ios::binary);
}

std::uint32_t wholePages(std::uint64_t fileSize, std::uint32_t pageSize) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max() - 1;
    return static_cast<std::uint32_t>(std::min(fileSize / pageSize, most));
}

/// How many of some pages spread over the file are sound ones of trees, if pages have that size.
std::uint32_t soundPages(std::ifstream& stream, std::uint64_t fileSize, std::uint32_t pageSize) {
    constexpr std::uint32_t looks = 2000;
    const PageBounds bounds{pageSize, wholePages(fileSize, pageSize), fileSize};
    const std::uint32_t step = std::max<std::uint32_t>(1, bounds.pageCount / looks);
    Bytes page(pageSize);
    std::uint32_t sound = 0;
    for (std::uint64_t i = 1; i < bounds.pageCount; i += step) {
        sound += readAt(stream, i * pageSize, page) &&
                         parsePage(ByteView(page), static_cast<std::uint32_t>(i + 1), bounds).sound
                     ? 1
                     : 0;
    }
    return sound;
}

}  // namespace

PageFile::PageFile(const fs::path& file) : mFile(file) {
    requireReadableFile(file);
    mStamps = stamps();
    openUnbuffered(mStream, mFile);
    mBounds.fileSize = mStamps.front().size;
    if (mBounds.fileSize == 0) {
        throw ToolError(file.string() + " is empty: there is nothing in it to rescue");
    }
    Bytes start(FileHeader::size);
    if (readAt(mStream, 0, start)) {
        mHeader = parseFileHeader(ByteView(start));
    }
    takeWaitingPages();
    findPageSize();
    countPages();
    Bytes first(mPageSize);
    mHeader = read(1, first) ? parseFileHeader(ByteView(first)) : std::nullopt;
    mBounds.usableSize = mPageSize - (mHeader ? mHeader->reserved : 0);
    if (mHeader && !mHeader->isUtf8()) {
        throw ToolError(
            file.string() +
            " keeps its texts in UTF-16, as no store does; it is not a db.dat, name another file");
    }
}

std::vector<PageFile::Stamp> PageFile::stamps() const {
    const auto stampOf = [](const fs::path& path) {
        Stamp stamp;
        std::error_code error;
        stamp.size = fs::file_size(path, error);
        if (error) {
            return Stamp();
        }
        stamp.changed = fs::last_write_time(path, error);
        return stamp;
    };
    std::vector<Stamp> all = {stampOf(mFile)};
    for (const char* const suffix : besideSuffixes) {
        all.push_back(stampOf(besideDatabase(mFile, suffix)));
    }
    return all;
}

void PageFile::takeWaitingPages() {
    for (const char* const suffix : besideSuffixes) {
        const fs::path beside = besideDatabase(mFile, suffix);
        std::optional<WaitingPages> waiting =
            suffix == besideSuffixes[0] ? readLog(beside) : readJournal(beside);
        // Pages of another size belong to another database of the same name.
        if (waiting && (!mHeader || mHeader->pageSize == waiting->pageSize)) {
            mBounds.fileSize += waiting->places.size() * std::uint64_t{waiting->pageSize};
            mWaiting = std::move(waiting);
            openUnbuffered(mBeside, beside);
            return;
        }
    }
}

void PageFile::findPageSize() {
    if (mHeader) {
        mPageSize = mHeader->pageSize;
        return;
    }
    if (mWaiting) {
        mPageSize = mWaiting->pageSize;
        return;
    }
    // Pages fill their size to the last byte, so that the wrong sizes find next to nothing.
    std::uint32_t most = 0;
    for (std::uint32_t size = 512; size <= 65536; size *= 2) {
        if (const std::uint32_t sound = soundPages(mStream, mStamps.front().size, size); sound > most) {
            most = sound;
            mPageSize = size;
        }
    }
    if (most == 0) {
        throw ToolError("nothing could be rescued: there are no pages of a database in " + mFile.string() +
                        "; name another file");
    }
}

void PageFile::countPages() {
    // A number in a file claims no memory: only pages that are there count.
    const std::uint32_t there = wholePages(mStamps.front().size, mPageSize);
    std::uint32_t highest = there;
    std::uint32_t said = mHeader ? mHeader->pageCount : 0;
    if (mWaiting) {
        for (const auto& [page, place] : mWaiting->places) {
            if (page <= mWaiting->pageCount) {
                highest = std::max(highest, page);
            }
        }
        // As many as the log can have made grow; pages in between may be missing.
        highest = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(highest, std::uint64_t{there} + mWaiting->places.size()));
        said = mWaiting->pageCount;
    }
    mPageCount = said != 0 ? std::min(said, highest) : highest;
    mMissingPages = said > mPageCount ? said - mPageCount : 0;
    mBounds.pageCount = std::max(said, mPageCount);
    if (mStamps.front().size % mPageSize != 0 && said == 0) {
        ++mMissingPages;  // cut within a page
    }
}

bool PageFile::read(std::uint32_t number, Bytes& page) {
    page.resize(mPageSize);
    if (number == 0 || number > mPageCount) {
        return false;
    }
    if (mWaiting) {
        if (const auto found = mWaiting->places.find(number); found != mWaiting->places.end()) {
            return readAt(mBeside, found->second, page);
        }
    }
    return readAt(mStream, std::uint64_t{number - 1} * mPageSize, page);
}

void PageFile::requireUnchanged() const {
    if (!(stamps() == mStamps)) {
        throw ToolError("another program has written to " + mFile.string() +
                        " meanwhile; end it, then run the command again");
    }
}

}  // namespace pelkotool
