#include "tools/pelko/salvage/TableMap.h"

#include <algorithm>
#include <string_view>

#include "tools/pelko/file/Database.h"

namespace pelkotool {

namespace {

// Enough for the tables and indexes of any client; a text that was made to run for ever ends there.
constexpr int mostCreationSteps = 100'000;

int stopCreation(void* /*unused*/) {
    return 1;
}

bool textBeginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool tryExecute(const Database& database, const std::string& sql) {
    try {
        database.execute(sql);
        return true;
    } catch (const SqliteError&) {
        return false;
    }
}

Value evaluatedValue(const Statement& statement, int column) {
    Value value;
    switch (sqlite3_column_type(statement.handle(), column)) {
        case SQLITE_INTEGER:
            return Value::ofInteger(statement.integer(column));
        case SQLITE_FLOAT:
            value.kind = StorageClass::real;
            value.real = sqlite3_column_double(statement.handle(), column);
            return value;
        case SQLITE_TEXT:
            return Value::ofText(statement.text(column));
        default:
            return value;
    }
}

/// The value of a column in rows that were stored before it was added.
Value fallbackOf(const Database& database, const std::string& expression) {
    try {
        Statement statement = database.prepare("SELECT " + expression);
        return !expression.empty() && statement.step() ? evaluatedValue(statement, 0) : Value();
    } catch (const SqliteError&) {
        return {};
    }
}

/// @return whether the store's rows can be told from the table's
bool mapColumns(const Database& database, TableMap& table) {
    constexpr long long computedWhenRead = 2;  // such a column stands in no record
    const int idColumn = rowIdColumn(*table.layout);
    bool hasIds = true;
    Statement columns =
        database.prepare("SELECT name, hidden, dflt_value, type, pk FROM pragma_table_xinfo(?)");
    columns.bind(1, table.layout->name);
    while (columns.step()) {
        if (columns.integer(1) == computedWhenRead) {
            continue;
        }
        const auto& expected = table.layout->columns;
        const auto found = std::find_if(expected.begin(), expected.end(), [&](const Column& column) {
            return sqlite3_stricmp(column.name, columns.text(0).c_str()) == 0;
        });
        if (found == expected.end()) {
            table.otherColumns.push_back(columns.text(0));
        } else {
            const auto place = static_cast<std::size_t>(found - expected.begin());
            table.places[place] = table.recordColumns;
            table.fallbacks[place] = fallbackOf(database, columns.text(2));
            const bool isRowId =
                sqlite3_stricmp(columns.text(3).c_str(), "integer") == 0 && columns.integer(4) == 1;
            hasIds = hasIds && (static_cast<int>(place) != idColumn || isRowId);
        }
        ++table.recordColumns;
    }
    const bool hasAny =
        std::any_of(table.places.begin(), table.places.end(), [](const auto& place) { return !!place; });
    return hasAny && hasIds;
}

/// The columns of an index; empty when it has one that is none of the store's, or an expression.
std::vector<std::size_t> columnsOfIndex(const Database& database, const TableMap& table,
                                        const std::string& index) {
    std::vector<std::size_t> columns;
    Statement entries = database.prepare("SELECT name, cid FROM pragma_index_xinfo(?) WHERE key = 1");
    entries.bind(1, index);
    while (entries.step()) {
        const auto& expected = table.layout->columns;
        const auto found = std::find_if(expected.begin(), expected.end(), [&](const Column& column) {
            return sqlite3_stricmp(column.name, entries.text(0).c_str()) == 0;
        });
        if (entries.integer(1) < 0 || found == expected.end()) {
            return {};
        }
        columns.push_back(static_cast<std::size_t>(found - expected.begin()));
    }
    return columns;
}

void mapIndexes(const Database& database, TableMap& table, const std::vector<SchemaRow>& schema) {
    Statement list = database.prepare("SELECT name FROM pragma_index_list(?) WHERE partial = 0");
    list.bind(1, table.layout->name);
    while (list.step()) {
        const std::string name = list.text(0);
        const auto row = std::find_if(schema.begin(), schema.end(), [&](const SchemaRow& one) {
            return !one.isTable && sqlite3_stricmp(one.name.c_str(), name.c_str()) == 0;
        });
        IndexMap index;
        index.name = name;
        index.columns = columnsOfIndex(database, table, name);
        if (row != schema.end() && !index.columns.empty()) {
            index.root = row->root;
            index.certain = row->certain;
            table.indexes.push_back(index);
        }
    }
}

bool isTextColumn(const Column& column) {
    return std::string_view(column.type) == "text";
}

}  // namespace

std::optional<Row> TableMap::rowOf(std::int64_t rowId, const Record& record) const {
    if (record.empty() || record.size() > recordColumns) {
        return std::nullopt;
    }
    Row row;
    row.id = rowId;
    const int idColumn = rowIdColumn(*layout);
    for (std::size_t i = 0; i < layout->columns.size(); ++i) {
        if (static_cast<int>(i) == idColumn) {
            row.values.push_back(Value::ofInteger(rowId));  // its place in the record holds NULL
        } else if (!places[i]) {
            row.values.emplace_back();
        } else {
            row.values.push_back(*places[i] < record.size() ? record[*places[i]] : fallbacks[i]);
        }
    }
    return row;
}

TableMap mapTable(const TableLayout& layout, const std::vector<SchemaRow>& schema) {
    TableMap table;
    table.layout = &layout;
    table.places.resize(layout.columns.size());
    table.fallbacks.resize(layout.columns.size());
    const auto row = std::find_if(schema.begin(), schema.end(), [&](const SchemaRow& one) {
        return one.isTable && one.name == layout.name;
    });
    if (row == schema.end()) {
        return table;
    }
    const Database memory = Database::inMemory();
    sqlite3_progress_handler(memory.handle(), mostCreationSteps, stopCreation, nullptr);
    // Only what makes a table: the text comes from the file.
    if (!textBeginsWith(row->sql, "CREATE TABLE ") || !tryExecute(memory, row->sql) ||
        !mapColumns(memory, table)) {
        table.tooDifferent = true;
        return table;
    }
    for (const SchemaRow& index : schema) {
        if (!index.isTable && index.table == layout.name &&
            (textBeginsWith(index.sql, "CREATE INDEX ") ||
             textBeginsWith(index.sql, "CREATE UNIQUE INDEX "))) {
            tryExecute(memory, index.sql);
        }
    }
    mapIndexes(memory, table, schema);
    table.root = row->root;
    table.certain = row->certain;
    return table;
}

Fit fitOf(const Column& column, const Value& value) {
    switch (value.kind) {
        case StorageClass::null:
            return Fit::usual;
        case StorageClass::integer:
            return isTextColumn(column) ? Fit::impossible : Fit::usual;
        case StorageClass::real:
            return isTextColumn(column) ? Fit::impossible : Fit::odd;
        case StorageClass::text:
            return isTextColumn(column) ? Fit::usual : Fit::odd;
        case StorageClass::blob:
            break;
    }
    return Fit::odd;
}

Fit fitOf(const TableLayout& layout, const Record& values) {
    Fit worst = Fit::usual;
    for (std::size_t i = 0; i < layout.columns.size() && i < values.size(); ++i) {
        worst = std::min(worst, fitOf(layout.columns[i], values[i]));
    }
    return worst;
}

}  // namespace pelkotool
