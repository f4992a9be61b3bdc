#ifndef PELKO_TOOL_SALVAGE_PAGE_MAP_H
#define PELKO_TOOL_SALVAGE_PAGE_MAP_H

#include <cstdint>
#include <functional>
#include <vector>

#include "tools/pelko/salvage/PageFile.h"

namespace pelkotool {

/// What a page is used for, as far as that is known.
enum class PageUse : std::uint8_t { unknown, tree, overflow, administration };

struct PageInfo {
    PageKind kind = PageKind::none;
    bool sound = false;
    bool hasParent = false;  ///< a sound page names it as its child
    bool free = false;       ///< the file lists it as one that may be used again
    PageUse use = PageUse::unknown;
};

/// What is known about each page of a file.
class PageMap {
public:
    /// Looks at every page. @param looked  called with the number of pages looked at
    PageMap(PageFile& file, const std::function<void(std::uint32_t)>& looked);

    /// Of a page that there is. @throws std::out_of_range for any other number
    const PageInfo& at(std::uint32_t page) const { return mPages.at(page); }
    bool has(std::uint32_t page) const { return page >= 1 && page < mPages.size(); }
    void use(std::uint32_t page, PageUse use) { mPages.at(page).use = use; }

    /// A page that nobody has: neither a tree nor the list of free pages.
    bool isStray(std::uint32_t page) const {
        const PageInfo& info = at(page);
        return info.use == PageUse::unknown && !info.free;
    }
    /// Whether all free pages are known: only then is a stray page no freed one.
    bool freePagesAreKnown() const { return mFreePagesAreKnown; }

    /// To be asked before following a payload to another page. Sound files need a few of these looks for each
    /// page; one that was made to lead in circles, or many times to the same place, gets no more than those.
    bool mayFollow() {
        if (mLooksLeft == 0) {
            return false;
        }
        --mLooksLeft;
        return true;
    }

    /// How many pages beyond the last one the trees name.
    std::uint32_t missingPages() const;

    /// Pages that could not be made use of.
    std::uint32_t unusable() const;

private:
    void markChild(std::uint32_t page);
    void noteHighest(const BTreePage& page);
    bool isWithinCount(const PageFile& file) const;
    void markAdministration(const PageFile& file);
    bool markFreePages(PageFile& file);
    bool markFree(std::uint32_t page);

    std::vector<PageInfo> mPages;  // by number; the first one stands for none
    std::uint64_t mLooksLeft;
    std::uint32_t mHighestNamed = 0;
    bool mFreePagesAreKnown = false;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_PAGE_MAP_H
