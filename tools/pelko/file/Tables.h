#ifndef PELKO_TOOL_FILE_TABLES_H
#define PELKO_TOOL_FILE_TABLES_H

#include <string>
#include <vector>

#include "tools/pelko/file/Database.h"

// What the store expects in a db.dat. A test holds it against a file that the store has made.

namespace pelkotool {

struct Column {
    const char* name;
    const char* type;     ///< as the store declares it; newer SQLite shows the usual ones in capitals
    int primaryKeyPlace;  ///< from 1; 0 for a column outside the key
};

struct TableLayout {
    const char* name;
    /// Whether a wrong row does harm: one block, sync mark or setting more or less changes what a client
    /// does.
    bool mustBeExact;
    std::vector<Column> columns;
};

/// The ten tables, in the order in which the store makes them.
const std::vector<TableLayout>& expectedTables();

/// SQLite's table of the greatest row ids ever given, which tbl_notify has it keep.
constexpr char sequenceTable[] = "sqlite_sequence";

/// Whether the store has a table of that name, in small or capital letters.
bool isStoreTable(const std::string& name);

/// One of them by its name. @throws std::out_of_range for any other name
const TableLayout& expectedTable(const std::string& name);

/// That the file has these tables of the store with all of their columns. @throws ToolError that names what
/// is missing
void requireColumns(const Database& database, const std::vector<const char*>& tables);

/// That the file has a table of the store at all. @throws ToolError
void requireStoreFile(const Database& database);

/// A column that is the table's row id, "integer primary key"; -1 without one.
int rowIdColumn(const TableLayout& table);

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_TABLES_H
