#include "tools/pelko/salvage/SchemaRows.h"

#include <algorithm>
#include <optional>

#include "tools/pelko/salvage/Payloads.h"
#include "tools/pelko/salvage/TreeWalk.h"

namespace pelkotool {

namespace {

std::string smallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

std::optional<SchemaRow> schemaRowOf(const Record& record) {
    constexpr std::size_t columns = 5;  // type, name, tbl_name, rootpage, sql
    if (record.size() != columns || record[0].kind != StorageClass::text ||
        record[1].kind != StorageClass::text || record[2].kind != StorageClass::text ||
        record[3].kind != StorageClass::integer || record[3].integer < 2 ||
        record[3].integer > std::int64_t{0xfffffffe} ||
        (record[4].kind != StorageClass::text && record[4].kind != StorageClass::null)) {
        return std::nullopt;  // views and triggers have no root
    }
    SchemaRow row;
    row.isTable = record[0].bytes == "table";
    row.name = smallLetters(record[1].bytes);
    row.table = smallLetters(record[2].bytes);
    row.root = static_cast<std::uint32_t>(record[3].integer);
    row.sql = record[4].bytes;
    return row.isTable || record[0].bytes == "index" ? std::optional(row) : std::nullopt;
}

/// Whether a row that has no tree of its own is as SQLite writes one: a view, a trigger or a virtual table.
bool isWithoutTree(const Record& record) {
    return record.size() == 5 && record[3].kind == StorageClass::integer && record[3].integer == 0 &&
           (record[0].bytes == "view" || record[0].bytes == "trigger" || record[0].bytes == "table");
}

const SchemaRow* findRow(const std::vector<SchemaRow>& rows, const std::string& name) {
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const SchemaRow& row) { return row.name == name; });
    return found != rows.end() ? &*found : nullptr;
}

/// Takes those that are not known yet.
void addUnknown(std::vector<SchemaRow>& rows, const std::vector<SchemaRow>& others) {
    for (const SchemaRow& other : others) {
        if (findRow(rows, other.name) == nullptr) {
            rows.push_back(other);
        }
    }
}

/// Rows on pages that nothing leads to. Where two differ, one of them is out of date: neither is taken.
std::vector<SchemaRow> strayRows(PageFile& file, PageMap& map) {
    std::vector<SchemaRow> rows;
    std::vector<std::string> contradicting;
    for (std::uint32_t page = 1; map.has(page); ++page) {
        const PageInfo& info = map.at(page);
        if (!info.sound || info.kind != PageKind::tableLeaf || !map.isStray(page)) {
            continue;
        }
        forEachRecord(file, map, page, Purpose::look, [&](const Cell&, const std::optional<Record>& record) {
            const std::optional<SchemaRow> row = record ? schemaRowOf(*record) : std::nullopt;
            const SchemaRow* const known = row ? findRow(rows, row->name) : nullptr;
            if (row && known == nullptr) {
                rows.push_back(*row);
            } else if (row && (known->root != row->root || known->sql != row->sql)) {
                contradicting.push_back(row->name);
            }
        });
    }
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&](const SchemaRow& row) {
                                  return std::find(contradicting.begin(), contradicting.end(), row.name) !=
                                         contradicting.end();
                              }),
               rows.end());
    return rows;
}

/// A number that leads to another's tree, into the middle of one or to a free page is no root: its row is a
/// guess like any other.
void doubtWrongRoots(const PageMap& map, SchemaRows& schema) {
    for (SchemaRow& row : schema.rows) {
        const auto sharing = std::count_if(schema.rows.begin(), schema.rows.end(),
                                           [&](const SchemaRow& other) { return other.root == row.root; });
        const bool isOthers = map.freePagesAreKnown() && map.has(row.root) &&
                              (map.at(row.root).hasParent || map.at(row.root).free);
        if (sharing > 1 || isOthers) {
            row.certain = false;
            schema.complete = false;
        }
    }
}

}  // namespace

SchemaRows readSchema(PageFile& file, PageMap& map, const std::vector<SchemaRow>& freshStore) {
    SchemaRows schema;
    const TreeWalk walk = walkTable(file, map, 1);
    schema.complete = walk.complete && file.header().has_value();
    for (const std::uint32_t page : walk.pages) {
        forEachRecord(file, map, page, Purpose::use, [&](const Cell&, const std::optional<Record>& record) {
            std::optional<SchemaRow> row = record ? schemaRowOf(*record) : std::nullopt;
            if (row && findRow(schema.rows, row->name) == nullptr) {
                row->certain = true;
                schema.rows.push_back(*row);
            }
            schema.complete = schema.complete && record && (row || isWithoutTree(*record));
        });
    }
    doubtWrongRoots(map, schema);
    if (!schema.complete) {
        addUnknown(schema.rows, strayRows(file, map));
        addUnknown(schema.rows, freshStore);
    }
    return schema;
}

std::vector<SchemaRow> schemaOf(const Database& database) {
    std::vector<SchemaRow> rows;
    Statement found = database.prepare(
        "SELECT type = 'table', name, tbl_name, rootpage, sql FROM sqlite_master WHERE rootpage > 1");
    while (found.step()) {
        SchemaRow row;
        row.isTable = found.integer(0) != 0;
        row.name = found.text(1);
        row.table = found.text(2);
        row.root = static_cast<std::uint32_t>(found.integer(3));
        row.sql = found.text(4);
        rows.push_back(row);
    }
    return rows;
}

}  // namespace pelkotool
