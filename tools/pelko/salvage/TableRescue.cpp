#include "tools/pelko/salvage/TableRescue.h"

#include <algorithm>

#include "tools/pelko/Text.h"
#include "tools/pelko/salvage/Payloads.h"

namespace pelkotool {

namespace {

/// Whether all texts are such as clients write: UTF-8 without NUL. What is left of a page that was partly
/// overwritten has to be at least that.
bool hasPlausibleTexts(const Record& values) {
    return std::all_of(values.begin(), values.end(), [](const Value& value) {
        return value.kind != StorageClass::text ||
               (isUtf8(value.bytes) && value.bytes.find('\0') == std::string::npos);
    });
}

}  // namespace

TableRescue::TableRescue(PageFile& file, PageMap& map, const Forest& forest, std::size_t table,
                         NewStoreFile& out, std::function<void()> step)
    : mFile(file),
      mMap(map),
      mForest(forest),
      mTree(forest.tables.at(table)),
      mTable(table),
      mOut(out),
      mStep(std::move(step)) {
    mReport.layout = mTree.map.layout;
    mReport.tooDifferent = mTree.map.tooDifferent;
    mReport.otherColumns = mTree.map.otherColumns;
    mReport.missingColumns = mTree.map.missingColumns;
    mReport.takenColumns = mTree.map.takenColumns;
}

TableReport TableRescue::run() {
    if (mTree.map.root == 0) {
        mReport.inFile = mReport.tooDifferent;
        return mReport;
    }
    copyReached();
    if (mTree.walk.complete && mUnreadable.empty() && mReport.uncertain.empty()) {
        return mReport;  // nothing is missing, whatever the indexes say
    }
    copyCandidates();
    copyWholeRows();
    countLosses();
    return mReport;
}

const Evidence& TableRescue::evidence() {
    // Only asked for where something is missing: it reads the table's indexes.
    if (!mEvidence) {
        mEvidence.emplace(mFile, mMap, mTree.map, mTree.indexWalks, mForest.strayIndexPages);
    }
    return *mEvidence;
}

bool TableRescue::isAcceptable(const Row& row, const Source& source) {
    if (mTree.map.layout->mustBeExact) {
        if (!source.sound) {
            return false;
        }
        if (source.reached && mTree.map.certain) {
            return true;
        }
        // The row or its entry has to be one that the file still uses; the other may be out of date, but says
        // the same.
        return evidence().confirms(row, !source.reached);
    }
    if (!source.sound) {
        return fitOf(*mTree.map.layout, row.values) == Fit::usual && hasPlausibleTexts(row.values) &&
               (evidence().hasIndex() ? evidence().confirms(row, false)
                                      : source.reached && !source.ambiguous);
    }
    if (source.reached) {
        return true;
    }
    if (evidence().isComplete()) {
        return evidence().confirmsCompletely(row);  // or else it has been deleted
    }
    return (mMap.freePagesAreKnown() && !source.ambiguous) || evidence().confirms(row, false);
}

bool TableRescue::insert(const Row& row) {
    if (!mOut.insert(mTable, row)) {
        return false;
    }
    mInserted.push_back(row.id);
    ++mReport.recovered;
    return true;
}

void TableRescue::copyReached() {
    for (const std::uint32_t page : mTree.walk.pages) {
        mStep();
        forEachRecord(
            mFile, mMap, page, Purpose::use, [&](const Cell& cell, const std::optional<Record>& record) {
                const std::optional<Row> row = record ? mTree.map.rowOf(cell.rowId, *record) : std::nullopt;
                if (row && !isAcceptable(*row, {true, true, false})) {
                    mReport.uncertain.emplace_back(page, cell.offset);
                } else if (!row || !insert(*row)) {
                    mUnreadable.push_back(cell.rowId);
                }
            });
    }
    std::sort(mInserted.begin(), mInserted.end());
}

void TableRescue::gather(std::uint32_t page, const Source& source, std::vector<RowCandidate>& candidates) {
    mStep();
    forEachRecord(
        mFile, mMap, page, Purpose::look, [&](const Cell& cell, const std::optional<Record>& record) {
            const std::optional<Row> row = record ? mTree.map.rowOf(cell.rowId, *record) : std::nullopt;
            if (!row || std::binary_search(mInserted.begin(), mInserted.end(), row->id)) {
                return;  // what is there already was certain
            }
            if (!isAcceptable(*row, source)) {
                if (source.sound && !evidence().isComplete()) {
                    mReport.uncertain.emplace_back(page, cell.offset);
                }
                return;
            }
            candidates.push_back({row->id, fingerprint(row->values), RowPlace(page, cell.offset),
                                  evidence().confirms(*row, true), source.ambiguous});
        });
}

void TableRescue::copyCandidates() {
    std::vector<RowCandidate> candidates;
    for (const std::uint32_t page : mTree.walk.doubtful) {
        gather(page, {true, false, false}, candidates);
    }
    for (const StrayLeaf& leaf : mTree.strays) {
        gather(leaf.page, {false, leaf.sound, leaf.ambiguous}, candidates);
    }
    const std::vector<RowCandidate> chosen = chooseCandidates(std::move(candidates));
    for (std::size_t i = 0; i < chosen.size();) {
        std::size_t end = i + 1;
        while (end < chosen.size() && chosen[end].place.first == chosen[i].place.first) {
            ++end;
        }
        copyChosen(chosen[i].place.first, &chosen[i], chosen.data() + end);
        i = end;
    }
    std::sort(mInserted.begin(), mInserted.end());
}

void TableRescue::copyChosen(std::uint32_t page, const RowCandidate* first, const RowCandidate* end) {
    forEachRecord(
        mFile, mMap, page, Purpose::use, [&](const Cell& cell, const std::optional<Record>& record) {
            const RowCandidate* const found = std::find_if(
                first, end, [&](const RowCandidate& one) { return one.place.second == cell.offset; });
            const std::optional<Row> row =
                found != end && record ? mTree.map.rowOf(cell.rowId, *record) : std::nullopt;
            if (row && insert(*row)) {
                ++mReport.fromStrays;
                if (found->ambiguous) {
                    mReport.taken.push_back(found->place);
                }
            }
        });
    mMap.use(page, PageUse::tree);
}

void TableRescue::copyWholeRows() {
    for (const Row& row : evidence().wholeRows()) {
        if (!std::binary_search(mInserted.begin(), mInserted.end(), row.id) && insert(row)) {
            ++mReport.fromIndexes;
        }
    }
    std::sort(mInserted.begin(), mInserted.end());
}

void TableRescue::countLosses() {
    std::vector<std::int64_t> known = evidence().ids();
    known.insert(known.end(), mUnreadable.begin(), mUnreadable.end());
    std::sort(known.begin(), known.end());
    known.erase(std::unique(known.begin(), known.end()), known.end());
    mReport.lost = std::count_if(known.begin(), known.end(), [&](std::int64_t id) {
        return !std::binary_search(mInserted.begin(), mInserted.end(), id);
    });
    mReport.mayBeMore = !mTree.walk.complete && !evidence().isComplete();
}

}  // namespace pelkotool
