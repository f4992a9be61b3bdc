#ifndef PELKO_TOOL_EXPORT_ROW_IMPORT_H
#define PELKO_TOOL_EXPORT_ROW_IMPORT_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/pelko/export/ExportRecord.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

/// Puts the lines of an export back as rows, with their row ids, storage classes and bytes.
class RowImport {
public:
    /// @param database  with the store's tables
    explicit RowImport(const Database& database);

    /// @throws LineError for a line whose row the store cannot hold as it is
    void insert(const ExportRecord& record);

    /// How many rows were inserted, in the order of the store's tables.
    const std::vector<std::pair<std::string, long long>>& inserted() const { return mInserted; }

private:
    struct Column {
        std::string name;
        bool holdsIntegers;  // SQLite turns values of other classes into them where it can
        bool holdsTexts;
    };
    struct Table {
        std::string name;
        std::vector<Column> columns;
        std::size_t rowIdColumn;  // the place of the column that is the row id; behind the last without one
        Statement insert;         // parameter 1 is the row id, then the columns
        Statement classes;        // of the columns of row ?1
    };

    void addTable(const std::string& name);
    void insertRow(Table& table, const ExportRecord& record);
    static std::vector<const StoredValue*> valuesOf(const Table& table, const ExportRecord& record);
    static bool mayBeConverted(const Table& table, const std::vector<const StoredValue*>& values);
    static void requireKept(Table& table, const std::vector<const StoredValue*>& values, long long rowId);
    void setSequence(const ExportRecord& record);
    void run(Statement& statement) const;

    const Database& mDatabase;
    std::map<std::string, Table> mTables;
    std::vector<std::pair<std::string, long long>> mInserted;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_ROW_IMPORT_H
