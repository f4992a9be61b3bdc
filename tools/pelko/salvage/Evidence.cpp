#include "tools/pelko/salvage/Evidence.h"

#include <algorithm>

#include "tools/pelko/salvage/Payloads.h"

namespace pelkotool {

namespace {

std::uint64_t fingerprintOf(const IndexMap& index, const Row& row) {
    Record values;
    for (const std::size_t column : index.columns) {
        values.push_back(row.values[column]);
    }
    return fingerprint(values);
}

/// Whether the index and the row id make up the whole row.
bool holdsAllColumns(const TableMap& table, const IndexMap& index) {
    for (std::size_t i = 0; i < table.layout->columns.size(); ++i) {
        const bool held = std::find(index.columns.begin(), index.columns.end(), i) != index.columns.end();
        if (!held && static_cast<int>(i) != rowIdColumn(*table.layout)) {
            return false;
        }
    }
    return true;
}

Row wholeRow(const TableMap& table, const IndexMap& index, const Record& entry) {
    Row row;
    row.id = entry.back().integer;
    row.values.resize(table.layout->columns.size(), Value::ofInteger(row.id));
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
        row.values[index.columns[i]] = entry[i];
    }
    return row;
}

}  // namespace

bool canBeEntry(const TableMap& table, const IndexMap& index, const Record& record) {
    if (record.size() != index.columns.size() + 1 || record.back().kind != StorageClass::integer) {
        return false;
    }
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
        if (fitOf(table.layout->columns[index.columns[i]], record[i]) == Fit::impossible) {
            return false;
        }
    }
    return true;
}

Evidence::Evidence(PageFile& file, PageMap& map, const TableMap& table, const std::vector<TreeWalk>& walks,
                   const std::vector<std::uint32_t>& strays)
    : mComplete(table.indexes.size()), mFreeKnown(map.freePagesAreKnown()) {
    for (std::size_t i = 0; i < table.indexes.size(); ++i) {
        Index index{&table.indexes[i], {}, {}};
        if (addReached(file, map, table, walks[i], index) && walks[i].complete) {
            mComplete = i;
        } else {
            for (const std::uint32_t page : strays) {
                addStray(file, map, table, page, index);
            }
        }
        std::sort(index.reached.begin(), index.reached.end());
        std::sort(index.stray.begin(), index.stray.end());
        mIndexes.push_back(std::move(index));
    }
    std::sort(mIds.begin(), mIds.end());
    mIds.erase(std::unique(mIds.begin(), mIds.end()), mIds.end());
}

bool Evidence::addReached(PageFile& file, PageMap& map, const TableMap& table, const TreeWalk& walk,
                          Index& index) {
    const bool whole = index.map->certain && holdsAllColumns(table, *index.map);
    bool all = true;
    for (const std::uint32_t page : walk.pages) {
        forEachRecord(file, map, page, Purpose::look, [&](const Cell&, std::optional<Record> record) {
            if (!record || !canBeEntry(table, *index.map, *record)) {
                all = false;
                return;
            }
            const std::int64_t rowId = record->back().integer;
            mIds.push_back(rowId);
            if (whole) {
                mWholeRows.push_back(wholeRow(table, *index.map, *record));
            }
            record->pop_back();
            index.reached.push_back({rowId, fingerprint(*record)});
        });
    }
    return all;
}

void Evidence::addStray(PageFile& file, PageMap& map, const TableMap& table, std::uint32_t page,
                        Index& index) {
    forEachRecord(file, map, page, Purpose::look, [&](const Cell&, std::optional<Record> record) {
        if (record && canBeEntry(table, *index.map, *record)) {
            const std::int64_t rowId = record->back().integer;
            record->pop_back();
            index.stray.push_back({rowId, fingerprint(*record)});
        }
    });
}

bool Evidence::has(const std::vector<Entry>& entries, const Index& index, const Row& row) {
    return std::binary_search(entries.begin(), entries.end(), Entry{row.id, fingerprintOf(*index.map, row)});
}

bool Evidence::confirms(const Row& row, bool current) const {
    return std::any_of(mIndexes.begin(), mIndexes.end(), [&](const Index& index) {
        return has(index.reached, index, row) || ((mFreeKnown || !current) && has(index.stray, index, row));
    });
}

bool Evidence::confirmsCompletely(const Row& row) const {
    return isComplete() && has(mIndexes[mComplete].reached, mIndexes[mComplete], row);
}

}  // namespace pelkotool
