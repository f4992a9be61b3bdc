#ifndef PELKO_TOOL_SALVAGE_EVIDENCE_H
#define PELKO_TOOL_SALVAGE_EVIDENCE_H

#include <cstdint>
#include <vector>

#include "tools/pelko/salvage/TableMap.h"
#include "tools/pelko/salvage/TreeWalk.h"

namespace pelkotool {

/// What the indexes of a table tell about its rows: which there are, and the values of some columns.
class Evidence {
public:
    /// @param walks  of the table's indexes, in their order
    /// @param strays  pages of indexes that nothing leads to
    Evidence(PageFile& file, PageMap& map, const TableMap& table, const std::vector<TreeWalk>& walks,
             const std::vector<std::uint32_t>& strays);

    /// Whether an index has the row, with these values.
    /// @param current  only entries that cannot be those of a deleted row
    bool confirms(const Row& row, bool current) const;
    /// Whether there is an index all of whose entries are known, and whether that one has the row.
    bool isComplete() const { return mComplete < mIndexes.size(); }
    bool confirmsCompletely(const Row& row) const;
    bool hasIndex() const { return !mIndexes.empty(); }

    /// The row ids that the indexes certainly have.
    const std::vector<std::int64_t>& ids() const { return mIds; }
    /// Rows of which an index holds every column.
    const std::vector<Row>& wholeRows() const { return mWholeRows; }

private:
    struct Entry {
        std::int64_t rowId;
        std::uint64_t values;  // their fingerprint

        bool operator<(const Entry& other) const {
            return rowId != other.rowId ? rowId < other.rowId : values < other.values;
        }
    };
    struct Index {
        const IndexMap* map;
        std::vector<Entry> reached;
        std::vector<Entry> stray;
    };

    /// @return whether every entry could be read
    bool addReached(PageFile& file, PageMap& map, const TableMap& table, const TreeWalk& walk, Index& index);
    static void addStray(PageFile& file, PageMap& map, const TableMap& table, std::uint32_t page,
                         Index& index);
    static bool has(const std::vector<Entry>& entries, const Index& index, const Row& row);

    std::vector<Index> mIndexes;
    std::size_t mComplete;
    bool mFreeKnown;
    std::vector<std::int64_t> mIds;
    std::vector<Row> mWholeRows;
};

/// Whether a record can be an entry of that index.
bool canBeEntry(const TableMap& table, const IndexMap& index, const Record& record);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_EVIDENCE_H
