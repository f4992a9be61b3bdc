#include "tools/pelko/salvage/Salvage.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/StopOnInterrupt.h"
#include "tools/pelko/salvage/Payloads.h"

namespace pelkotool {

using pelkoapi::catchInterrupts;
using pelkoapi::utf8Of;

namespace {

constexpr char nothingWritten[] = "nothing was written";

/// A row that was taken for one table is no longer one that may be of another.
void settle(std::vector<TableReport>& tables) {
    std::set<RowPlace> taken;
    for (const TableReport& table : tables) {
        taken.insert(table.taken.begin(), table.taken.end());
    }
    for (TableReport& table : tables) {
        table.uncertain.erase(std::remove_if(table.uncertain.begin(), table.uncertain.end(),
                                             [&](const RowPlace& place) { return taken.count(place) != 0; }),
                              table.uncertain.end());
    }
}

void keepSequences(PageFile& file, PageMap& map, const Forest& forest, NewStoreFile& out) {
    constexpr char onlyTable[] = "tbl_notify";
    for (const std::uint32_t page : forest.sequencePages) {
        forEachRecord(file, map, page, Purpose::look, [&](const Cell&, const std::optional<Record>& record) {
            if (record && record->size() == 2 && record->front().bytes == onlyTable &&
                record->back().kind == StorageClass::integer) {
                out.keepSequence(onlyTable, record->back().integer);
            }
        });
    }
}

void requireSomething(const SalvageReport& report, const std::filesystem::path& file) {
    const bool anyTable =
        std::any_of(report.tables.begin(), report.tables.end(),
                    [](const TableReport& table) { return table.inFile && !table.tooDifferent; });
    if (!anyTable) {
        throw ToolError("nothing could be rescued: " + utf8Of(file) +
                        " is a database, but none with the tables of a store" + otherFileOrKey);
    }
    if (report.recovered() == 0 && !report.hasAllRows()) {
        throw ToolError("nothing could be rescued: no row of " + utf8Of(file) +
                        " can be read any more; look for an older copy of the file");
    }
}

}  // namespace

long long SalvageReport::recovered() const {
    return std::accumulate(tables.begin(), tables.end(), 0LL,
                           [](long long sum, const TableReport& table) { return sum + table.recovered; });
}

long long SalvageReport::lost() const {
    return std::accumulate(tables.begin(), tables.end(), 0LL,
                           [](long long sum, const TableReport& table) { return sum + table.lost; });
}

bool SalvageReport::hasAllRows() const {
    return schemaIsComplete && std::all_of(tables.begin(), tables.end(),
                                           [](const TableReport& table) { return table.hasAllRows(); });
}

bool SalvageReport::isWhole() const {
    return hasAllRows() && otherTables.empty() &&
           std::all_of(tables.begin(), tables.end(), [](const TableReport& table) {
               return table.otherColumns.empty() && table.missingColumns.empty();
           });
}

SalvageReport salvage(const std::filesystem::path& path, NewPath& out) {
    catchInterrupts();
    PageFile file(path);
    NewStoreFile store(out.unfinished());
    ProgressBar bar(2 * std::uintmax_t{file.pageCount()});
    PageMap map(file, [&](std::uint32_t page) {
        bar.show(page, "looking at the pages");
        stopIfInterrupted(nothingWritten);
    });
    const Forest forest = walkForest(file, map, readSchema(file, map, store.schema()));

    SalvageReport report;
    report.pages = file.pageCount();
    report.pageSize = file.pageSize();
    report.missingPages = std::max(file.missingPages(), map.missingPages());
    report.waitingPages = file.waitingPages();
    report.hasHeader = file.header().has_value();
    report.sizesAreMeasured = report.hasHeader && file.sizesAreMeasured();
    report.schemaIsComplete = forest.schemaIsComplete;
    report.freePagesAreKnown = map.freePagesAreKnown();
    report.otherTables = forest.otherTables;
    std::uintmax_t done = file.pageCount();
    for (std::size_t i = 0; i < forest.tables.size(); ++i) {
        TableRescue table(file, map, forest, i, store, [&] {
            bar.show(++done, expectedTables()[i].name);
            stopIfInterrupted(nothingWritten);
        });
        report.tables.push_back(table.run());
    }
    settle(report.tables);
    keepSequences(file, map, forest, store);
    report.unusablePages = map.unusable();
    file.requireUnchanged();
    requireSomething(report, path);
    bar.show(2 * std::uintmax_t{file.pageCount()}, "making the indexes");
    try {
        store.finish();
    } catch (const ToolError&) {
        stopIfInterrupted(nothingWritten);  // that is why it failed
        throw;
    }
    stopIfInterrupted(nothingWritten);
    out.finish(store.path().filename());
    return report;
}

}  // namespace pelkotool
