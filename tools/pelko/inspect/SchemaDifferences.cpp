#include "tools/pelko/inspect/SchemaDifferences.h"

#include <algorithm>
#include <iterator>

#include "tools/pelko/file/Tables.h"

namespace pelkotool {

namespace {

using DifferenceKind = SchemaDifference::Kind;

const char* const storeIndexes[] = {"idx_msg_msg_id",       "idx_msg_room",    "idx_msg_pair",
                                    "idx_msg_unread",       "idx_msg_sending", "idx_msg_transfer",
                                    "idx_relationship_name"};

/// An entry of the file's own list of what it holds.
struct SchemaEntry {
    std::string type;
    std::string name;
    std::string table;
    bool hasPages = false;
};

struct FoundColumn {
    std::string name;
    std::string type;
    int primaryKeyPlace = 0;
};

bool sameName(const std::string& a, const std::string& b) {
    return sqlite3_stricmp(a.c_str(), b.c_str()) == 0;
}

bool isSqlitesOwn(const SchemaEntry& entry) {
    return sqlite3_strnicmp(entry.name.c_str(), "sqlite_", 7) == 0;
}

/// Whether it is one of the store's: those of fixed names, and those of busy conversations, idx_msg_with_ and
/// a hash.
bool isStoreIndex(const std::string& name) {
    const std::string busy = "idx_msg_with_";
    const bool ofBusy = name.size() == busy.size() + 16 && name.compare(0, busy.size(), busy) == 0 &&
                        name.find_first_not_of("0123456789abcdef", busy.size()) == std::string::npos;
    return ofBusy || std::any_of(std::begin(storeIndexes), std::end(storeIndexes),
                                 [&](const char* index) { return sameName(index, name); });
}

std::vector<SchemaEntry> entriesOf(const Database& database) {
    std::vector<SchemaEntry> entries;
    Statement rows =
        database.prepare("SELECT type, name, tbl_name, rootpage FROM sqlite_master ORDER BY rowid");
    while (rows.step()) {
        entries.push_back({rows.text(0), rows.text(1), rows.text(2), rows.integer(3) != 0});
    }
    return entries;
}

std::vector<FoundColumn> foundColumnsOf(const Database& database, const std::string& table) {
    std::vector<FoundColumn> columns;
    Statement rows = database.prepare("PRAGMA table_info(" + table + ")");
    while (rows.step()) {
        // What refuses a missing value refuses rows of the store, whose columns all take one.
        columns.push_back({rows.text(1), rows.text(2) + (rows.integer(3) != 0 ? " not null" : ""),
                           static_cast<int>(rows.integer(5))});
    }
    return columns;
}

template <typename Columns>
auto findColumn(const Columns& columns, const std::string& name) {
    return std::find_if(columns.begin(), columns.end(),
                        [&](const auto& column) { return name == column.name; });
}

/// The names of the columns that the other list has, too, in their order.
template <typename Columns, typename Others>
std::vector<std::string> namesInBoth(const Columns& columns, const Others& others) {
    std::vector<std::string> names;
    for (const auto& column : columns) {
        if (findColumn(others, column.name) != others.end()) {
            names.emplace_back(column.name);
        }
    }
    return names;
}

void comparePlaces(const TableLayout& table, const std::vector<FoundColumn>& found,
                   std::vector<SchemaDifference>& differences) {
    const std::vector<std::string> expectedOrder = namesInBoth(table.columns, found);
    const std::vector<std::string> order = namesInBoth(found, table.columns);
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (order[i] != expectedOrder[i]) {
            const auto place = std::distance(expectedOrder.begin(),
                                             std::find(expectedOrder.begin(), expectedOrder.end(), order[i]));
            differences.push_back({DifferenceKind::otherPlace, table.name + ('.' + order[i]),
                                   "place " + std::to_string(place + 1), "place " + std::to_string(i + 1)});
        }
    }
}

std::string keyText(int place) {
    return place == 0 ? "not in the key" : "column " + std::to_string(place) + " of the key";
}

void compareKey(const std::string& name, int expected, int found,
                std::vector<SchemaDifference>& differences) {
    if (expected != found) {
        const DifferenceKind kind = found == 0      ? DifferenceKind::missingKey
                                    : expected == 0 ? DifferenceKind::extraKey
                                                    : DifferenceKind::otherKeyPlace;
        differences.push_back({kind, name, keyText(expected), keyText(found)});
    }
}

void compareColumns(const TableLayout& table, const std::vector<FoundColumn>& found,
                    std::vector<SchemaDifference>& differences) {
    for (const Column& expected : table.columns) {
        const std::string name = table.name + ('.' + std::string(expected.name));
        const auto column = findColumn(found, expected.name);
        if (column == found.end()) {
            differences.push_back({DifferenceKind::missingColumn, name, expected.type, ""});
            continue;
        }
        if (!sameName(column->type, expected.type)) {
            differences.push_back({DifferenceKind::otherType, name, expected.type, column->type});
        }
        compareKey(name, expected.primaryKeyPlace, column->primaryKeyPlace, differences);
    }
    for (const FoundColumn& column : found) {
        if (findColumn(table.columns, column.name) == table.columns.end()) {
            const std::string name = table.name + ('.' + column.name);
            differences.push_back({DifferenceKind::extraColumn, name, "", column.type});
            compareKey(name, 0, column.primaryKeyPlace, differences);
        }
    }
    comparePlaces(table, found, differences);
}

void compareTables(const Database& database, const std::vector<SchemaEntry>& entries,
                   std::vector<SchemaDifference>& differences) {
    for (const TableLayout& table : expectedTables()) {
        const auto entry = std::find_if(entries.begin(), entries.end(), [&](const SchemaEntry& candidate) {
            return candidate.type == "table" && sameName(candidate.name, table.name);
        });
        if (entry == entries.end()) {
            differences.push_back({DifferenceKind::missingTable, table.name, "", ""});
        } else if (!entry->hasPages) {
            differences.push_back({DifferenceKind::noPlainTable, table.name, "a table", "a virtual table"});
        } else {
            compareColumns(table, foundColumnsOf(database, table.name), differences);
        }
    }
}

void findForeign(const std::vector<SchemaEntry>& entries, std::vector<SchemaDifference>& differences) {
    for (const SchemaEntry& entry : entries) {
        if (entry.type == "view") {
            differences.push_back({DifferenceKind::view, entry.name, "", ""});
        } else if (entry.type == "trigger") {
            differences.push_back({DifferenceKind::trigger, entry.name, "", "on " + entry.table});
        } else if (entry.type == "table" && !isStoreTable(entry.name) && !isSqlitesOwn(entry)) {
            differences.push_back({DifferenceKind::extraTable, entry.name, "", ""});
        } else if (entry.type == "index" && isStoreTable(entry.table) && !isStoreIndex(entry.name) &&
                   !isSqlitesOwn(entry)) {
            differences.push_back({DifferenceKind::extraIndex, entry.name, "", "on " + entry.table});
        }
    }
}

void findMissingIndexes(const std::vector<SchemaEntry>& entries, std::vector<SchemaDifference>& differences) {
    for (const char* const index : storeIndexes) {
        const bool isThere = std::any_of(entries.begin(), entries.end(), [&](const SchemaEntry& entry) {
            return entry.type == "index" && sameName(entry.name, index);
        });
        if (!isThere) {
            differences.push_back({DifferenceKind::missingIndex, index, "", ""});
        }
    }
}

}  // namespace

