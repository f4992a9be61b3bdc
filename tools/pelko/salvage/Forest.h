#ifndef PELKO_TOOL_SALVAGE_FOREST_H
#define PELKO_TOOL_SALVAGE_FOREST_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/pelko/salvage/TableMap.h"
#include "tools/pelko/salvage/TreeWalk.h"

namespace pelkotool {

/// A leaf that nothing leads to, and that may be one of a certain table.
struct StrayLeaf {
    std::uint32_t page = 0;
    bool sound = false;
    bool ambiguous = false;  ///< it may as well be one of another table
};

/// A table with all the pages that are, or may be, its own.
struct TableTree {
    TableMap map;
    TreeWalk walk;
    std::vector<TreeWalk> indexWalks;  ///< of map.indexes
    std::vector<StrayLeaf> strays;
};

/// All trees of a file.
struct Forest {
    std::vector<TableTree> tables;  ///< in the order of expectedTables()
    std::vector<std::uint32_t> strayIndexPages;
    std::vector<std::uint32_t> sequencePages;  ///< with the counter of each table that never reuses a row id
    std::vector<std::string> otherTables;      ///< that the store does not know
    bool schemaIsComplete = false;
};

/// Walks the trees that the file tells about, then those that it may have, and then finds out which tables
/// the leaves can belong to that nothing leads to.
Forest walkForest(PageFile& file, PageMap& map, const SchemaRows& schema);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_FOREST_H
