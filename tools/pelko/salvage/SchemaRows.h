#ifndef PELKO_TOOL_SALVAGE_SCHEMA_ROWS_H
#define PELKO_TOOL_SALVAGE_SCHEMA_ROWS_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/pelko/file/Database.h"
#include "tools/pelko/salvage/PageMap.h"

namespace pelkotool {

/// A row of sqlite_master: a table or index, and the page at which its tree begins.
struct SchemaRow {
    bool isTable = false;
    std::string name;   ///< in small letters, as SQLite compares names
    std::string table;  ///< the same for a table
    std::uint32_t root = 0;
    std::string sql;
    /// Whether the file itself tells it, in the place where it belongs. The others are guesses that have to
    /// be held against the pages.
    bool certain = false;
};

struct SchemaRows {
    std::vector<SchemaRow> rows;
    bool complete = false;  ///< whether there can be no others
};

/// What the file tells about its tables: from the first page's tree, and where that is not complete, from
/// pages that look like parts of it, and last from a file that the store has just made, since it makes all of
/// its files alike.
SchemaRows readSchema(PageFile& file, PageMap& map, const std::vector<SchemaRow>& freshStore);

/// The tables and indexes of a sound file, none of them certain for another.
std::vector<SchemaRow> schemaOf(const Database& database);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_SCHEMA_ROWS_H