std::string wordsFor(SchemaDifference::Kind kind) {
    switch (kind) {
        case DifferenceKind::missingTable:
            return "missing table";
        case DifferenceKind::noPlainTable:
            return "no plain table";
        case DifferenceKind::missingColumn:
            return "missing column";
        case DifferenceKind::extraColumn:
            return "extra column";
        case DifferenceKind::otherType:
            return "other type";
        case DifferenceKind::otherPlace:
            return "other place";
        case DifferenceKind::missingKey:
            return "missing key";
        case DifferenceKind::extraKey:
            return "extra key";
        case DifferenceKind::otherKeyPlace:
            return "other place in the key";
        case DifferenceKind::extraTable:
            return "extra table";
        case DifferenceKind::view:
            return "view";
        case DifferenceKind::trigger:
            return "trigger";
        case DifferenceKind::missingIndex:
            return "missing index";
        case DifferenceKind::extraIndex:
            return "extra index";
    }
    return {};
}

std::vector<SchemaDifference> schemaDifferences(const Database& database) {
    const std::vector<SchemaEntry> entries = entriesOf(database);
    std::vector<SchemaDifference> differences;
    compareTables(database, entries, differences);
    findForeign(entries, differences);
    findMissingIndexes(entries, differences);
    return differences;
}

}  // namespace pelkotool
