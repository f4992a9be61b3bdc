#ifndef PELKO_TOOL_SALVAGE_B_TREE_PAGE_H
#define PELKO_TOOL_SALVAGE_B_TREE_PAGE_H

#include <cstdint>
#include <vector>

#include "tools/pelko/salvage/Bytes.h"

namespace pelkotool {

/// What a page says that it is, in its first byte.
enum class PageKind : std::uint8_t {
    none = 0,
    indexInterior = 2,
    tableInterior = 5,
    indexLeaf = 10,
    tableLeaf = 13,
};

inline bool isInterior(PageKind kind) {
    return kind == PageKind::indexInterior || kind == PageKind::tableInterior;
}
inline bool isOfTable(PageKind kind) {
    return kind == PageKind::tableLeaf || kind == PageKind::tableInterior;
}
inline bool isOfIndex(PageKind kind) {
    return kind == PageKind::indexLeaf || kind == PageKind::indexInterior;
}

/// What holds for all pages of a file.
struct PageBounds {
    std::size_t usableSize = 0;   ///< of each page
    std::uint32_t pageCount = 0;  ///< of the database, whether all are there or not
    std::uint64_t fileSize = 0;   ///< no payload is longer
};

/// One cell. What its kind of page does not have stays 0.
struct Cell {
    std::size_t offset = 0;  ///< within the page
    std::size_t size = 0;
    std::uint32_t child = 0;
    std::int64_t rowId = 0;
    std::uint64_t payloadSize = 0;
    std::size_t localOffset = 0;  ///< of the payload's part on the page itself
    std::size_t localSize = 0;
    std::uint32_t overflow = 0;  ///< the page on which the payload goes on
};

/// A page of a tree, read without trust.
struct BTreePage {
    PageKind kind = PageKind::none;
    /// Whether everything is as SQLite leaves a page: each byte belongs to the header, to one cell or to the
    /// free space, and row ids ascend. Random bytes do not come out so.
    bool sound = false;
    std::vector<Cell> cells;  ///< of a page that is not sound, those that lie within it
    std::uint32_t rightChild = 0;
};

/// @param number  of the page; the first one has the file's header in front
BTreePage parsePage(ByteView page, std::uint32_t number, const PageBounds& bounds);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_B_TREE_PAGE_H
