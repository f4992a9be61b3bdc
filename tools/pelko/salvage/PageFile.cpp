#include "tools/pelko/salvage/PageFile.h"

#include <algorithm>
#include <limits>
#include <system_error>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Text.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"
#include "tools/pelko/salvage/Record.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::utf8Of;

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

struct PageSample {
    std::uint32_t pages = 0;
    std::uint32_t sound = 0;
};

/// Looks at some pages spread over the file, if pages have that size: how many are sound ones of trees.
PageSample samplePages(std::ifstream& stream, std::uint64_t fileSize, std::uint32_t pageSize,
                       std::uint32_t reserved) {
    constexpr std::uint32_t looks = 2000;
    const PageBounds bounds{pageSize - reserved, wholePages(fileSize, pageSize), fileSize};
    const std::uint32_t step = std::max<std::uint32_t>(1, bounds.pageCount / looks);
    Bytes page(pageSize);
    PageSample sample;
    for (std::uint64_t i = 1; i < bounds.pageCount; i += step) {
        const bool sound = readAt(stream, i * pageSize, page) &&
                           parsePage(ByteView(page), static_cast<std::uint32_t>(i + 1), bounds).sound;
        ++sample.pages;
        sample.sound += sound ? 1 : 0;
    }
    return sample;
}

}  // namespace

PageFile::PageFile(const fs::path& file) : mFile(file) {
    requireReadableFile(file);
    mStamps = stamps();
    openUnbuffered(mStream, mFile);
    mBounds.fileSize = mStamps.front().size;
    if (mBounds.fileSize == 0) {
        throw ToolError(utf8Of(file) + " is empty: there is nothing in it to rescue");
    }
    Bytes start(FileHeader::size);
    if (readAt(mStream, 0, start)) {
        mHeader = parseFileHeader(ByteView(start));
    }
    measureSizes();
    takeWaitingPages();
    findPageSize();
    countPages();
    readHeader();
    if (mHeader && !mHeader->isUtf8() && hasWideTexts()) {
        throw ToolError(
            utf8Of(file) +
            " keeps its texts in UTF-16, as no store does; it is not a db.dat, name another file");
    }
}

void PageFile::readHeader() {
    Bytes first(mPageSize);
    mHeader = read(1, first) ? parseFileHeader(ByteView(first)) : std::nullopt;
    if (mHeader && mSizesAreMeasured) {
        mHeader->pageSize = mPageSize;
        mHeader->reserved = 0;
    }
    mBounds.usableSize = mPageSize - (mHeader ? mHeader->reserved : 0);
}

/// Whether most texts are such as a database in UTF-8 does not have.
bool PageFile::hasWideTexts() {
    constexpr std::uint32_t looks = 2000;
    const std::uint32_t step = std::max<std::uint32_t>(1, mPageCount / looks);
    std::uint64_t plain = 0;
    std::uint64_t wide = 0;
    Bytes bytes;
    for (std::uint64_t number = 1; number <= mPageCount; number += step) {
        if (!read(static_cast<std::uint32_t>(number), bytes)) {
            continue;
        }
        const ByteView view(bytes);
        const BTreePage page = parsePage(view, static_cast<std::uint32_t>(number), mBounds);
        for (const Cell& cell : page.cells) {
            const bool isWhole = page.sound && page.kind == PageKind::tableLeaf && cell.overflow == 0;
            const std::optional<Record> record =
                isWhole ? parseRecord(view.part(cell.localOffset, cell.localSize)) : std::nullopt;
            for (const Value& value : record.value_or(Record())) {
                if (value.kind == StorageClass::text && !value.bytes.empty()) {
                    const bool isPlain = isUtf8(value.bytes) && value.bytes.find('\0') == std::string::npos;
                    ++(isPlain ? plain : wide);
                }
            }
        }
    }
    return wide > plain;
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

void PageFile::measureSizes() {
    const std::uint64_t size = mStamps.front().size;
    std::uint32_t most = 0;
    if (mHeader) {
        const PageSample asSaid = samplePages(mStream, size, mHeader->pageSize, mHeader->reserved);
        if (asSaid.sound > asSaid.pages / 20) {
            return;
        }
        most = 2 * asSaid.sound;  // only what fits much better contradicts the header
    }
    // Pages fill their size to the last byte, so that the wrong sizes find next to nothing.
    for (std::uint32_t candidate = 512; candidate <= 65536; candidate *= 2) {
        if (const std::uint32_t sound = samplePages(mStream, size, candidate, 0).sound; sound > most) {
            most = sound;
            mMeasuredSize = candidate;
        }
    }
    if (mHeader && mMeasuredSize != 0) {
        mSizesAreMeasured = mMeasuredSize != mHeader->pageSize || mHeader->reserved != 0;
        mHeader->pageSize = mMeasuredSize;
    }
}

void PageFile::findPageSize() {
    if (mHeader) {
        mPageSize = mHeader->pageSize;
        return;
    }
    mPageSize = mWaiting ? mWaiting->pageSize : mMeasuredSize;
    if (mPageSize == 0) {
        throw ToolError("nothing could be rescued: there are no pages of a database in " + utf8Of(mFile) +
                        otherFileOrKey);
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
    // A log's commit tells when the database got smaller. A header that counts too few is not believed: then
    // the rest is there, or what is left of it.
    mPageCount = mWaiting && said != 0 ? std::min(said, highest) : highest;
    mCountedPages = said != 0 ? std::min(said, mPageCount) : mPageCount;
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
        throw ToolError("another program has written to " + utf8Of(mFile) +
                        " meanwhile; end it, then run the command again");
    }
}

}  // namespace pelkotool
