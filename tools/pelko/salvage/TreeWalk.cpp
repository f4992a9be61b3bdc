#include "tools/pelko/salvage/TreeWalk.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "tools/pelko/salvage/Payloads.h"

namespace pelkotool {

namespace {

// SQLite itself goes no deeper.
constexpr int greatestDepth = 20;

/// A page that is still to be visited, and between which row ids its own must be.
struct TreeVisit {
    std::uint32_t page;
    int depth;
    bool hasLeast;  // the least one itself is outside
    std::int64_t least;
    std::int64_t most;
};

bool idsWithin(const BTreePage& page, const TreeVisit& visit) {
    return std::all_of(page.cells.begin(), page.cells.end(), [&](const Cell& cell) {
        return (!visit.hasLeast || cell.rowId > visit.least) && cell.rowId <= visit.most;
    });
}

/// Adds the children, the first one on top.
void addChildren(const BTreePage& page, const TreeVisit& visit, std::vector<TreeVisit>& waiting) {
    std::vector<TreeVisit> children;
    TreeVisit child{0, visit.depth + 1, visit.hasLeast, visit.least, visit.most};
    for (const Cell& cell : page.cells) {
        child.page = cell.child;
        child.most = cell.rowId;
        children.push_back(child);
        child.hasLeast = true;
        child.least = cell.rowId;
    }
    child.page = page.rightChild;
    child.most = visit.most;
    children.push_back(child);
    waiting.insert(waiting.end(), children.rbegin(), children.rend());
}

TreeWalk walkTree(PageFile& file, PageMap& map, std::uint32_t root, bool isTable) {
    TreeWalk result;
    result.complete = true;
    std::vector<TreeVisit> waiting = {{root, 0, false, 0, std::numeric_limits<std::int64_t>::max()}};
    Bytes bytes;
    while (!waiting.empty()) {
        const TreeVisit visit = waiting.back();
        waiting.pop_back();
        const bool mine = map.has(visit.page) && map.at(visit.page).use == PageUse::unknown &&
                          (isTable ? isOfTable(map.at(visit.page).kind) : isOfIndex(map.at(visit.page).kind));
        if (!mine || visit.depth > greatestDepth || !file.read(visit.page, bytes)) {
            result.complete = false;
            continue;
        }
        const BTreePage page = parsePage(ByteView(bytes), visit.page, file.bounds());
        if (!page.sound || (isTable && !idsWithin(page, visit))) {
            result.complete = false;
            if (page.kind == PageKind::tableLeaf) {
                map.use(visit.page, PageUse::tree);
                result.doubtful.push_back(visit.page);
            }
            continue;
        }
        map.use(visit.page, PageUse::tree);
        if (isInterior(page.kind)) {
            addChildren(page, visit, waiting);
        }
        const auto goesOn = [](const Cell& cell) { return cell.overflow != 0; };
        if (!isTable && std::any_of(page.cells.begin(), page.cells.end(), goesOn)) {
            forEachRecord(file, map, visit.page, Purpose::use,
                          [](const Cell&, const std::optional<Record>&) {});
        }
        if (!isTable || page.kind == PageKind::tableLeaf) {
            result.pages.push_back(visit.page);
        }
    }
    return result;
}

}  // namespace

TreeWalk walkTable(PageFile& file, PageMap& map, std::uint32_t root) {
    return walkTree(file, map, root, true);
}

TreeWalk walkIndex(PageFile& file, PageMap& map, std::uint32_t root) {
    return walkTree(file, map, root, false);
}

}  // namespace pelkotool
