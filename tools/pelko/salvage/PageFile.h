#ifndef PELKO_TOOL_SALVAGE_PAGE_FILE_H
#define PELKO_TOOL_SALVAGE_PAGE_FILE_H

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "tools/pelko/salvage/BTreePage.h"
#include "tools/pelko/salvage/Bytes.h"
#include "tools/pelko/salvage/FileHeader.h"
#include "tools/pelko/salvage/WaitingPages.h"

namespace pelkotool {

/// The remedy where there is nothing that looks like a store: encrypted pages look like nothing at all.
inline constexpr char otherFileOrKey[] =
    "; name another file, or, if it is encrypted, take what can be read with 'pelko backup' or "
    "'pelko export' and its key in PELKO_KEY";

/// The pages of a database file as they are, whatever SQLite would say about them: with what waits beside it
/// in a write-ahead log, or as they were before a change that a rollback journal tells was broken off.
/// Nothing is written, and nothing but one page at a time is held.
class PageFile {
public:
    /// @throws ToolError for a file that is not there or holds no database that can be read
    explicit PageFile(const std::filesystem::path& file);

    const std::filesystem::path& file() const { return mFile; }
    /// Of the first page; nothing when that is destroyed.
    const std::optional<FileHeader>& header() const { return mHeader; }
    std::uint32_t pageSize() const { return mPageSize; }
    /// Of those that there are; the database may have had more.
    std::uint32_t pageCount() const { return mPageCount; }
    /// Of those that the header counts, when there are more.
    std::uint32_t countedPages() const { return mCountedPages; }
    /// How many are missing at the end, if the header is right.
    std::uint32_t missingPages() const { return mMissingPages; }
    /// Whether the size of pages is what they themselves look like, and not what the header says.
    bool sizesAreMeasured() const { return mSizesAreMeasured; }
    const PageBounds& bounds() const { return mBounds; }
    /// How many pages come from the file beside it.
    std::size_t waitingPages() const { return mWaiting ? mWaiting->places.size() : 0; }

    /// @return whether the page could be read
    bool read(std::uint32_t number, Bytes& page);

    /// To be asked when all is read. @throws ToolError when another program has written meanwhile
    void requireUnchanged() const;

private:
    struct Stamp {
        std::uintmax_t size = 0;
        std::filesystem::file_time_type changed;

        bool operator==(const Stamp& other) const { return size == other.size && changed == other.changed; }
    };

    std::vector<Stamp> stamps() const;
    void measureSizes();
    void takeWaitingPages();
    void findPageSize();
    void countPages();
    void readHeader();
    bool hasWideTexts();

    std::filesystem::path mFile;
    std::vector<Stamp> mStamps;
    std::ifstream mStream;
    std::ifstream mBeside;
    std::optional<WaitingPages> mWaiting;
    std::optional<FileHeader> mHeader;
    std::uint32_t mPageSize = 0;
    std::uint32_t mMeasuredSize = 0;  // 0 where no page looks like one
    bool mSizesAreMeasured = false;
    std::uint32_t mPageCount = 0;
    std::uint32_t mCountedPages = 0;
    std::uint32_t mMissingPages = 0;
    PageBounds mBounds;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_PAGE_FILE_H
