#ifndef PELKO_TOOL_SALVAGE_TABLE_MAP_H
#define PELKO_TOOL_SALVAGE_TABLE_MAP_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/pelko/file/Tables.h"
#include "tools/pelko/salvage/Record.h"
#include "tools/pelko/salvage/SchemaRows.h"

namespace pelkotool {

/// A row as the store expects it: one value for each of its columns, in their order.
struct Row {
    std::int64_t id = 0;
    Record values;
};

/// An index that has an entry for every row of its table.
struct IndexMap {
    std::string name;
    std::uint32_t root = 0;
    bool certain = false;
    std::vector<std::size_t> columns;  ///< that it holds, counted as the store expects them; then the row id
};

/// A column under another name than the store's.
struct TakenColumn {
    std::string name;
    std::string takenFor;
};

/// Where a table lies in the file, and where in its records the columns stand that the store expects.
struct TableMap {
    const TableLayout* layout = nullptr;
    std::uint32_t root = 0;  ///< 0: the file has no such table, or one that is too different
    bool tooDifferent = false;
    bool certain = false;  ///< whether the root is the one that the file itself tells
    std::size_t recordColumns = 0;
    std::vector<std::optional<std::size_t>> places;  ///< within a record, for each expected column
    std::vector<Value> fallbacks;                    ///< for records that are shorter
    std::vector<std::string> otherColumns;           ///< that the store does not know
    std::vector<std::string> missingColumns;         ///< that the store expects, and that have no place
    std::vector<TakenColumn> takenColumns;           ///< whose places tell what they are, not their names
    std::vector<IndexMap> indexes;

    /// The row that a record stands for; nothing when it is none of this table.
    std::optional<Row> rowOf(std::int64_t rowId, const Record& record) const;
};

/// The table of that name. Its columns are found by running the text that made it, in memory.
TableMap mapTable(const TableLayout& layout, const std::vector<SchemaRow>& schema);

/// How well values suit columns of the types that the store declares.
enum class Fit { impossible, odd, usual };

/// impossible: SQLite cannot have stored them so. odd: the store does not.
Fit fitOf(const TableLayout& layout, const Record& values);
Fit fitOf(const Column& column, const Value& value);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_TABLE_MAP_H
