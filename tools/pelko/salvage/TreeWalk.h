#ifndef PELKO_TOOL_SALVAGE_TREE_WALK_H
#define PELKO_TOOL_SALVAGE_TREE_WALK_H

#include <cstdint>
#include <vector>

#include "tools/pelko/salvage/PageMap.h"

namespace pelkotool {

/// The pages of one tree that its root leads to.
struct TreeWalk {
    /// The pages that hold rows or entries, in order: leaves of a table, all pages of an index.
    std::vector<std::uint32_t> pages;
    /// Leaves that are not sound, and those whose row ids are not where they belong.
    std::vector<std::uint32_t> doubtful;
    /// Whether every page of the tree is among `pages`.
    bool complete = false;
};

/// Walks a tree over its sound pages and marks them as used. A page that another tree has is not taken.
TreeWalk walkTable(PageFile& file, PageMap& map, std::uint32_t root);
TreeWalk walkIndex(PageFile& file, PageMap& map, std::uint32_t root);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_TREE_WALK_H
