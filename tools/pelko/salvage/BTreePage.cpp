#include "tools/pelko/salvage/BTreePage.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace pelkotool {

namespace {

constexpr std::size_t fileHeaderSize = 100;
constexpr std::size_t smallestCell = 4;  // a smaller one takes so many bytes all the same

/// Where the parts of the page begin.
struct PageLayout {
    std::size_t header = 0;
    std::size_t pointers = 0;
    std::size_t cellCount = 0;
    std::size_t content = 0;
};

/// Bytes of the page that are in use, or free.
using PageExtent = std::pair<std::size_t, std::size_t>;  // offset, size

PageKind pageKindOf(std::uint8_t byte) {
    switch (static_cast<PageKind>(byte)) {
        case PageKind::indexInterior:
        case PageKind::tableInterior:
        case PageKind::indexLeaf:
        case PageKind::tableLeaf:
            return static_cast<PageKind>(byte);
        default:
            return PageKind::none;
    }
}

std::optional<PageLayout> pageLayoutOf(ByteView page, std::uint32_t number, PageKind kind) {
    PageLayout layout;
    layout.header = number == 1 ? fileHeaderSize : 0;
    layout.pointers = layout.header + (isInterior(kind) ? 12 : 8);
    layout.cellCount = page.u16(layout.header + 3);
    const std::uint32_t content = page.u16(layout.header + 5);
    layout.content = content == 0 ? 65536 : content;
    const bool fits = layout.content <= page.size() && layout.cellCount <= page.size() / (2 + smallestCell) &&
                      layout.pointers + 2 * layout.cellCount <= layout.content;
    return fits ? std::optional(layout) : std::nullopt;
}

/// How many bytes of a payload lie on the page itself.
std::size_t localPart(PageKind kind, std::uint64_t payload, std::size_t usable) {
    const std::size_t most = kind == PageKind::tableLeaf ? usable - 35 : (usable - 12) * 64 / 255 - 23;
    if (payload <= most) {
        return static_cast<std::size_t>(payload);
    }
    const std::size_t least = (usable - 12) * 32 / 255 - 23;
    const std::size_t wanted = least + static_cast<std::size_t>((payload - least) % (usable - 4));
    return wanted <= most ? wanted : least;
}

bool isChildPage(std::uint32_t number, const PageBounds& bounds) {
    return number >= 2 && number <= bounds.pageCount;  // the first page is nobody's child
}

/// Reads the payload's length and finds its parts. @param place  behind what comes before the length
bool findPayload(ByteView page, PageKind kind, const PageBounds& bounds, std::size_t place, Cell& cell) {
    const std::optional<Varint> size = page.varint(place);
    if (!size || size->value < 1 || static_cast<std::uint64_t>(size->value) > bounds.fileSize) {
        return false;
    }
    cell.payloadSize = static_cast<std::uint64_t>(size->value);
    place += size->size;
    if (kind == PageKind::tableLeaf) {
        const std::optional<Varint> rowId = page.varint(place);
        if (!rowId) {
            return false;
        }
        cell.rowId = rowId->value;
        place += rowId->size;
    }
    cell.localOffset = place;
    cell.localSize = localPart(kind, cell.payloadSize, bounds.usableSize);
    place += cell.localSize;
    if (cell.localSize < cell.payloadSize) {
        if (!page.holds(place, 4) || !isChildPage(page.u32(place), bounds)) {
            return false;
        }
        cell.overflow = page.u32(place);
        place += 4;
    }
    cell.size = std::max(place - cell.offset, smallestCell);
    return page.holds(cell.offset, cell.size);
}

std::optional<Cell> pageCellAt(ByteView page, PageKind kind, const PageBounds& bounds, std::size_t offset) {
    Cell cell;
    cell.offset = offset;
    std::size_t place = offset;
    if (isInterior(kind)) {
        if (!page.holds(place, 4) || !isChildPage(page.u32(place), bounds)) {
            return std::nullopt;
        }
        cell.child = page.u32(place);
        place += 4;
    }
    if (kind == PageKind::tableInterior) {
        const std::optional<Varint> key = page.varint(place);
        if (!key) {
            return std::nullopt;
        }
        cell.rowId = key->value;
        cell.size = place + key->size - offset;
        return cell;
    }
    return findPayload(page, kind, bounds, place, cell) ? std::optional(cell) : std::nullopt;
}

/// Adds the free blocks. @return whether their chain is sound
bool addFreeBlocks(ByteView page, const PageLayout& layout, std::vector<PageExtent>& extents) {
    std::size_t block = page.u16(layout.header + 1);
    std::size_t before = layout.content;
    while (block != 0) {
        if (block < before || !page.holds(block, 4)) {
            return false;
        }
        const std::size_t size = page.u16(block + 2);
        if (size < smallestCell || !page.holds(block, size)) {
            return false;
        }
        extents.emplace_back(block, size);
        before = block + size;
        block = page.u16(block);
    }
    return true;
}

/// Whether cells, free blocks and the fragments between them fill the content area exactly.
bool fillsPage(ByteView page, const PageLayout& layout, const std::vector<Cell>& cells) {
    std::vector<PageExtent> extents;
    extents.reserve(cells.size());
    for (const Cell& cell : cells) {
        extents.emplace_back(cell.offset, cell.size);
    }
    if (!addFreeBlocks(page, layout, extents)) {
        return false;
    }
    std::sort(extents.begin(), extents.end());
    std::size_t end = layout.content;
    std::size_t fragments = 0;
    for (const auto& [offset, size] : extents) {
        if (offset < end) {
            return false;
        }
        fragments += offset - end;
        end = offset + size;
    }
    return fragments + (page.size() - end) == page.u8(layout.header + 7);
}

bool rowIdsAscend(const std::vector<Cell>& cells) {
    return std::adjacent_find(cells.begin(), cells.end(),
                              [](const Cell& a, const Cell& b) { return a.rowId >= b.rowId; }) == cells.end();
}

}  // namespace

BTreePage parsePage(ByteView wholePage, std::uint32_t number, const PageBounds& bounds) {
    BTreePage result;
    const std::size_t header = number == 1 ? fileHeaderSize : 0;
    if (!wholePage.holds(0, bounds.usableSize) || !wholePage.holds(header, 12)) {
        return result;
    }
    const ByteView page = wholePage.part(0, bounds.usableSize);
    const PageKind kind = pageKindOf(page.u8(header));
    const std::optional<PageLayout> layout =
        kind != PageKind::none ? pageLayoutOf(page, number, kind) : std::nullopt;
    if (!layout) {
        return result;
    }
    result.kind = kind;
    result.sound = true;
    if (isInterior(kind)) {
        result.rightChild = page.u32(header + 8);
        result.sound = isChildPage(result.rightChild, bounds) && result.rightChild != number;
    }
    for (std::size_t i = 0; i < layout->cellCount; ++i) {
        const std::size_t offset = page.u16(layout->pointers + 2 * i);
        const std::optional<Cell> cell =
            offset >= layout->content ? pageCellAt(page, kind, bounds, offset) : std::nullopt;
        if (cell && cell->child != number) {
            result.cells.push_back(*cell);
        } else {
            result.sound = false;
        }
    }
    result.sound = result.sound && fillsPage(page, *layout, result.cells) &&
                   (!isOfTable(kind) || rowIdsAscend(result.cells));
    return result;
}

}  // namespace pelkotool
