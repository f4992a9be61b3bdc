#ifndef PELKO_TOOL_SALVAGE_TABLE_RESCUE_H
#define PELKO_TOOL_SALVAGE_TABLE_RESCUE_H

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tools/pelko/salvage/Evidence.h"
#include "tools/pelko/salvage/Forest.h"
#include "tools/pelko/salvage/NewStoreFile.h"
#include "tools/pelko/salvage/RowCandidates.h"

namespace pelkotool {

/// What became of a table.
struct TableReport {
    const TableLayout* layout = nullptr;
    bool inFile = true;
    bool tooDifferent = false;  ///< its rows are not the store's
    long long recovered = 0;
    long long fromStrays = 0;         ///< of these, on pages that nothing leads to, or that are not whole
    long long fromIndexes = 0;        ///< of these, from an index alone
    long long lost = 0;               ///< known to have been there
    bool mayBeMore = false;           ///< whether more rows may have been there
    std::vector<RowPlace> uncertain;  ///< rows that were not taken, since they may be none of this table
    std::vector<RowPlace> taken;      ///< of those that may be of several tables
    std::vector<std::string> otherColumns;    ///< not copied
    std::vector<std::string> missingColumns;  ///< left empty
    std::vector<TakenColumn> takenColumns;    ///< copied into one of another name

    /// Whether all its rows are there.
    bool hasAllRows() const { return lost == 0 && !mayBeMore && uncertain.empty() && !tooDifferent; }
};

/// Brings the rows of one table into the new file.
class TableRescue {
public:
    /// @param step  called for every page
    TableRescue(PageFile& file, PageMap& map, const Forest& forest, std::size_t table, NewStoreFile& out,
                std::function<void()> step);

    TableReport run();

private:
    /// How a row was found.
    struct Source {
        bool reached = false;  // from the table's root
        bool sound = false;    // on a page that is as SQLite leaves one
        bool ambiguous = false;
    };

    const Evidence& evidence();
    bool isAcceptable(const Row& row, const Source& source);
    bool insert(const Row& row);
    void copyReached();
    void gather(std::uint32_t page, const Source& source, std::vector<RowCandidate>& candidates);
    void copyCandidates();
    void copyChosen(std::uint32_t page, const RowCandidate* first, const RowCandidate* end);
    void copyWholeRows();
    void countLosses();

    PageFile& mFile;
    PageMap& mMap;
    const Forest& mForest;
    const TableTree& mTree;
    std::size_t mTable;
    NewStoreFile& mOut;
    std::function<void()> mStep;
    std::optional<Evidence> mEvidence;
    std::vector<std::int64_t> mInserted;
    std::vector<std::int64_t> mUnreadable;
    TableReport mReport;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_TABLE_RESCUE_H
