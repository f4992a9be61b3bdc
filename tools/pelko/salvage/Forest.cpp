#include "tools/pelko/salvage/Forest.h"

#include <algorithm>

#include "tools/pelko/file/Tables.h"
#include "tools/pelko/salvage/Evidence.h"
#include "tools/pelko/salvage/Payloads.h"

namespace pelkotool {

namespace {

/// How the records of a page suit something.
struct PageFit {
    std::size_t records = 0;
    std::size_t usual = 0;
    bool impossible = false;
};

PageFit fitOfLeaf(PageFile& file, PageMap& map, std::uint32_t page, const TableMap& table) {
    PageFit fit;
    forEachRecord(file, map, page, Purpose::look, [&](const Cell& cell, const std::optional<Record>& record) {
        if (!record) {
            return;
        }
        ++fit.records;
        const std::optional<Row> row = table.rowOf(cell.rowId, *record);
        const Fit one = row && record->size() == table.recordColumns ? fitOf(*table.layout, row->values)
                                                                     : Fit::impossible;
        fit.impossible = fit.impossible || one == Fit::impossible;
        fit.usual += one == Fit::usual ? 1 : 0;
    });
    return fit;
}

/// The first leaf below a page that can be reached; 0 without one.
std::uint32_t someLeaf(PageFile& file, const PageMap& map, std::uint32_t page, int depth = 0) {
    constexpr int greatestDepth = 5;
    constexpr std::size_t triedChildren = 3;
    Bytes bytes;
    if (depth > greatestDepth || !map.has(page) || !map.at(page).sound || !file.read(page, bytes)) {
        return 0;
    }
    if (!isInterior(map.at(page).kind)) {
        return page;
    }
    const BTreePage node = parsePage(ByteView(bytes), page, file.bounds());
    std::uint32_t leaf = someLeaf(file, map, node.rightChild, depth + 1);
    for (std::size_t i = 0; i < std::min(triedChildren, node.cells.size()) && leaf == 0; ++i) {
        leaf = someLeaf(file, map, node.cells[i].child, depth + 1);
    }
    return leaf;
}

bool canBeRoot(const PageMap& map, std::uint32_t page) {
    return map.has(page) && map.isStray(page) && map.at(page).sound && !map.at(page).hasParent;
}

/// Whether the tree that begins at the root can be the table's.
bool isPlausibleTable(PageFile& file, PageMap& map, const TableMap& table) {
    if (!canBeRoot(map, table.root) || !isOfTable(map.at(table.root).kind)) {
        return false;
    }
    const std::uint32_t leaf = someLeaf(file, map, table.root);
    const PageFit fit = leaf != 0 ? fitOfLeaf(file, map, leaf, table) : PageFit{0, 0, true};
    return !fit.impossible && 2 * fit.usual >= fit.records;
}

bool isPlausibleIndex(PageFile& file, PageMap& map, const TableMap& table, const IndexMap& index) {
    if (!canBeRoot(map, index.root) || !isOfIndex(map.at(index.root).kind)) {
        return false;
    }
    bool plausible = true;
    forEachRecord(file, map, index.root, Purpose::look,
                  [&](const Cell&, const std::optional<Record>& record) {
                      plausible = plausible && (!record || canBeEntry(table, index, *record));
                  });
    return plausible;
}

void walkTrees(PageFile& file, PageMap& map, TableTree& tree, bool certain) {
    if (tree.map.root != 0 && tree.map.certain == certain &&
        (certain || isPlausibleTable(file, map, tree.map))) {
        tree.walk = walkTable(file, map, tree.map.root);
    }
    for (std::size_t i = 0; i < tree.map.indexes.size(); ++i) {
        const IndexMap& index = tree.map.indexes[i];
        if (index.certain == certain && (certain || isPlausibleIndex(file, map, tree.map, index))) {
            tree.indexWalks[i] = walkIndex(file, map, index.root);
        }
    }
}

/// Whether it is one of those that tell about every row of a table of the store.
bool isFullIndex(const Forest& forest, const SchemaRow& row) {
    return std::any_of(forest.tables.begin(), forest.tables.end(), [&](const TableTree& tree) {
        return std::any_of(tree.map.indexes.begin(), tree.map.indexes.end(),
                           [&](const IndexMap& index) { return index.root == row.root; });
    });
}

/// Walks what the store does not know, and what is of no use here, too, so that none of its pages is taken
/// for something else.
/// @return whether all pages of other tables are known
bool walkOthers(PageFile& file, PageMap& map, const SchemaRows& schema, Forest& forest) {
    bool all = true;
    for (const SchemaRow& row : schema.rows) {
        if (!row.certain || isStoreTable(row.name)) {
            continue;
        }
        if (!row.isTable) {
            if (!isFullIndex(forest, row)) {
                walkIndex(file, map, row.root);
            }
            continue;
        }
        const TreeWalk walk = walkTable(file, map, row.root);
        if (row.name == sequenceTable) {
            forest.sequencePages = walk.pages;
        } else if (row.name.rfind("sqlite_", 0) != 0) {
            forest.otherTables.push_back(row.name);
            all = all && walk.complete;
        }
    }
    return all;
}

/// Gives the leaf to the table that it suits best, or to all that it suits as well.
void assignStray(PageFile& file, PageMap& map, Forest& forest, StrayLeaf leaf) {
    std::size_t best = 0;
    std::vector<TableTree*> takers;
    for (TableTree& tree : forest.tables) {
        if (tree.map.root == 0 || tree.walk.complete) {
            continue;
        }
        const PageFit fit = fitOfLeaf(file, map, leaf.page, tree.map);
        if (fit.usual < std::max<std::size_t>(best, 1) || (fit.impossible && leaf.sound)) {
            continue;
        }
        if (fit.usual > best) {
            best = fit.usual;
            takers.clear();
        }
        takers.push_back(&tree);
    }
    leaf.ambiguous = leaf.ambiguous || takers.size() > 1;
    for (TableTree* const tree : takers) {
        tree->strays.push_back(leaf);
    }
}

}  // namespace

Forest walkForest(PageFile& file, PageMap& map, const SchemaRows& schema) {
    Forest forest;
    forest.schemaIsComplete = schema.complete;
    for (const TableLayout& layout : expectedTables()) {
        TableTree tree;
        tree.map = mapTable(layout, schema.rows);
        tree.indexWalks.resize(tree.map.indexes.size());
        forest.tables.push_back(std::move(tree));
    }
    const bool othersAreKnown = walkOthers(file, map, schema, forest) && schema.complete;
    for (const bool certain : {true, false}) {
        for (TableTree& tree : forest.tables) {
            walkTrees(file, map, tree, certain);
        }
    }
    const auto sequence = std::find_if(schema.rows.begin(), schema.rows.end(), [](const SchemaRow& row) {
        return row.name == sequenceTable && !row.certain;
    });
    if (sequence != schema.rows.end() && canBeRoot(map, sequence->root)) {
        forest.sequencePages = walkTable(file, map, sequence->root).pages;
    }
    for (std::uint32_t page = 2; map.has(page); ++page) {
        const PageInfo& info = map.at(page);
        if (!map.isStray(page)) {
            continue;
        }
        if (info.kind == PageKind::tableLeaf) {
            assignStray(file, map, forest, {page, info.sound, !othersAreKnown});
        } else if (isOfIndex(info.kind) && info.sound) {
            forest.strayIndexPages.push_back(page);
        }
    }
    return forest;
}

}  // namespace pelkotool
