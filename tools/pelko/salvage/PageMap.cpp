#include "tools/pelko/salvage/PageMap.h"

#include <algorithm>
#include <limits>

namespace pelkotool {

namespace {

// A page behind a row is looked at to find out whose it is, to compare the row, and to copy it.
constexpr std::uint64_t looksForEach = 16;

}  // namespace

PageMap::PageMap(PageFile& file, const std::function<void(std::uint32_t)>& looked)
    : mPages(std::size_t{file.pageCount()} + 1), mLooksLeft(looksForEach * mPages.size()) {
    Bytes bytes;
    // A tree may name pages that went with the end of the file, which the header does not tell of.
    PageBounds anyPages = file.bounds();
    anyPages.pageCount = std::numeric_limits<std::uint32_t>::max() - 1;
    mFreePagesAreKnown = markFreePages(file);
    for (std::uint32_t number = 1; number <= file.pageCount(); ++number) {
        looked(number);
        if (!file.read(number, bytes)) {
            continue;
        }
        const BTreePage page = parsePage(ByteView(bytes), number, file.bounds());
        mPages[number].kind = page.kind;
        mPages[number].sound = page.sound;
        if (mPages[number].free) {
            continue;  // what it names is long gone
        }
        if (page.sound && isInterior(page.kind)) {
            for (const Cell& cell : page.cells) {
                markChild(cell.child);
            }
            markChild(page.rightChild);
        }
        noteHighest(page.sound || !isInterior(page.kind) ? page
                                                         : parsePage(ByteView(bytes), number, anyPages));
    }
    markAdministration(file);
    mFreePagesAreKnown = mFreePagesAreKnown && isWithinCount(file);
}

void PageMap::noteHighest(const BTreePage& page) {
    if (page.sound && isInterior(page.kind)) {
        mHighestNamed = std::max(mHighestNamed, page.rightChild);
        for (const Cell& cell : page.cells) {
            mHighestNamed = std::max(mHighestNamed, cell.child);
        }
    }
}

std::uint32_t PageMap::missingPages() const {
    const auto last = static_cast<std::uint32_t>(mPages.size() - 1);
    return mHighestNamed > last ? mHighestNamed - last : 0;
}

/// Whether no page lies behind those that the header counts, or they are known to be in use: other pages
/// there may be what is left of a database that was larger.
bool PageMap::isWithinCount(const PageFile& file) const {
    const std::uint32_t counted = file.countedPages();
    return counted >= file.pageCount() || mHighestNamed > counted ||
           std::any_of(mPages.begin() + counted + 1, mPages.end(),
                       [](const PageInfo& page) { return page.free; });
}

void PageMap::markChild(std::uint32_t page) {
    if (has(page)) {  // those behind the end of a file that was cut short are not
        mPages[page].hasParent = true;
    }
}

void PageMap::markAdministration(const PageFile& file) {
    // The page at this place of the file is for locks, and holds nothing.
    constexpr std::uint64_t lockPlace = 1U << 30U;
    if (const std::uint64_t page = lockPlace / file.pageSize() + 1; page < mPages.size()) {
        mPages[static_cast<std::size_t>(page)].use = PageUse::administration;
    }
    if (file.header() && file.header()->hasPageMap) {
        const std::uint64_t told = file.bounds().usableSize / 5;  // pages that one of the map tells about
        for (std::uint64_t page = 2; page < mPages.size(); page += told + 1) {
            PageInfo& info = mPages[static_cast<std::size_t>(page)];
            if (!info.sound) {  // or else the header is wrong: it is a page of a tree
                info.use = PageUse::administration;
            }
        }
    }
}

bool PageMap::markFree(std::uint32_t page) {
    if (page < 2 || !has(page) || mPages[page].free) {
        return false;
    }
    mPages[page].free = true;
    return true;
}

bool PageMap::markFreePages(PageFile& file) {
    if (!file.header()) {
        return false;
    }
    Bytes bytes;
    std::uint32_t found = 0;
    bool whole = true;
    // The free pages hang on a chain of pages that list others. None comes twice, so that it ends.
    for (std::uint32_t trunk = file.header()->firstFreePage; trunk != 0; ++found) {
        if (!markFree(trunk) || !file.read(trunk, bytes)) {
            return false;
        }
        const ByteView page = ByteView(bytes).part(0, file.bounds().usableSize);
        const std::uint32_t count = page.u32(4);
        if (count > page.size() / 4 - 2) {
            return false;
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            whole = markFree(page.u32(8 + 4 * std::size_t{i})) && whole;
        }
        found += count;
        trunk = page.u32(0);
    }
    return whole && found == file.header()->freePages;
}

std::uint32_t PageMap::unusable() const {
    return static_cast<std::uint32_t>(std::count_if(
        mPages.begin() + 1, mPages.end(),
        [](const PageInfo& page) { return page.use == PageUse::unknown && !page.free && !page.sound; }));
}

}  // namespace pelkotool
